// SPDX-License-Identifier: MIT
// Dense linear algebra on CMatrix through the system LAPACK.
#include "vecml/matrix/LinearAlgebra.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "vecml/matrix/detail/Lapack.h"

namespace {

using vecml::detail::Lapack;
using vecml::detail::lapackWorkspaceSize;

CLinearAlgebraResult failure(LINALG_STATUS status, const char* routine,
                             const std::string& cause) {
  return {status, std::string(routine) + "(): " + cause + "."};
}

template <typename T>
std::string shapeOf(const CMatrix<T>& m) {
  return std::to_string(m.rows()) + " x " + std::to_string(m.columns());
}

template <typename T>
bool isEmpty(const CMatrix<T>& m) {
  return m.rows() <= 0 || m.columns() <= 0;
}

// True when every element is finite; with lowerOnly, every element on or
// below the diagonal.
template <typename T>
bool isFinite(const CMatrix<T>& m, bool lowerOnly) {
  for (int j = 0; j < m.columns(); ++j)
    for (int i = lowerOnly ? j : 0; i < m.rows(); ++i)
      if (!std::isfinite(m.getElement(i, j))) return false;
  return true;
}

// Checks that \p a is non-empty, square when \p square, and that the
// elements the routine reads (the lower triangle only with lowerOnly) are
// finite.
template <typename T>
CLinearAlgebraResult checkMatrix(const char* routine, const CMatrix<T>& a,
                                 bool square, bool lowerOnly) {
  if (isEmpty(a))
    return failure(LA_INVALID_SHAPE, routine,
                   "the matrix is empty (" + shapeOf(a) + ")");
  if (square && a.rows() != a.columns())
    return failure(LA_INVALID_SHAPE, routine,
                   "the matrix is " + shapeOf(a) + ", not square");
  if (!isFinite(a, lowerOnly))
    return failure(LA_NOT_FINITE, routine,
                   "the matrix holds a NaN or infinite element");
  return {};
}

CLinearAlgebraResult workspaceTooLarge(const char* routine) {
  return failure(LA_INVALID_SHAPE, routine,
                 "the matrix is too large for LAPACK's 32-bit workspace size");
}

// Gives column j of \p m (and row j of \p rows, when given) the sign that
// makes the column's component of largest magnitude positive; the first
// such component counts on a tie.
template <typename T>
void fixColumnSigns(CMatrix<T>& m, CMatrix<T>* rows) {
  for (int j = 0; j < m.columns(); ++j) {
    int largest = 0;
    for (int i = 1; i < m.rows(); ++i)
      if (std::fabs(m(i, j)) > std::fabs(m(largest, j))) largest = i;
    if (!(m(largest, j) < 0)) continue;
    for (int i = 0; i < m.rows(); ++i) m(i, j) = -m(i, j);
    if (rows != nullptr)
      for (int k = 0; k < rows->columns(); ++k) (*rows)(j, k) = -(*rows)(j, k);
  }
}

// Solves a x = rhs by LU factorization with partial pivoting.
// requires: a square and finite, rhs finite with a's row count.
template <typename T>
CLinearAlgebraResult luSolve(const char* routine, const CMatrix<T>& a,
                             CMatrix<T> rhs, CMatrix<T>& x) {
  const int n = a.rows();
  const int columns = rhs.columns();
  CMatrix<T> factors(a);
  std::vector<int> pivots(static_cast<std::size_t>(n));
  int info = 0;
  Lapack<T>::gesv(&n, &columns, factors._data(), &n, pivots.data(), rhs._data(),
                  &n, &info);
  if (info > 0)
    return failure(LA_SINGULAR, routine,
                   "the matrix is singular: U(" + std::to_string(info - 1) +
                       ", " + std::to_string(info - 1) +
                       ") of its LU factorization is exactly zero");
  if (!isFinite(rhs, false))
    return failure(LA_SINGULAR, routine,
                   "the matrix is numerically singular: the solution "
                   "overflows");
  x = std::move(rhs);
  return {};
}

}  // namespace

