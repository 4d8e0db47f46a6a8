// SPDX-License-Identifier: MIT
#include "vecml/kernel/CKernel.h"

#include <cmath>
#include <iostream>
#include <utility>

#include "vecml/core/CArchiv.h"
#include "vecml/core/Macros.h"
#include "vecml/core/detail/BinaryIO.h"

namespace {

template <typename T>
T squaredDifference(T x, T y) {
  const T difference = x - y;
  return difference * difference;
}

// Sum in T, in index order, of term(x[i], y[i], i) for i < n. The operands
// are vectors (read through operator[]) or raw arrays.
template <typename T, typename X, typename Y, typename Term>
T sumOfTerms(int n, const X& x, const Y& y, Term term) {
  T sum = 0;
  for (int i = 0; i < n; ++i) sum += term(T(x[i]), T(y[i]), i);
  return sum;
}

template <typename T>
T sumOfSquaredDifferences(const T* x, const T* y, int n) {
  return sumOfTerms<T>(n, x, y,
                       [](T a, T b, int) { return squaredDifference(a, b); });
}

// The scalar product of two arrays, accumulated by fused multiply-add.
template <typename T>
T fusedDotProduct(const T* x, const T* y, int n) {
  T sum = 0;
  for (int i = 0; i < n; ++i) sum = std::fma(x[i], y[i], sum);
  return sum;
}

// sigma * 2 sigma in double; exact for a float sigma.
double gaussianDenominator(double sigma) { return sigma * 2.0 * sigma; }

template <typename T>
T gaussian(T squaredDistance, T sigma) {
  return static_cast<T>(std::exp(-static_cast<double>(squaredDistance) /
                                 gaussianDenominator(sigma)));
}

template <typename T>
T plummer(T squaredDistance, T sigma, double epsilon) {
  return static_cast<T>(
      std::pow(static_cast<double>(squaredDistance) + epsilon * epsilon,
               -static_cast<double>(sigma) * 0.5));
}

template <typename T>
T polynomial(T product, T sigma, double r, int degree) {
  return static_cast<T>(
      std::pow(static_cast<double>(product / sigma) + r, degree));
}

template <typename T, typename X, typename Y>
T doubleExponential(int n, const X& x, const Y& y, T sigma) {
  const T l1 =
      sumOfTerms<T>(n, x, y, [](T a, T b, int) { return std::abs(a - b); });
  return std::exp(-l1 / sigma);
}

template <typename T, typename X, typename Y>
T anova(int n, const X& x, const Y& y, T sigma, int degree) {
  const T sum = sumOfTerms<T>(n, x, y, [sigma](T a, T b, int) {
    return std::exp(-squaredDifference(a, b) / sigma);
  });
  // An integer power by repeated multiplication, not a real power.
  T power = 1;
  for (int k = 0; k < degree; ++k) power *= sum;
  return power;
}

template <typename T, typename X, typename Y>
T chiSquared(int n, const X& x, const Y& y, T sigma) {
  return sumOfTerms<T>(n, x, y, [sigma](T a, T b, int) {
    return squaredDifference(a, b) / ((a + b) * sigma);
  });
}

// requires: s holds at least n elements.
template <typename T, typename X, typename Y>
T multiVariateGaussian(int n, const X& x, const Y& y,
                       const CDenseVector<T>& s) {
  const T* width = s._data();
  const T sum = sumOfTerms<T>(n, x, y, [width](T a, T b, int i) {
    return squaredDifference(a, b) / (width[i] * T(2) * width[i]);
  });
  return std::exp(-sum);
}

template <typename T>
T epanechnikov(T distance, T sigma) {
  const T u = distance / sigma;
  if (u > T(-1) && u < T(1)) return T(0.75) * (T(1) - u * u);
  return 0;
}

// Writes the fields in order, or reads them in order; a read cut short sets
// the failbit. \return false when a read was cut short.
template <typename... Fields>
bool transferFields(std::fstream& stream, IO_MODE mode, Fields&... fields) {
  if (mode != IO_READ) {
    (vecml::detail::writeValue(stream, fields), ...);
    return true;
  }
  if ((vecml::detail::readValue(stream, fields) && ...)) return true;
  stream.setstate(std::ios::failbit);
  return false;
}

// serialize() of a kernel that appends \p fields to its base's record. The
// base's part is read first, so a record cut short anywhere puts the whole
// kernel back as it was.
template <typename T, template <typename> class Kernel, typename... Fields>
bool serializeAppended(Kernel<T>& kernel, std::fstream& stream, IO_MODE mode,
                       Fields&... fields) {
  const Kernel<T> before(kernel);
  if (!kernel.CKernel<T>::serialize(stream, mode)) return false;
  if (!transferFields(stream, mode, fields...)) kernel = before;
  return true;
}

// Reads the fields from \p archive when it is loading, else writes each one
// followed by a separator.
template <typename... Fields>
void archiveFields(CArchiv& archive, Fields&... fields) {
  if (archive.isLoading()) {
    (archive.read(fields), ...);
    return;
  }
  ((archive.write(fields), archive.writeSeparator()), ...);
}

template <typename T, template <typename> class Kernel, typename... Fields>
bool serialize2Appended(Kernel<T>& kernel, CArchiv& archive,
                        Fields&... fields) {
  if (!kernel.CKernel<T>::serialize2(archive)) return false;
  archiveFields(archive, fields...);
  return true;
}

}  // namespace

