// SPDX-License-Identifier: MIT
// The Fortran LAPACK routines the linear-algebra functions call, and a table
// that picks the float or double routine for an element type.
#ifndef VECML_MATRIX_DETAIL_LAPACK_H
#define VECML_MATRIX_DETAIL_LAPACK_H

#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>

// Fortran passes every argument by address; each CHARACTER argument adds a
// hidden length argument at the end of the list (a size_t with gfortran 8
// and later, and with the reference and OpenBLAS builds of Debian).
// INTEGER is the 32-bit int of the LP64 interface.
extern "C" {
void ssyevr_(const char* jobz, const char* range, const char* uplo,
             const int* n, float* a, const int* lda, const float* vl,
             const float* vu, const int* il, const int* iu, const float* abstol,
             int* m, float* w, float* z, const int* ldz, int* isuppz,
             float* work, const int* lwork, int* iwork, const int* liwork,
             int* info, std::size_t jobzLength, std::size_t rangeLength,
             std::size_t uploLength);
void dsyevr_(const char* jobz, const char* range, const char* uplo,
             const int* n, double* a, const int* lda, const double* vl,
             const double* vu, const int* il, const int* iu,
             const double* abstol, int* m, double* w, double* z, const int* ldz,
             int* isuppz, double* work, const int* lwork, int* iwork,
             const int* liwork, int* info, std::size_t jobzLength,
             std::size_t rangeLength, std::size_t uploLength);

void sgesdd_(const char* jobz, const int* m, const int* n, float* a,
             const int* lda, float* s, float* u, const int* ldu, float* vt,
             const int* ldvt, float* work, const int* lwork, int* iwork,
             int* info, std::size_t jobzLength);
void dgesdd_(const char* jobz, const int* m, const int* n, double* a,
             const int* lda, double* s, double* u, const int* ldu, double* vt,
             const int* ldvt, double* work, const int* lwork, int* iwork,
             int* info, std::size_t jobzLength);

void spotrf_(const char* uplo, const int* n, float* a, const int* lda,
             int* info, std::size_t uploLength);
void dpotrf_(const char* uplo, const int* n, double* a, const int* lda,
             int* info, std::size_t uploLength);

void sgesv_(const int* n, const int* nrhs, float* a, const int* lda, int* ipiv,
            float* b, const int* ldb, int* info);
void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv,
            double* b, const int* ldb, int* info);
}

namespace vecml {
namespace detail {

/// The LAPACK routines for element type T (float or double).
template <typename T>
struct Lapack;

// The s- or d-prefixed routine for each entry.
#define VECML_LAPACK_ROUTINES(T, prefix)          \
  template <>                                     \
  struct Lapack<T> {                              \
    static constexpr auto syevr = prefix##syevr_; \
    static constexpr auto gesdd = prefix##gesdd_; \
    static constexpr auto potrf = prefix##potrf_; \
    static constexpr auto gesv = prefix##gesv_;   \
  };
VECML_LAPACK_ROUTINES(float, s)
VECML_LAPACK_ROUTINES(double, d)
#undef VECML_LAPACK_ROUTINES

/// Converts the workspace size a LAPACK query reported (as T, which for
/// float may have rounded it down) into a count at least as large.
/// \return false when that count does not fit LAPACK's 32-bit int.
template <typename T>
bool lapackWorkspaceSize(T reported, int& size) {
  const double padded = std::ceil(static_cast<double>(reported) *
                                  (1.0 + std::numeric_limits<T>::epsilon()));
  if (!(padded <= static_cast<double>(INT_MAX))) return false;
  size = padded < 1.0 ? 1 : static_cast<int>(padded);
  return true;
}

}  // namespace detail
}  // namespace vecml

#endif
