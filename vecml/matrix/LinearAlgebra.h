// SPDX-License-Identifier: MIT
// Dense linear algebra on CMatrix through the system LAPACK: symmetric
// eigenproblems, singular value decomposition, Cholesky factorization, linear
// systems and inverses.
#ifndef VECML_MATRIX_LINEARALGEBRA_H
#define VECML_MATRIX_LINEARALGEBRA_H

#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/matrix/CLinearAlgebraResult.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/vector/CDenseVector.h"

// Every routine below, for float and double:
// - checks its operands first: an empty operand (a row or column count of 0
//   or less) or a wrong shape gives LA_INVALID_SHAPE, a NaN or infinite
//   element among those the routine reads gives LA_NOT_FINITE;
// - assigns its outputs only on success; after any failure they hold exactly
//   what they held before, and message() names the routine and the cause;
// - never aborts or throws, except that a failed allocation throws
//   std::bad_alloc as everywhere in the library.
// A problem whose LAPACK workspace would not fit LAPACK's 32-bit sizes gives
// LA_INVALID_SHAPE.
//
// \code
//   CMatrix<double> a(2, 2);
//   a(0, 0) = 2; a(1, 0) = 1; a(1, 1) = 2;  // lower triangle
//   CDenseVector<double> values;
//   CMatrix<double> vectors;
//   if (symmetricEigen(a, values, vectors, EIGEN_DESCENDING))
//     std::cout << values[0] << '\n';  // 3
// \endcode

/// Order of the eigenvalues returned by symmetricEigen().
enum EIGEN_ORDER { EIGEN_ASCENDING = 0, EIGEN_DESCENDING = 1 };

/// Eigenvalues and eigenvectors of the symmetric matrix whose lower triangle
/// (diagonal included) is that of \p a; the strict upper triangle is never
/// read, so it may hold anything (NaN included).
/// On success \p values holds the n eigenvalues in \p order and column k of
/// the n x n matrix \p vectors is a unit eigenvector for values[k]. Each
/// column's sign is fixed: its component of largest magnitude (the first
/// such, from row 0, on a tie) is positive.
/// \return LA_INVALID_SHAPE (not square, or empty), LA_NOT_FINITE, or
///         LA_NOT_CONVERGED when LAPACK's solver fails.
template <typename T>
VECML_API CLinearAlgebraResult
symmetricEigen(const CMatrix<T>& a, CDenseVector<T>& values,
               CMatrix<T>& vectors, EIGEN_ORDER order = EIGEN_ASCENDING);

/// Thin singular value decomposition a = u * diag(singularValues) * vt of
/// the m x n matrix \p a, with k = min(m, n): \p u is m x k with orthonormal
/// columns, \p singularValues holds k values in descending order and \p vt
/// is k x n with orthonormal rows. The sign of each pair (column j of u, row
/// j of vt) is fixed: the component of largest magnitude of u's column j
/// (the first such, from row 0, on a tie) is positive.
/// \return LA_INVALID_SHAPE (empty), LA_NOT_FINITE, or LA_NOT_CONVERGED when
///         LAPACK's solver fails.
template <typename T>
VECML_API CLinearAlgebraResult svd(const CMatrix<T>& a, CMatrix<T>& u,
                                   CDenseVector<T>& singularValues,
                                   CMatrix<T>& vt);

/// Cholesky factor of the symmetric positive definite matrix whose lower
/// triangle (diagonal included) is that of \p a; the strict upper triangle
/// is never read. On success \p lower is the n x n lower triangular L with
/// a = L * L^T, positive diagonal and zeros above the diagonal.
/// \return LA_INVALID_SHAPE (not square, or empty), LA_NOT_FINITE, or
///         LA_NOT_POSITIVE_DEFINITE naming the order of the first leading
///         minor that is not positive.
template <typename T>
VECML_API CLinearAlgebraResult cholesky(const CMatrix<T>& a, CMatrix<T>& lower);

/// Solves a * x = b for the n x r matrix \p x, by LU factorization with
/// partial pivoting of the n x n matrix \p a; \p b is n x r.
/// \return LA_INVALID_SHAPE (a not square, b.rows() != a.rows(), or either
///         empty), LA_NOT_FINITE, or LA_SINGULAR when a pivot is exactly zero
///         or the solution overflows to an infinite or NaN element.
template <typename T>
VECML_API CLinearAlgebraResult solve(const CMatrix<T>& a, const CMatrix<T>& b,
                                     CMatrix<T>& x);

/// The inverse of the n x n matrix \p a, as the solution of a * X = I (see
/// solve()); CMatrix::invert() is a placeholder that does not compute this.
/// \return as solve().
template <typename T>
VECML_API CLinearAlgebraResult inverse(const CMatrix<T>& a, CMatrix<T>& result);

#define VECML_LINEAR_ALGEBRA_INSTANTIATIONS(INSTANTIATE, T)                    \
  INSTANTIATE CLinearAlgebraResult symmetricEigen(                             \
      const CMatrix<T>&, CDenseVector<T>&, CMatrix<T>&, EIGEN_ORDER);          \
  INSTANTIATE CLinearAlgebraResult svd(const CMatrix<T>&, CMatrix<T>&,         \
                                       CDenseVector<T>&, CMatrix<T>&);         \
  INSTANTIATE CLinearAlgebraResult cholesky(const CMatrix<T>&, CMatrix<T>&);   \
  INSTANTIATE CLinearAlgebraResult solve(const CMatrix<T>&, const CMatrix<T>&, \
                                         CMatrix<T>&);                         \
  INSTANTIATE CLinearAlgebraResult inverse(const CMatrix<T>&, CMatrix<T>&);
VECML_FOR_FLOATING_TYPES(VECML_LINEAR_ALGEBRA_INSTANTIATIONS, extern template)

#endif