template <typename T>
CKernel<T>::CKernel(T bandwidth) : sigma(bandwidth) {}

template <typename T>
CKernel<T>::CKernel(const CKernel<T>& other) = default;

template <typename T>
CKernel<T>& CKernel<T>::operator=(const CKernel<T>& other) = default;

template <typename T>
CKernel<T>::~CKernel() = default;

template <typename T>
bool CKernel<T>::serialize(std::fstream& stream, IO_MODE mode) {
  if (!CObject<T>::serialize(stream, mode)) return false;
  transferFields(stream, mode, sigma);
  return true;
}

template <typename T>
bool CKernel<T>::serialize2(CArchiv& archive) {
  archiveFields(archive, sigma);
  return true;
}

template <typename T>
std::string CKernel<T>::className() const {
  return "CKernel";
}

// Each level of the isA chain compares with the virtual className(), so the
// chain matches the most-derived name only.
template <typename T>
bool CKernel<T>::isA(const char* name) const {
  return className() == name || CObject<T>::isA(name);
}

template <typename T>
T CKernel<T>::bandwidth() const {
  return static_cast<T>(sigma);
}

template <typename T>
void CKernel<T>::setBandwidth(T bandwidth) {
  sigma = bandwidth;
}

// Copying, destruction, clone() and factoryObject() of one kernel; all are
// compiled here so that plug-ins creating a kernel carry no code of it.
#define VECML_DEFINE_KERNEL_COMMON_(Kernel, factoryFile)             \
  template <typename T>                                              \
  Kernel<T>::Kernel(const Kernel<T>& other) = default;               \
  template <typename T>                                              \
  Kernel<T>& Kernel<T>::operator=(const Kernel<T>& other) = default; \
  template <typename T>                                              \
  Kernel<T>::~Kernel() = default;                                    \
  template <typename T>                                              \
  Kernel<T>* Kernel<T>::clone() const {                              \
    return new Kernel<T>(*this);                                     \
  }                                                                  \
  template <typename T>                                              \
  std::string Kernel<T>::factoryObject() {                           \
    return factoryFile;                                              \
  }

// className() and the isA link of a kernel that reports its own name.
#define VECML_DEFINE_KERNEL_NAME_(Kernel, kernelName)    \
  template <typename T>                                  \
  std::string Kernel<T>::className() const {             \
    return kernelName;                                   \
  }                                                      \
  template <typename T>                                  \
  bool Kernel<T>::isA(const char* name) const {          \
    return className() == name || CKernel<T>::isA(name); \
  }

