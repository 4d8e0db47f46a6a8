// SPDX-License-Identifier: MIT
// The learned state of a linear projection: a centre, the directions that
// map centred inputs to coordinates, and the vectors that map coordinates
// back into the input space.
#ifndef VECML_LEARNING_DETAIL_LEARNEDDIRECTIONS_H
#define VECML_LEARNING_DETAIL_LEARNEDDIRECTIONS_H

#include <istream>
#include <ostream>
#include <vector>

#include "vecml/core/CArchiv.h"
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

  /// Stream form: d and k as host-order 4-byte ints, then the centre, the
  /// forward and the backward map (column-major) as raw elements of T.
  void write(std::ostream& stream) const;
  /// Reads the stream form. \return false, leaving this object unchanged,
  ///         when the record is cut or inconsistent: d or k negative, k > d,
  ///         k = 0 with d > 0 or the reverse, d * k beyond the int range,
  ///         or a non-finite element. Memory grows only with data read.
  bool read(std::istream& stream);
  /// Archive form: the same values in the same order through write(int&)
  /// and the write operation for T.
  void store(CArchiv& archive) const;
  /// Reads the archive form, validated as read().
  bool load(CArchiv& archive);

 private:
  // Takes a record's values of consistent shape (d = centre.size(),
  // d x k maps). \return false, changing nothing, when one is not finite.
  bool adopt(const std::vector<T>& centre, const std::vector<T>& forward,
             const std::vector<T>& backward);

  CDenseVector<T> centreVector;
  CMatrix<T> forwardMap;
  CMatrix<T> backwardMap;
};

/// Reads \p count raw elements of T. \return false when the stream ends
/// first.
template <typename T>
VECML_API bool readElements(std::istream& stream, int count,
                            std::vector<T>& out);
/// Reads \p count elements with the archive's read operation for T.
template <typename T>
VECML_API std::vector<T> loadElements(CArchiv& archive, int count);
/// Hands the elements of \p v to the archive's write operation for T.
template <typename T>
VECML_API void storeElements(CArchiv& archive, const CDenseVector<T>& v);

/// The first \p k columns of \p m.
VECML_API CMatrix<double> leadingColumns(const CMatrix<double>& m, int k);

#define VECML_LEARNED_DIRECTIONS_INSTANTIATIONS(INSTANTIATE, T)       \
  INSTANTIATE class LearnedDirections<T>;                             \
  INSTANTIATE bool readElements(std::istream&, int, std::vector<T>&); \
  INSTANTIATE std::vector<T> loadElements(CArchiv&, int);             \
  INSTANTIATE void storeElements(CArchiv&, const CDenseVector<T>&);
VECML_FOR_FLOATING_TYPES(VECML_LEARNED_DIRECTIONS_INSTANTIATIONS,
                         extern template)

}  // namespace vecml::detail

#endif
