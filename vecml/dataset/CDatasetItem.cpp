// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDatasetItem.h"

#include <cstdint>
#include <istream>
#include <string>
#include <type_traits>
#include <utility>

#include "vecml/core/CArchiv.h"
#include "vecml/core/CObjectFactory.h"
#include "vecml/core/Macros.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/vector/CDenseVector.h"

namespace {

// Deletes what `slot` holds and makes it own `replacement`.
template <typename T>
void replaceVector(CVector<T>*& slot, CVector<T>* replacement) {
  delete slot;
  slot = replacement;
}

// A new vector of the named class and element type T from the plug-in of
// that class; null when the factory cannot make it or makes something that
// is not a vector.
template <typename T>
CVector<T>* produceVector(const std::string& className) {
  const DATATYPE type = std::is_same_v<T, float> ? DT_FLOAT : DT_DOUBLE;
  auto* object = static_cast<CObject<T>*>(
      CObjectFactory::instance()->produceObject(className.c_str(), type));
  auto* vector = dynamic_cast<CVector<T>*>(object);
  if (vector == nullptr) delete object;
  return vector;
}

// Writes one vector as its class name, a newline and its own record.
template <typename T>
void writeNamedVector(std::fstream& stream, CVector<T>& vector, IO_MODE mode) {
  stream << vector.className() << '\n' << std::flush;
  vector.serialize(stream, mode);
}

// Reads one vector written by writeNamedVector(); null when its class cannot
// be produced (the vector's record is then left in the stream).
template <typename T>
CVector<T>* readNamedVector(std::fstream& stream, IO_MODE mode) {
  std::string className;
  std::getline(stream, className);
  CVector<T>* vector = produceVector<T>(className);
  if (vector != nullptr) vector->serialize(stream, mode);
  return vector;
}

// Stores one vector in an archive: separator, class name, separator, vector.
template <typename T>
void storeNamedVector(CArchiv& archive, CVector<T>& vector) {
  std::string className = vector.className();
  archive.writeSeparator();
  archive.write(className);
  archive.writeSeparator();
  archive.write(vector);
}

// Loads one vector stored by storeNamedVector(); a class the factory cannot
// produce is fatal and reported at `position`.
template <typename T>
CVector<T>* loadNamedVector(CArchiv& archive,
                            vecml::detail::MessagePosition position) {
  std::string className;
  archive.read(className);
  CVector<T>* vector = produceVector<T>(className);
  if (vector == nullptr)
    ML_CRITICAL_MSG_AT("Unable to produce CVector object", position);
  archive.read(*vector);
  return vector;
}

}  // namespace

template <typename T>
CDatasetItem<T>::CDatasetItem() : CDatasetItem(1, 1) {}

template <typename T>
CDatasetItem<T>::CDatasetItem(int inputDimension, int outputDimension)
    : input(new CDenseVector<T>(inputDimension)),
      output(new CDenseVector<T>(outputDimension)),
      itemId(-1) {}

template <typename T>
CDatasetItem<T>::CDatasetItem(const CVector<T>& in, const CVector<T>& out)
    : CDatasetItem(in, out, -1) {}

template <typename T>
CDatasetItem<T>::CDatasetItem(const CVector<T>& in, const CVector<T>& out,
                              int id)
    : input(in.clone()), output(out.clone()), itemId(id) {}

template <typename T>
CDatasetItem<T>::CDatasetItem(CVector<T>* in, CVector<T>* out)
    : input(in), output(out), itemId(-1) {}

template <typename T>
CDatasetItem<T>::CDatasetItem(const CDatasetItem<T>& other)
    : CObject<T>(other),
      input(other.input != nullptr ? other.input->clone() : nullptr),
      output(other.output != nullptr ? other.output->clone() : nullptr),
      itemId(other.itemId) {}

template <typename T>
CDatasetItem<T>::CDatasetItem(CDatasetItem<T>&& other) noexcept
    : CObject<T>(other),
      input(std::exchange(other.input, nullptr)),
      output(std::exchange(other.output, nullptr)),
      itemId(other.itemId) {}

template <typename T>
CDatasetItem<T>::~CDatasetItem() {
  delete input;
  delete output;
}

template <typename T>
CDatasetItem<T>& CDatasetItem<T>::operator=(const CDatasetItem<T>& other) {
  if (this != &other) {
    CDatasetItem<T> copy(other);
    *this = std::move(copy);
  }
  return *this;
}

template <typename T>
CDatasetItem<T>& CDatasetItem<T>::operator=(CDatasetItem<T>&& other) noexcept {
  std::swap(input, other.input);
  std::swap(output, other.output);
  std::swap(itemId, other.itemId);
  return *this;
}

template <typename T>
bool CDatasetItem<T>::serialize(std::fstream& stream, IO_MODE mode) {
  CObject<T>::serialize(stream, mode);
  if (mode == IO_WRITE) {
    vecml::detail::writeValue(stream, static_cast<std::int32_t>(itemId));
    writeNamedVector(stream, *input, mode);
    writeNamedVector(stream, *output, mode);
    return true;
  }
  std::int32_t storedId = 0;
  vecml::detail::readValue(stream, storedId);
  itemId = storedId;
  // The vectors held so far are handed over to whoever still points at them.
  input = readNamedVector<T>(stream, mode);
  output = readNamedVector<T>(stream, mode);
  return true;
}

template <typename T>
bool CDatasetItem<T>::serialize2(CArchiv& archive) {
  if (archive.isLoading()) {
    replaceVector<T>(input, nullptr);
    replaceVector<T>(output, nullptr);
    archive.read(itemId);
    input = loadNamedVector<T>(archive, vecml::detail::kItemInputProduction);
    output = loadNamedVector<T>(archive, vecml::detail::kItemOutputProduction);
    return true;
  }
  archive.write(itemId);
  storeNamedVector(archive, *input);
  storeNamedVector(archive, *output);
  return true;
}

template <typename T>
std::string CDatasetItem<T>::className() const {
  return "CDatasetItem";
}

template <typename T>
void CDatasetItem<T>::setInputVector(const CVector<T>& in) {
  replaceVector(input, in.clone());
}

template <typename T>
void CDatasetItem<T>::setOutputVector(const CVector<T>& out) {
  replaceVector(output, out.clone());
}

template <typename T>
CDatasetItem<float>* CDatasetItem<T>::convertToFloat() const {
  if constexpr (std::is_same_v<T, float>) {
    return new CDatasetItem<float>(*this);
  } else {
    return new CDatasetItem<float>(input->toFloat(), output->toFloat());
  }
}

template <typename T>
CDatasetItem<double>* CDatasetItem<T>::convertToDouble() const {
  if constexpr (std::is_same_v<T, double>) {
    return new CDatasetItem<double>(*this);
  } else {
    return new CDatasetItem<double>(input->toDouble(), output->toDouble());
  }
}

VECML_FOR_FLOATING_TYPES(VECML_DATASET_ITEM_INSTANTIATIONS, template)