VECML_DEFINE_KERNEL_COMMON_(CGaussianKernel, "CGaussianKernelFactory.so")
VECML_DEFINE_KERNEL_NAME_(CGaussianKernel, "CGaussianKernel")
VECML_DEFINE_KERNEL_COMMON_(CPlummerKernel, "CPlummerFactory.so")
VECML_DEFINE_KERNEL_NAME_(CPlummerKernel, "CPlummerKernel")
VECML_DEFINE_KERNEL_COMMON_(CTriangularKernel, "CTriangularKernelFactory.so")
VECML_DEFINE_KERNEL_NAME_(CTriangularKernel, "CTriangularKernel")
VECML_DEFINE_KERNEL_COMMON_(CLinearKernel, "CLinearKernelFactory.so")
VECML_DEFINE_KERNEL_NAME_(CLinearKernel, "CLinearKernel")
VECML_DEFINE_KERNEL_COMMON_(CPolynomialKernel, "CPolynomialKernelFactory.so")
VECML_DEFINE_KERNEL_NAME_(CPolynomialKernel, "CPolynomialKernel")
VECML_DEFINE_KERNEL_COMMON_(CDoubleExponentialKernel,
                            "CDoubleExponentialKernelFactory.so")
VECML_DEFINE_KERNEL_NAME_(CDoubleExponentialKernel, "CDoubleExponentialKernel")
VECML_DEFINE_KERNEL_COMMON_(CAnovaKernel, "CAnovaKernelFactory.so")
VECML_DEFINE_KERNEL_NAME_(CAnovaKernel, "CAnoveKernel")
VECML_DEFINE_KERNEL_COMMON_(CChiSquaredKernel, "CChiSquaredKernelFactory.so")
VECML_DEFINE_KERNEL_NAME_(CChiSquaredKernel, "CChiSquaredKernelFactoryKernel")
VECML_DEFINE_KERNEL_COMMON_(CMultiVariateGaussianKernel, "")
VECML_DEFINE_KERNEL_NAME_(CMultiVariateGaussianKernel,
                          "CMultiVariateGaussianKernel")
VECML_DEFINE_KERNEL_COMMON_(CEpanechnikovKernel,
                            "CEpanechnikovKernelFactory.so")
#undef VECML_DEFINE_KERNEL_COMMON_
#undef VECML_DEFINE_KERNEL_NAME_

// --- Gaussian ---------------------------------------------------------------

template <typename T>
CGaussianKernel<T>::CGaussianKernel(T bandwidth) : CKernel<T>(bandwidth) {
  std::cout << "Gaussian Kernel: (sigma=" << bandwidth << ")" << std::endl;
}

template <typename T>
T CGaussianKernel<T>::execute(const CVector<T>& rtVector1,
                              const CVector<T>& rtVector2) const {
  return gaussian(rtVector1.euclideanDistance(rtVector2, true),
                  this->bandwidth());
}

template <typename T>
T CGaussianKernel<T>::execute(const CVector<T>& rtVector1,
                              const T* ptVector2) const {
  return execute(rtVector1, CDenseVector<T>(rtVector1.dimension(), ptVector2));
}

template <typename T>
T CGaussianKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                              int iDim) const {
  const double denominator = gaussianDenominator(this->bandwidth());
  const T sum =
      sumOfTerms<T>(iDim, ptVector1, ptVector2, [denominator](T a, T b, int) {
        return static_cast<T>(static_cast<double>(squaredDifference(a, b)) /
                              denominator);
      });
  return static_cast<T>(std::exp(-static_cast<double>(sum)));
}

template <typename T>
T CGaussianKernel<T>::execute(T x) const {
  return gaussian(x * x, this->bandwidth());
}

// --- Plummer ----------------------------------------------------------------

template <typename T>
CPlummerKernel<T>::CPlummerKernel(T bandwidth)
    : CKernel<T>(bandwidth), eps(1.0) {}

template <typename T>
bool CPlummerKernel<T>::serialize(std::fstream& stream, IO_MODE mode) {
  return serializeAppended(*this, stream, mode, eps);
}

