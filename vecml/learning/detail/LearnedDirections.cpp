// SPDX-License-Identifier: MIT
#include "vecml/learning/detail/LearnedDirections.h"

#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/BinaryIO.h"

namespace vecml::detail {

namespace {

template <typename T>
CMatrix<T> narrowed(const CMatrix<double>& m) {
  CMatrix<T> result(m.rows(), m.columns());
  const std::size_t count = static_cast<std::size_t>(m.rows()) *
                            static_cast<std::size_t>(m.columns());
  for (std::size_t e = 0; e < count; ++e)
    result._data()[e] = static_cast<T>(m._data()[e]);
  return result;
}

// Whether a record's shape is one a training can leave: both d and k 0, or
// 0 < k <= d with d * k in the int range.
bool consistentShape(std::int32_t d, std::int32_t k) {
  if (d == 0 || k == 0) return d == 0 && k == 0;
  return d > 0 && k > 0 && k <= d &&
         static_cast<std::int64_t>(d) * k <= INT_MAX;
}

template <typename T>
bool allFinite(const std::vector<T>& values) {
  for (T value : values)
    if (!std::isfinite(value)) return false;
  return true;
}

template <typename T>
CDenseVector<T> vectorOf(const std::vector<T>& values) {
  return CDenseVector<T>(static_cast<int>(values.size()), values.data());
}

// The d x k matrix of the column-major `values`.
template <typename T>
CMatrix<T> matrixOf(const std::vector<T>& values, int d, int k) {
  CMatrix<T> m(d, k);
  if (!values.empty()) m.setData(values.data(), true);
  return m;
}

}  // namespace

template <typename T>
bool readElements(std::istream& stream, int count, std::vector<T>& out) {
  constexpr std::int32_t tag =
      sizeof(T) == sizeof(float) ? DT_FLOAT : DT_DOUBLE;
  return readConvertedElements(stream, tag, count, out);
}

template <typename T>
std::vector<T> loadElements(CArchiv& archive, int count) {
  std::vector<T> values;
  for (int e = 0; e < count; ++e) {
    T value;
    archive.read(value);
    values.push_back(value);
  }
  return values;
}

template <typename T>
void storeElements(CArchiv& archive, const CDenseVector<T>& v) {
  for (int e = 0; e < v.dimension(); ++e) archive.write(v._data()[e]);
}

template <typename T>
LearnedDirections<T>::LearnedDirections(const std::vector<double>& centre,
                                        const CMatrix<double>& forward,
                                        const CMatrix<double>& backward)
    : centreVector(static_cast<int>(centre.size())),
      forwardMap(narrowed<T>(forward)),
      backwardMap(narrowed<T>(backward)) {
  for (std::size_t i = 0; i < centre.size(); ++i)
    centreVector[static_cast<int>(i)] = static_cast<T>(centre[i]);
}

template <typename T>
CDenseVector<T> LearnedDirections<T>::project(const CVector<T>& x) const {
  const int trainedDirections = directions();
  ML_LS_CHK(0, trainedDirections);
  ML_EQ_CHK(x.dimension(), centreVector.dimension());
  const int d = centreVector.dimension();
  std::vector<double> centred(static_cast<std::size_t>(d));
  for (int i = 0; i < d; ++i)
    centred[i] = static_cast<double>(x[i]) - centreVector[i];
  CDenseVector<T> coordinates(trainedDirections);
  for (int j = 0; j < trainedDirections; ++j) {
    double sum = 0.0;
    for (int i = 0; i < d; ++i)
      sum += static_cast<double>(forwardMap.getElement(i, j)) * centred[i];
    coordinates[j] = static_cast<T>(sum);
  }
  return coordinates;
}

template <typename T>
CDenseVector<T> LearnedDirections<T>::reconstruct(
    const CVector<T>& coordinates) const {
  const int trainedDirections = directions();
  ML_LS_CHK(0, trainedDirections);
  ML_EQ_CHK(coordinates.dimension(), trainedDirections);
  const int d = centreVector.dimension();
  CDenseVector<T> point(d);
  for (int i = 0; i < d; ++i) {
    double sum = 0.0;
    for (int j = 0; j < trainedDirections; ++j)
      sum += static_cast<double>(backwardMap.getElement(i, j)) *
             static_cast<double>(coordinates[j]);
    point[i] = static_cast<T>(static_cast<double>(centreVector[i]) + sum);
  }
  return point;
}

template <typename T>
void LearnedDirections<T>::write(std::ostream& stream) const {
  const std::int32_t d = centreVector.dimension(), k = directions();
  writeValue(stream, d);
  writeValue(stream, k);
  writeElements(stream, centreVector._data(), d);
  writeElements(stream, forwardMap._data(), d * k);
  writeElements(stream, backwardMap._data(), d * k);
}

template <typename T>
bool LearnedDirections<T>::read(std::istream& stream) {
  std::int32_t d = -1, k = -1;
  std::vector<T> centre, forward, backward;
  if (!readValue(stream, d) || !readValue(stream, k) ||
      !consistentShape(d, k) || !readElements(stream, d, centre) ||
      !readElements(stream, d * k, forward) ||
      !readElements(stream, d * k, backward))
    return false;
  return adopt(centre, forward, backward);
}

template <typename T>
void LearnedDirections<T>::store(CArchiv& archive) const {
  int d = centreVector.dimension(), k = directions();
  archive.write(d);
  archive.write(k);
  storeElements(archive, centreVector);
  for (const CMatrix<T>* m : {&forwardMap, &backwardMap})
    for (int e = 0; e < d * k; ++e) archive.write(m->_data()[e]);
}

template <typename T>
bool LearnedDirections<T>::load(CArchiv& archive) {
  int d = -1, k = -1;
  archive.read(d);
  archive.read(k);
  if (!consistentShape(d, k)) return false;
  const std::vector<T> centre = loadElements<T>(archive, d);
  const std::vector<T> forward = loadElements<T>(archive, d * k);
  const std::vector<T> backward = loadElements<T>(archive, d * k);
  return adopt(centre, forward, backward);
}

template <typename T>
bool LearnedDirections<T>::adopt(const std::vector<T>& centre,
                                 const std::vector<T>& forward,
                                 const std::vector<T>& backward) {
  if (!allFinite(centre) || !allFinite(forward) || !allFinite(backward))
    return false;
  const int d = static_cast<int>(centre.size());
  const int k = d == 0 ? 0 : static_cast<int>(forward.size()) / d;
  centreVector = vectorOf(centre);
  forwardMap = matrixOf(forward, d, k);
  backwardMap = matrixOf(backward, d, k);
  return true;
}

CMatrix<double> leadingColumns(const CMatrix<double>& m, int k) {
  return m(0, 0, m.rows(), k);
}

VECML_FOR_FLOATING_TYPES(VECML_LEARNED_DIRECTIONS_INSTANTIATIONS, template)

}  // namespace vecml::detail
