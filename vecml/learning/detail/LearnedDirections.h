// SPDX-License-Identifier: MIT
// The learned state of a linear projection: a centre, the directions that
// map centred inputs to coordinates, and the vectors that map coordinates
// back into the input space.
#ifndef VECML_LEARNING_DETAIL_LEARNEDDIRECTIONS_H
#define VECML_LEARNING_DETAIL_LEARNEDDIRECTIONS_H

#include <vector>

#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

namespace vecml::detail {

/// project(x) = forward^T (x - centre), reconstruct(c) = centre + backward c,
/// each sum formed in double over increasing indices and narrowed to T.
/// Empty (no directions) until built from a training result.
template <typename T>
class VECML_API LearnedDirections {
 public:
  LearnedDirections() = default;
  /// Narrows a training result computed in double: the centre (d
  /// elements), forward and backward (d x k each).
  LearnedDirections(const std::vector<double>& centre,
                    const CMatrix<double>& forward,
                    const CMatrix<double>& backward);

  int directions() const { return forwardMap.columns(); }
  const CDenseVector<T>& centre() const { return centreVector; }
  const CMatrix<T>& forward() const { return forwardMap; }

  /// requires: directions() > 0; x.dimension() equals the centre's
  /// (ML_LS_CHK / ML_EQ_CHK, then abort).
  CDenseVector<T> project(const CVector<T>& x) const;
  /// requires: directions() > 0; coordinates.dimension() == directions().
  CDenseVector<T> reconstruct(const CVector<T>& coordinates) const;

 private:
  CDenseVector<T> centreVector;
  CMatrix<T> forwardMap;
  CMatrix<T> backwardMap;
};

/// The first \p k columns of \p m.
VECML_API CMatrix<double> leadingColumns(const CMatrix<double>& m, int k);

#define VECML_LEARNED_DIRECTIONS_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class LearnedDirections<T>;
VECML_FOR_FLOATING_TYPES(VECML_LEARNED_DIRECTIONS_INSTANTIATIONS,
                         extern template)

}  // namespace vecml::detail

#endif