template <typename T>
bool CPlummerKernel<T>::serialize2(CArchiv& archive) {
  return serialize2Appended(*this, archive, eps);
}

template <typename T>
T CPlummerKernel<T>::execute(const CVector<T>& rtVector1,
                             const CVector<T>& rtVector2) const {
  return plummer(rtVector1.euclideanDistance(rtVector2, true),
                 this->bandwidth(), eps);
}

template <typename T>
T CPlummerKernel<T>::execute(const CVector<T>& rtVector1,
                             const T* ptVector2) const {
  return execute(rtVector1, CDenseVector<T>(rtVector1.dimension(), ptVector2));
}

template <typename T>
T CPlummerKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                             int iDim) const {
  return plummer(sumOfSquaredDifferences(ptVector1, ptVector2, iDim),
                 this->bandwidth(), eps);
}

template <typename T>
T CPlummerKernel<T>::execute(T x) const {
  return plummer(x, this->bandwidth(), eps);
}

template <typename T>
void CPlummerKernel<T>::setEpsilon(T epsilon) {
  eps = epsilon;
}

template <typename T>
T CPlummerKernel<T>::epsilon() const {
  return static_cast<T>(eps);
}

// --- Triangular -------------------------------------------------------------

template <typename T>
CTriangularKernel<T>::CTriangularKernel(T bandwidth) : CKernel<T>(bandwidth) {}

template <typename T>
T CTriangularKernel<T>::execute(const CVector<T>& rtVector1,
                                const CVector<T>& rtVector2) const {
  return -rtVector1.euclideanDistance(rtVector2, false) / this->bandwidth();
}

template <typename T>
T CTriangularKernel<T>::execute(const CVector<T>& rtVector1,
                                const T* ptVector2) const {
  return execute(rtVector1, CDenseVector<T>(rtVector1.dimension(), ptVector2));
}

template <typename T>
T CTriangularKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                                int iDim) const {
  return -std::sqrt(sumOfSquaredDifferences(ptVector1, ptVector2, iDim)) /
         this->bandwidth();
}

template <typename T>
T CTriangularKernel<T>::execute(T) const {
  return -1;
}

// --- Linear -----------------------------------------------------------------

template <typename T>
CLinearKernel<T>::CLinearKernel() : CKernel<T>(T(-1)) {
  std::cout << "Linear Kernel" << std::endl;
}

template <typename T>
T CLinearKernel<T>::execute(const CVector<T>& rtVector1,
                            const CVector<T>& rtVector2) const {
  return rtVector1 * rtVector2;
}

template <typename T>
T CLinearKernel<T>::execute(const CVector<T>& rtVector1,
                            const T* ptVector2) const {
  return execute(rtVector1, CDenseVector<T>(rtVector1.dimension(), ptVector2));
}

template <typename T>
T CLinearKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                            int iDim) const {
  return fusedDotProduct(ptVector1, ptVector2, iDim);
}

template <typename T>
T CLinearKernel<T>::execute(T x) const {
  return x;
}

// --- Polynomial -------------------------------------------------------------

template <typename T>
CPolynomialKernel<T>::CPolynomialKernel(T bandwidth, int degree, T r)
    : CKernel<T>(bandwidth), offset(r), exponent(degree) {
  std::cout << "Polynomial Kernel" << std::endl;
}

template <typename T>
bool CPolynomialKernel<T>::serialize(std::fstream& stream, IO_MODE mode) {
  return serializeAppended(*this, stream, mode, exponent, offset);
}

template <typename T>
bool CPolynomialKernel<T>::serialize2(CArchiv& archive) {
  return serialize2Appended(*this, archive, exponent, offset);
}

template <typename T>
T CPolynomialKernel<T>::execute(const CVector<T>& rtVector1,
                                const CVector<T>& rtVector2) const {
  return execute(rtVector1 * rtVector2);
}

template <typename T>
T CPolynomialKernel<T>::execute(const CVector<T>& rtVector1,
                                const T* ptVector2) const {
  return execute(rtVector1, CDenseVector<T>(rtVector1.dimension(), ptVector2));
}

