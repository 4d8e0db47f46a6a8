// SPDX-License-Identifier: MIT
#include "vecml/learning/detail/LearnedDirections.h"

#include <cstddef>

#include "vecml/core/Macros.h"

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

}  // namespace

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

CMatrix<double> leadingColumns(const CMatrix<double>& m, int k) {
  return m(0, 0, m.rows(), k);
}

VECML_FOR_FLOATING_TYPES(VECML_LEARNED_DIRECTIONS_INSTANTIATIONS, template)

}  // namespace vecml::detail
