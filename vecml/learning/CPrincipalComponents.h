// SPDX-License-Identifier: MIT
// Principal component analysis: the directions of largest variance of a
// dataset's inputs.
#ifndef VECML_LEARNING_CPRINCIPALCOMPONENTS_H
#define VECML_LEARNING_CPRINCIPALCOMPONENTS_H

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

/// Principal component analysis, instantiated for float and double.
///
/// train() learns from the n input vectors (dimension d) of a dataset:
/// - the mean m of the inputs (sums in double, divided by n);
/// - the covariance C = sum of (x - m)(x - m)^T / (n - 1), with the
///   centring, products and sums in double in item order (the divisor
///   n - 1 gives the sample variances; CDatasetStatistic::covarianceMatrix
///   divides by n instead);
/// - the eigenvectors of C in descending order of their eigenvalues, the
///   components, kept as the columns of components() (d x k, unit length).
///   Each component's entry of largest magnitude (the first of equal ones)
///   is positive, as symmetricEigen() orients its eigenvectors.
/// explainedVariance()[j] is the eigenvalue of component j (the variance of
/// the inputs along it, divisor n - 1; a rounding residue below zero is
/// reported as 0), and explainedVarianceRatio()[j] that variance divided by
/// the sum of all d variances (NaN when every input is the same). All
/// results are computed in double and narrowed to T.
///
/// The number of components k is the constructor's argument; 0 (the
/// default) keeps min(n, d) components. train() returns false, and leaves
/// the object as it was, when the dataset has fewer than two items, its
/// inputs differ in dimension or have dimension 0, k exceeds min(n, d), or
/// the covariance has non-finite elements (NaN or infinite inputs) or has
/// no eigen-decomposition, or a variance overflows T.
///
/// project(x) = components^T (x - m); reconstruct(c) = m + components c:
/// reconstruct(project(x)) is the part of x within the components, plus m.
/// Both form their sums in double over increasing indices.
///
/// Saved forms. serialize(stream, mode) writes (any mode but IO_READ) or
/// reads (IO_READ), after CObject's part (empty): the requested count and
/// d and k as host-order 4-byte ints, then as raw elements of T the mean
/// (d), the components (d x k, column-major) twice (as the forward and the
/// backward map of the projection), the k variances and the k ratios. An
/// untrained object stores d = k = 0 and no elements. serialize2(archive)
/// asks isLoading() and then hands the same values in the same order to
/// the archive's write(int&) and write operation for T (or reads them).
/// Reading validates the record (shapes, a requested count of 0 or k,
/// finite elements, variances >= 0, ratios in [0, 1] or NaN) and returns
/// false, leaving the object unchanged, when it is cut or inconsistent.
///
/// Threads: the sums and the covariance are split over the library's
/// threads by features and by columns; every element keeps the serial item
/// order, so the results are the same bits on any thread count.
///
/// \code
///   CPrincipalComponents<float> pca(2);
///   if (pca.train(data)) {
///     CDenseVector<float> xy = pca.project(*data[0].inputVector());
///     float share = pca.explainedVarianceRatio()[0];
///   }
/// \endcode
template <typename T>
class VECML_API CPrincipalComponents : public CProjection<T> {
 public:
  /// Keeps \p components components (0: min(n, d)).
  /// requires: components >= 0 (ML_GEQ_CHK, then abort).
  explicit CPrincipalComponents(int components = 0);
  ~CPrincipalComponents() override;

  /// \return "CPrincipalComponents".
  std::string className() const override;

  /// Learns the mean, components and variances (see the class comment).
  /// \return false, leaving the object unchanged, when they cannot be
  ///         learned from \p samples.
  bool train(const CDataset<T>& samples) override;
  /// \return components^T (x - mean()), of directions() elements.
  /// requires: a successful train() (ML_LS_CHK) and x of the samples'
  ///           dimension (ML_EQ_CHK).
  CDenseVector<T> project(const CVector<T>& x) const override;
  /// \return mean() + components() c, of the samples' dimension.
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

  /// \return the number of components asked for (0: min(n, d)).
  int requestedComponents() const { return requested; }
  /// \return the mean of the training inputs (empty before training).
  const CDenseVector<T>& mean() const { return learned.centre(); }
  /// \return the d x k components, one per column, largest variance first.
  const CMatrix<T>& components() const { return learned.forward(); }
  /// \return the variance along each component (divisor n - 1).
  const CDenseVector<T>& explainedVariance() const { return variance; }
  /// \return each component's variance over the total variance.
  const CDenseVector<T>& explainedVarianceRatio() const { return ratio; }

 private:
  // Takes a read record's values. \return false, changing nothing, when
  // they are inconsistent.
  bool adopt(int newRequested,
             const vecml::detail::LearnedDirections<T>& newLearned,
             const std::vector<T>& newVariance, const std::vector<T>& newRatio);

  int requested;
  vecml::detail::LearnedDirections<T> learned;
  CDenseVector<T> variance;
  CDenseVector<T> ratio;
};

#define VECML_PRINCIPAL_COMPONENTS_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CPrincipalComponents<T>;
VECML_FOR_FLOATING_TYPES(VECML_PRINCIPAL_COMPONENTS_INSTANTIATIONS,
                         extern template)

#endif