template <typename T>
T CPolynomialKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                                int iDim) const {
  return execute(fusedDotProduct(ptVector1, ptVector2, iDim));
}

template <typename T>
T CPolynomialKernel<T>::execute(T x) const {
  return polynomial(x, this->bandwidth(), offset, exponent);
}

template <typename T>
void CPolynomialKernel<T>::setDegree(int degree) {
  exponent = degree;
}

template <typename T>
int CPolynomialKernel<T>::degree() const {
  return exponent;
}

template <typename T>
void CPolynomialKernel<T>::setR(T r) {
  offset = r;
}

template <typename T>
T CPolynomialKernel<T>::r() const {
  return static_cast<T>(offset);
}

// --- Double exponential -----------------------------------------------------

template <typename T>
CDoubleExponentialKernel<T>::CDoubleExponentialKernel(T bandwidth)
    : CKernel<T>(bandwidth) {
  std::cout << "CDoubleExponentialKernel" << std::endl;
}

template <typename T>
T CDoubleExponentialKernel<T>::execute(const CVector<T>& rtVector1,
                                       const CVector<T>& rtVector2) const {
  return doubleExponential(rtVector1.dimension(), rtVector1, rtVector2,
                           this->bandwidth());
}

template <typename T>
T CDoubleExponentialKernel<T>::execute(const CVector<T>& rtVector1,
                                       const T* ptVector2) const {
  return doubleExponential(rtVector1.dimension(), rtVector1, ptVector2,
                           this->bandwidth());
}

template <typename T>
T CDoubleExponentialKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                                       int iDim) const {
  return doubleExponential(iDim, ptVector1, ptVector2, this->bandwidth());
}

template <typename T>
T CDoubleExponentialKernel<T>::execute(T) const {
  return -1;
}

// --- Anova ------------------------------------------------------------------

template <typename T>
CAnovaKernel<T>::CAnovaKernel(T bandwidth, int degree)
    : CKernel<T>(bandwidth), exponent(degree) {
  std::cout << "Anova Kernel" << std::endl;
}

template <typename T>
bool CAnovaKernel<T>::serialize(std::fstream& stream, IO_MODE mode) {
  return serializeAppended(*this, stream, mode, exponent);
}

template <typename T>
bool CAnovaKernel<T>::serialize2(CArchiv& archive) {
  return serialize2Appended(*this, archive, exponent);
}

template <typename T>
T CAnovaKernel<T>::execute(const CVector<T>& rtVector1,
                           const CVector<T>& rtVector2) const {
  return anova(rtVector1.dimension(), rtVector1, rtVector2, this->bandwidth(),
               exponent);
}

template <typename T>
T CAnovaKernel<T>::execute(const CVector<T>& rtVector1,
                           const T* ptVector2) const {
  return anova(rtVector1.dimension(), rtVector1, ptVector2, this->bandwidth(),
               exponent);
}

template <typename T>
T CAnovaKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                           int iDim) const {
  return anova(iDim, ptVector1, ptVector2, this->bandwidth(), exponent);
}

template <typename T>
T CAnovaKernel<T>::execute(T) const {
  return -1;
}

template <typename T>
void CAnovaKernel<T>::setDegree(int degree) {
  exponent = degree;
}

template <typename T>
int CAnovaKernel<T>::degree() const {
  return exponent;
}

// --- Chi squared ------------------------------------------------------------

template <typename T>
CChiSquaredKernel<T>::CChiSquaredKernel(T bandwidth) : CKernel<T>(bandwidth) {
  std::cout << "Chi Squared Kernel" << std::endl;
}

template <typename T>
T CChiSquaredKernel<T>::execute(const CVector<T>& rtVector1,
                                const CVector<T>& rtVector2) const {
  return chiSquared(rtVector1.dimension(), rtVector1, rtVector2,
                    this->bandwidth());
}

