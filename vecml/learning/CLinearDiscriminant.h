// SPDX-License-Identifier: MIT
// Linear discriminant analysis: the directions that best separate the
// classes of a dataset relative to the spread within them.
#ifndef VECML_LEARNING_CLINEARDISCRIMINANT_H
#define VECML_LEARNING_CLINEARDISCRIMINANT_H

#include <fstream>
#include <string>
#include <vector>

#include "vecml/core/CArchiv.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/learning/CProjection.h"
#include "vecml/learning/detail/LearnedDirections.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

/// Linear discriminant analysis, instantiated for float and double.
///
/// Classes are found as CDatasetStatistic::getSW() finds them: an item's
/// class is its whole output vector (exact equality), and classes are
/// numbered in order of first appearance. train() then forms, in double:
/// - the class means m_c and the overall mean m (sums in item order; m is
///   the sum of the class sums, in class order, divided by n);
/// - the within-class scatter Sw = sum over items x of class c of
///   (x - m_c)(x - m_c)^T, the plain sum that getSW() also gives;
/// - the between-class scatter Sb = sum over classes of
///   n_c (m_c - m)(m_c - m)^T, weighted by the class sizes n_c (getSB()
///   keeps a different, unweighted formula, so it is not used here);
/// - the directions: the generalized eigenvectors v of Sb v = lambda Sw v
///   with the largest eigenvalues lambda, through the Cholesky factor L of
///   Sw (Sw = L L^T): the eigenvectors y of L^-1 Sb L^-T in descending
///   order, v = L^-T y. So v^T Sw v = 1 and the directions are
///   Sw-orthogonal, not orthogonal. Each is oriented so that its entry of
///   largest magnitude (the first of equal ones) is positive.
/// eigenvalues()[j] is lambda of direction j: its between-class variance
/// over its within-class variance (the same for the scatters divided by n,
/// as covariances). The results are narrowed to T.
///
/// The number of directions k is the constructor's argument; 0 (the
/// default) keeps min(C - 1, d) for C classes. train() returns false, and
/// leaves the object as it was, when the dataset is empty, its inputs
/// differ in dimension or have dimension 0, there are fewer than two
/// classes, k exceeds min(C - 1, d), or Sw is not positive definite
/// (singular: fewer than d + C items, or features that are constant or
/// linearly dependent within the classes; NaN inputs). No regularisation
/// is added.
///
/// project(x) = V^T (x - m) for the d x k directions V; reconstruct(c) is
/// the point m + V (V^T V)^-1 c of the directions' span through m whose
/// projection is c, so reconstruct(project(x)) is m plus the orthogonal
/// projection of x - m onto that span. Both form their sums in double.
///
/// Saved forms. serialize(stream, mode) writes (any mode but IO_READ) or
/// reads (IO_READ), after CObject's part (empty): the requested count, the
/// class count, d and k as host-order 4-byte ints, then as raw elements of
/// T the mean (d), the directions V and the reconstruction map
/// V (V^T V)^-1 (d x k each, column-major) and the k eigenvalues. An
/// untrained object stores zero counts and no elements. serialize2(archive)
/// asks isLoading() and then hands the same values in the same order to
/// the archive's write(int&) and write operation for T (or reads them).
/// Reading validates the record (shapes, a requested count of 0 or k, more
/// classes than directions, finite elements) and returns false, leaving
/// the object unchanged, when it is cut or inconsistent.
///
/// \code
///   CLinearDiscriminant<double> lda;  // C - 1 directions
///   if (lda.train(labelled))
///     CDenseVector<double> z = lda.project(*labelled[0].inputVector());
/// \endcode
template <typename T>
class VECML_API CLinearDiscriminant : public CProjection<T> {
 public:
  /// Keeps \p directions directions (0: min(C - 1, d)).
  /// requires: directions >= 0 (ML_GEQ_CHK, then abort).
  explicit CLinearDiscriminant(int directions = 0);
  ~CLinearDiscriminant() override;

  /// \return "CLinearDiscriminant".
  std::string className() const override;

  /// Learns the means and directions (see the class comment).
  /// \return false, leaving the object unchanged, when they cannot be
  ///         learned from \p samples.
  bool train(const CDataset<T>& samples) override;
  /// \return directionMatrix()^T (x - mean()), of directions() elements.
  /// requires: a successful train() (ML_LS_CHK) and x of the samples'
  ///           dimension (ML_EQ_CHK).
  CDenseVector<T> project(const CVector<T>& x) const override;
  /// \return the point of the directions' span through mean() that
  ///         projects to \p coordinates.
  /// requires: a successful train() and directions() coordinates.
  CDenseVector<T> reconstruct(const CVector<T>& coordinates) const override;

  /// Writes or reads the learned state (see the class comment).
  /// \return true when the whole record was written or read and the
  ///         stream is good; false on a cut or inconsistent record, which
  ///         leaves the object unchanged.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Stores or loads the learned state through \p archive.
  /// \return true, or false for an inconsistent record (object unchanged).
  bool serialize2(CArchiv& archive) override;

  /// \return the number of directions asked for (0: min(C - 1, d)).
  int requestedDirections() const { return requested; }
  /// \return the number of classes found by the last successful train().
  int classes() const { return classCount; }
  /// \return the mean of the training inputs (empty before training).
  const CDenseVector<T>& mean() const { return learned.centre(); }
  /// \return the d x k directions, one per column, largest eigenvalue
  ///         first.
  const CMatrix<T>& directionMatrix() const { return learned.forward(); }
  /// \return the generalized eigenvalue of each direction.
  const CDenseVector<T>& eigenvalues() const { return values; }

 private:
  // Takes a read record's values. \return false, changing nothing, when
  // they are inconsistent.
  bool adopt(int newRequested, int newClassCount,
             const vecml::detail::LearnedDirections<T>& newLearned,
             const std::vector<T>& newValues);

  int requested;
  int classCount = 0;
  vecml::detail::LearnedDirections<T> learned;
  CDenseVector<T> values;
};

#define VECML_LINEAR_DISCRIMINANT_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CLinearDiscriminant<T>;
VECML_FOR_FLOATING_TYPES(VECML_LINEAR_DISCRIMINANT_INSTANTIATIONS,
                         extern template)

#endif
