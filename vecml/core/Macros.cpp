// SPDX-License-Identifier: MIT
#include "vecml/core/Macros.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace vecml::detail {

void reportCriticalMessage(const char* file, int line, const char* message) {
  std::cerr << "ML_CRITICAL_MSG in File: " << file << " Line: " << line
            << std::endl
            << message << std::endl
            << std::endl;
  std::abort();
}

}  // namespace vecml::detail

template <typename T>
T* NEWARRAY(int n) {
  if (n < 0) throw std::bad_array_new_length();
  T* array = new (std::nothrow) T[static_cast<std::size_t>(n)];
  if (array == nullptr) throw "Out of memory during allocation of CDenseVector";
  std::memset(array, 0, sizeof(T) * static_cast<std::size_t>(n));
  return array;
}

VECML_FOR_ELEMENT_TYPES(VECML_NEWARRAY_INSTANTIATIONS, template)