template <typename T>
CLinearAlgebraResult symmetricEigen(const CMatrix<T>& a,
                                    CDenseVector<T>& values,
                                    CMatrix<T>& vectors, EIGEN_ORDER order) {
  const char* const routine = "symmetricEigen";
  CLinearAlgebraResult checked =
      checkMatrix(routine, a, /*square=*/true, /*lowerOnly=*/true);
  if (!checked) return checked;

  const int n = a.rows();
  CMatrix<T> work(a);  // the solver overwrites its input
  CDenseVector<T> eigenvalues(n);
  CMatrix<T> eigenvectors(n, n);
  std::vector<int> support(2 * static_cast<std::size_t>(n));
  const T bound = 0;      // no value range: all eigenvalues are wanted
  const int index = 1;    // likewise no index range
  const T tolerance = 0;  // the solver's default accuracy
  int found = 0;
  int info = 0;
  T workQuery = 0;
  int iworkQuery = 0;
  int lwork = -1;
  int liwork = -1;
  const auto call = [&](T* workspace, int* iworkspace) {
    Lapack<T>::syevr("V", "A", "L", &n, work._data(), &n, &bound, &bound,
                     &index, &index, &tolerance, &found, eigenvalues._data(),
                     eigenvectors._data(), &n, support.data(), workspace,
                     &lwork, iworkspace, &liwork, &info, 1, 1, 1);
  };
  call(&workQuery, &iworkQuery);
  if (!lapackWorkspaceSize(workQuery, lwork)) return workspaceTooLarge(routine);
  liwork = iworkQuery < 1 ? 1 : iworkQuery;
  std::vector<T> workspace(static_cast<std::size_t>(lwork));
  std::vector<int> iworkspace(static_cast<std::size_t>(liwork));
  call(workspace.data(), iworkspace.data());
  if (info != 0 || found != n)
    return failure(LA_NOT_CONVERGED, routine,
                   "LAPACK's symmetric eigensolver did not converge");

  if (order == EIGEN_DESCENDING) {
    CDenseVector<T> ascending(std::move(eigenvalues));
    CMatrix<T> ascendingVectors(std::move(eigenvectors));
    eigenvalues = CDenseVector<T>(n);
    eigenvectors = CMatrix<T>(n, n);
    for (int k = 0; k < n; ++k) {
      eigenvalues[k] = ascending[n - 1 - k];
      for (int i = 0; i < n; ++i)
        eigenvectors(i, k) = ascendingVectors(i, n - 1 - k);
    }
  }
  fixColumnSigns<T>(eigenvectors, nullptr);
  values = std::move(eigenvalues);
  vectors = std::move(eigenvectors);
  return {};
}

template <typename T>
CLinearAlgebraResult svd(const CMatrix<T>& a, CMatrix<T>& u,
                         CDenseVector<T>& singularValues, CMatrix<T>& vt) {
  const char* const routine = "svd";
  CLinearAlgebraResult checked =
      checkMatrix(routine, a, /*square=*/false, /*lowerOnly=*/false);
  if (!checked) return checked;

  const int m = a.rows();
  const int n = a.columns();
  const int k = m < n ? m : n;
  CMatrix<T> work(a);  // the solver overwrites its input
  CMatrix<T> left(m, k);
  CDenseVector<T> sigma(k);
  CMatrix<T> right(k, n);
  std::vector<int> iworkspace(8 * static_cast<std::size_t>(k));
  int info = 0;
  int lwork = -1;
  T workQuery = 0;
  const auto call = [&](T* workspace) {
    Lapack<T>::gesdd("S", &m, &n, work._data(), &m, sigma._data(), left._data(),
                     &m, right._data(), &k, workspace, &lwork,
                     iworkspace.data(), &info, 1);
  };
  call(&workQuery);
  if (!lapackWorkspaceSize(workQuery, lwork)) return workspaceTooLarge(routine);
  std::vector<T> workspace(static_cast<std::size_t>(lwork));
  call(workspace.data());
  if (info != 0)
    return failure(LA_NOT_CONVERGED, routine,
                   "LAPACK's singular value decomposition did not converge");

  fixColumnSigns(left, &right);
  u = std::move(left);
  singularValues = std::move(sigma);
  vt = std::move(right);
  return {};
}

template <typename T>
CLinearAlgebraResult cholesky(const CMatrix<T>& a, CMatrix<T>& lower) {
  const char* const routine = "cholesky";
  CLinearAlgebraResult checked =
      checkMatrix(routine, a, /*square=*/true, /*lowerOnly=*/true);
  if (!checked) return checked;

  const int n = a.rows();
  CMatrix<T> factor(a);
  int info = 0;
  Lapack<T>::potrf("L", &n, factor._data(), &n, &info, 1);
  if (info > 0)
    return failure(LA_NOT_POSITIVE_DEFINITE, routine,
                   "the matrix is not positive definite: its leading minor "
                   "of order " +
                       std::to_string(info) + " is not positive");
  for (int j = 1; j < n; ++j)
    for (int i = 0; i < j; ++i) factor(i, j) = 0;
  lower = std::move(factor);
  return {};
}

template <typename T>
CLinearAlgebraResult solve(const CMatrix<T>& a, const CMatrix<T>& b,
                           CMatrix<T>& x) {
  const char* const routine = "solve";
  CLinearAlgebraResult checked =
      checkMatrix(routine, a, /*square=*/true, /*lowerOnly=*/false);
  if (!checked) return checked;
  if (isEmpty(b) || b.rows() != a.rows())
    return failure(LA_INVALID_SHAPE, routine,
                   "the right-hand side is " + shapeOf(b) + ", but needs " +
                       std::to_string(a.rows()) +
                       " rows and at least one column");
  if (!isFinite(b, false))
    return failure(LA_NOT_FINITE, routine,
                   "the right-hand side holds a NaN or infinite element");
  return luSolve(routine, a, b, x);
}

template <typename T>
CLinearAlgebraResult inverse(const CMatrix<T>& a, CMatrix<T>& result) {
  const char* const routine = "inverse";
  CLinearAlgebraResult checked =
      checkMatrix(routine, a, /*square=*/true, /*lowerOnly=*/false);
  if (!checked) return checked;
  CMatrix<T> identity(a.rows(), a.rows());
  identity.setDiagonal(T(1));
  return luSolve(routine, a, std::move(identity), result);
}

VECML_FOR_FLOATING_TYPES(VECML_LINEAR_ALGEBRA_INSTANTIATIONS, template)