template <typename T>
T CChiSquaredKernel<T>::execute(const CVector<T>& rtVector1,
                                const T* ptVector2) const {
  return chiSquared(rtVector1.dimension(), rtVector1, ptVector2,
                    this->bandwidth());
}

template <typename T>
T CChiSquaredKernel<T>::execute(const T* ptVector1, const T* ptVector2,
                                int iDim) const {
  return chiSquared(iDim, ptVector1, ptVector2, this->bandwidth());
}

template <typename T>
T CChiSquaredKernel<T>::execute(T) const {
  return -1;
}

// --- Multivariate Gaussian --------------------------------------------------

template <typename T>
CMultiVariateGaussianKernel<T>::CMultiVariateGaussianKernel(
    CDenseVector<T> bandwidths)
    : CKernel<T>(T(-1)), bandwidthVector(std::move(bandwidths)) {
  std::cout << "Multivariate Gaussian Kernel" << std::endl;
}

template <typename T>
T CMultiVariateGaussianKernel<T>::execute(const CVector<T>& rtVector1,
                                          const CVector<T>& rtVector2) const {
  ML_EQ_CHK_AT(bandwidthVector.dimension(), rtVector1.dimension(),
               vecml::detail::kKernelVectorDimensionCheck);
  return multiVariateGaussian(rtVector1.dimension(), rtVector1, rtVector2,
                              bandwidthVector);
}

template <typename T>
T CMultiVariateGaussianKernel<T>::execute(const CVector<T>& rtVector1,
                                          const T* ptVector2) const {
  ML_EQ_CHK_AT(bandwidthVector.dimension(), rtVector1.dimension(),
               vecml::detail::kKernelVectorDimensionCheck);
  return multiVariateGaussian(rtVector1.dimension(), rtVector1, ptVector2,
                              bandwidthVector);
}

template <typename T>
T CMultiVariateGaussianKernel<T>::execute(const T* ptVector1,
                                          const T* ptVector2, int iDim) const {
  ML_EQ_CHK_AT(iDim, bandwidthVector.dimension(),
               vecml::detail::kKernelArrayDimensionCheck);
  return multiVariateGaussian(iDim, ptVector1, ptVector2, bandwidthVector);
}

template <typename T>
T CMultiVariateGaussianKernel<T>::execute(T) const {
  return -1;
}

template <typename T>
void CMultiVariateGaussianKernel<T>::setBandwidth(
    const CDenseVector<T>& bandwidths) {
  bandwidthVector = bandwidths;
}

template <typename T>
void CMultiVariateGaussianKernel<T>::setBandwidth(T bandwidth) {
  CKernel<T>::setBandwidth(bandwidth);
  bandwidthVector = CDenseVector<T>(bandwidthVector.dimension(), bandwidth);
}

template <typename T>
const CDenseVector<T>& CMultiVariateGaussianKernel<T>::bandwidths() const {
  return bandwidthVector;
}

// --- Epanechnikov -----------------------------------------------------------

template <typename T>
CEpanechnikovKernel<T>::CEpanechnikovKernel(T bandwidth)
    : CKernel<T>(bandwidth) {}

template <typename T>
T CEpanechnikovKernel<T>::execute(const CVector<T>& rtVector1,
                                  const CVector<T>& rtVector2) const {
  return epanechnikov(rtVector1.euclideanDistance(rtVector2, false),
                      this->bandwidth());
}

template <typename T>
T CEpanechnikovKernel<T>::execute(const CVector<T>&, const T*) const {
  std::cout << "CEpanechnikovKernel<Type>::execute( const CVector<Type>& "
               "rtVector1, const Type* ptVector2)"
            << std::endl;
  return -1;
}

template <typename T>
T CEpanechnikovKernel<T>::execute(const T*, const T*, int) const {
  return -1;
}

template <typename T>
T CEpanechnikovKernel<T>::execute(T x) const {
  const T sigma = this->bandwidth();
  return std::exp(-x / (sigma * sigma));
}

VECML_FOR_FLOATING_TYPES(VECML_KERNEL_INSTANTIATIONS, template)
