// SPDX-License-Identifier: MIT
#include "vecml/core/CObject.h"

#include <type_traits>

namespace {

template <typename T>
constexpr DATATYPE dataTypeOf() {
  static_assert(std::is_same_v<T, int> || std::is_same_v<T, float> ||
                    std::is_same_v<T, double>,
                "CObject is instantiated for int, float and double only");
  if constexpr (std::is_same_v<T, int>) return DT_INT;
  if constexpr (std::is_same_v<T, float>) return DT_FLOAT;
  return DT_DOUBLE;
}

}  // namespace

template <typename T>
CObject<T>::CObject() : verboseLevel(VL_INFO) {}

template <typename T>
CObject<T>::~CObject() = default;

template <typename T>
bool CObject<T>::serialize(std::fstream&, IO_MODE) {
  return true;
}

template <typename T>
bool CObject<T>::serialize2(CArchiv&) {
  return true;
}

template <typename T>
std::string CObject<T>::className() const {
  return "CObject";
}

template <typename T>
bool CObject<T>::isA(const char* name) const {
  return className() == std::string(name);
}

template <typename T>
DATATYPE CObject<T>::dataType() const {
  return dataTypeOf<T>();
}

template <typename T>
void CObject<T>::setVerbose(VERBOSE_LEVEL level) {
  verboseLevel = level;
}

template <typename T>
VERBOSE_LEVEL CObject<T>::verbose() const {
  return verboseLevel;
}

VECML_FOR_ELEMENT_TYPES(VECML_OBJECT_INSTANTIATIONS, template)
