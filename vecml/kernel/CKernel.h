// SPDX-License-Identifier: MIT
// Kernel functions over vectors: the abstract CKernel and its ten kernels.
//
// A kernel is evaluated on two vectors, on a vector and a raw array, on two
// raw arrays of a given length, or on one scalar (a precomputed distance or
// product). The object factory finds a kernel's plug-in by the file name
// that factoryObject() returns. Several formulas differ on purpose from the
// textbook kernels of the same name; each class says what it computes.
#ifndef VECML_KERNEL_CKERNEL_H
#define VECML_KERNEL_CKERNEL_H

#include <fstream>
#include <string>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

/// Base of all kernels, instantiated for float and double. Holds the
/// bandwidth sigma as a double for every element type.
///
/// Notation in the kernels below: x and y are the two operands, d2 the sum
/// of (x[i] - y[i])^2, d its square root, <x,y> the sum of x[i] * y[i], and
/// sigma the bandwidth narrowed to T. Unless a kernel says otherwise, every
/// step runs in T (for float: single precision, std::exp of a float).
///
/// Operands: requires both operands to have the same dimension. The
/// two-vector forms walk the first vector's dimension: those built on the
/// distance or product of CVector read missing positions as 0 (see
/// CVectorOperations); the element-wise ones read the second vector with
/// operator[], which aborts beyond its dimension. The vector-and-array forms
/// read rtVector1.dimension() elements of the array, the array forms iDim
/// elements of each array (requires: the arrays hold that many; iDim <= 0
/// reads none). No form validates sigma: sigma = 0 gives the floating-point
/// result of the division.
///
/// Scalar forms that a kernel does not support return the constant -1,
/// which callers must not read as a similarity.
///
/// Binary record (serialize): the bandwidth as 8 raw bytes (double), then
/// the fields a kernel appends. Writes for every mode other than IO_READ.
/// A record cut short sets the stream's failbit and leaves the kernel
/// unchanged. Archive form (serialize2): the bandwidth through read(double&)
/// or write(double&) and writeSeparator(), then the appended fields.
///
/// isA(name) is true exactly for className() (requires: name is not null).
///
/// \code
///   CGaussianKernel<double> kernel(2.0);  // prints its parameters
///   double k = kernel.execute(a, b);      // exp(-|a - b|^2 / 8)
/// \endcode
template <typename T>
class VECML_API CKernel : public CObject<T> {
 public:
  /// Stores \p bandwidth widened to double.
  explicit CKernel(T bandwidth);
  CKernel(const CKernel<T>& other);
  CKernel<T>& operator=(const CKernel<T>& other);
  ~CKernel() override;

  /// Writes or reads the bandwidth (8 bytes). \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Writes or reads the bandwidth as a double. \return true.
  bool serialize2(CArchiv& archive) override;
  /// \return "CKernel".
  std::string className() const override;
  bool isA(const char* name) const override;

  /// \return the kernel of two vectors.
  virtual T execute(const CVector<T>& rtVector1,
                    const CVector<T>& rtVector2) const = 0;
  /// \return the kernel of a vector and rtVector1.dimension() elements of
  ///         \p ptVector2.
  virtual T execute(const CVector<T>& rtVector1, const T* ptVector2) const = 0;
  /// \return the kernel of \p iDim elements of each array.
  virtual T execute(const T* ptVector1, const T* ptVector2, int iDim) const = 0;
  /// \return the kernel of a precomputed distance or product \p x, or -1.
  virtual T execute(T x) const = 0;
  /// \return a heap copy owned by the caller.
  virtual CKernel<T>* clone() const = 0;
  /// \return the file name of the kernel's plug-in.
  virtual std::string factoryObject() = 0;

  /// \return the bandwidth narrowed to T.
  T bandwidth() const;
  /// Stores \p bandwidth widened to double.
  void setBandwidth(T bandwidth);

 private:
  double sigma;
};

/// Gaussian kernel exp(-d2 / (sigma * 2 sigma)); the scalar form takes a
/// distance x: exp(-x*x / (sigma * 2 sigma)).
///
/// d2 (and x*x) are formed in T; the denominator, the quotient and the
/// exponential in double, and the result is narrowed to T. The array form
/// divides each (x[i] - y[i])^2 by the denominator in double, narrows each
/// quotient to T and sums them in T before one exponential in double.
template <typename T>
class VECML_API CGaussianKernel : public CKernel<T> {
 public:
  /// Prints "Gaussian Kernel: (sigma=<bandwidth>)" and a line end.
  explicit CGaussianKernel(T bandwidth);
  CGaussianKernel(const CGaussianKernel<T>& other);
  CGaussianKernel<T>& operator=(const CGaussianKernel<T>& other);
  ~CGaussianKernel() override;

  /// \return "CGaussianKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// d2 from rtVector1.euclideanDistance(rtVector2, true).
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  /// The two-vector form with the array as a dense vector.
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  T execute(T x) const override;
  CGaussianKernel<T>* clone() const override;
  /// \return "CGaussianKernelFactory.so".
  std::string factoryObject() override;
};

/// Plummer kernel (d2 + epsilon^2)^(-sigma/2): the bandwidth acts as a
/// power, not a width. The scalar form takes an already squared distance x:
/// (x + epsilon^2)^(-sigma/2).
///
/// d2 is formed in T; the sum with epsilon^2 and the real power in double,
/// and the result is narrowed to T.
///
/// Binary record: bandwidth, then epsilon (8 bytes, double).
template <typename T>
class VECML_API CPlummerKernel : public CKernel<T> {
 public:
  /// Epsilon starts at 1.0. Prints nothing.
  explicit CPlummerKernel(T bandwidth);
  CPlummerKernel(const CPlummerKernel<T>& other);
  CPlummerKernel<T>& operator=(const CPlummerKernel<T>& other);
  ~CPlummerKernel() override;

  /// Writes or reads the bandwidth, then epsilon. \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Bandwidth, then epsilon as a double. \return true.
  bool serialize2(CArchiv& archive) override;
  /// \return "CPlummerKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// d2 from rtVector1.euclideanDistance(rtVector2, true).
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  /// The two-vector form with the array as a dense vector.
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  T execute(T x) const override;
  CPlummerKernel<T>* clone() const override;
  /// \return "CPlummerFactory.so".
  std::string factoryObject() override;

  /// Stores \p epsilon widened to double.
  virtual void setEpsilon(T epsilon);
  /// \return epsilon narrowed to T.
  T epsilon() const;

 private:
  double eps;
};

/// Triangular kernel -d / sigma: the negated scaled distance, neither
/// subtracted from one nor clipped at zero (equal vectors give -0). The
/// scalar form is not supported and returns -1.
template <typename T>
class VECML_API CTriangularKernel : public CKernel<T> {
 public:
  /// Prints nothing.
  explicit CTriangularKernel(T bandwidth);
  CTriangularKernel(const CTriangularKernel<T>& other);
  CTriangularKernel<T>& operator=(const CTriangularKernel<T>& other);
  ~CTriangularKernel() override;

  /// \return "CTriangularKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// d from rtVector1.euclideanDistance(rtVector2, false).
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  /// The two-vector form with the array as a dense vector.
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  /// d as the square root of the summed squares.
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  /// \return -1.
  T execute(T x) const override;
  CTriangularKernel<T>* clone() const override;
  /// \return "CTriangularKernelFactory.so".
  std::string factoryObject() override;
};

/// Linear kernel <x,y>; the scalar form returns its argument. Has no
/// bandwidth (it is -1).
template <typename T>
class VECML_API CLinearKernel : public CKernel<T> {
 public:
  /// Prints "Linear Kernel" and a line end.
  CLinearKernel();
  CLinearKernel(const CLinearKernel<T>& other);
  CLinearKernel<T>& operator=(const CLinearKernel<T>& other);
  ~CLinearKernel() override;

  /// \return "CLinearKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  /// \return rtVector1 * rtVector2 (the vector product operator).
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  /// The two-vector form with the array as a dense vector.
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  /// Accumulates the products with std::fma in index order, starting at 0.
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  /// \return \p x unchanged.
  T execute(T x) const override;
  CLinearKernel<T>* clone() const override;
  /// \return "CLinearKernelFactory.so".
  std::string factoryObject() override;
};

/// Polynomial kernel (<x,y> / sigma + r)^degree; the scalar form takes a
/// product x: (x / sigma + r)^degree.
///
/// The scaled product is formed in T, widened to double, r added and the
/// sum raised to the degree by a real power function in double; the result
/// is narrowed to T. <x,y> is formed as by CLinearKernel.
///
/// Binary record: bandwidth, then degree (4 bytes), then r (8 bytes).
template <typename T>
class VECML_API CPolynomialKernel : public CKernel<T> {
 public:
  /// Prints "Polynomial Kernel" and a line end.
  CPolynomialKernel(T bandwidth, int degree, T r);
  CPolynomialKernel(const CPolynomialKernel<T>& other);
  CPolynomialKernel<T>& operator=(const CPolynomialKernel<T>& other);
  ~CPolynomialKernel() override;

  /// Writes or reads the bandwidth, degree, then r. \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Bandwidth, then degree as an int, then r as a double. \return true.
  bool serialize2(CArchiv& archive) override;
  /// \return "CPolynomialKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  T execute(T x) const override;
  CPolynomialKernel<T>* clone() const override;
  /// \return "CPolynomialKernelFactory.so".
  std::string factoryObject() override;

  void setDegree(int degree);
  int degree() const;
  /// Stores \p r widened to double.
  void setR(T r);
  /// \return r narrowed to T.
  T r() const;

 private:
  double offset;
  int exponent;
};

/// Double exponential kernel exp(-sum |x[i] - y[i]| / sigma); exp(-0) = 1
/// for no elements. The scalar form is not supported and returns -1.
template <typename T>
class VECML_API CDoubleExponentialKernel : public CKernel<T> {
 public:
  /// Prints "CDoubleExponentialKernel" and a line end.
  explicit CDoubleExponentialKernel(T bandwidth);
  CDoubleExponentialKernel(const CDoubleExponentialKernel<T>& other);
  CDoubleExponentialKernel<T>& operator=(
      const CDoubleExponentialKernel<T>& other);
  ~CDoubleExponentialKernel() override;

  /// \return "CDoubleExponentialKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  /// \return -1.
  T execute(T x) const override;
  CDoubleExponentialKernel<T>* clone() const override;
  /// \return "CDoubleExponentialKernelFactory.so".
  std::string factoryObject() override;
};

/// Anova kernel (sum exp(-(x[i] - y[i])^2 / sigma))^degree, the power taken
/// by repeated multiplication in T (degree <= 0 gives 1). The scalar form is
/// not supported and returns -1.
///
/// Binary record: bandwidth, then degree (4 bytes).
template <typename T>
class VECML_API CAnovaKernel : public CKernel<T> {
 public:
  /// Prints "Anova Kernel" and a line end.
  CAnovaKernel(T bandwidth, int degree);
  CAnovaKernel(const CAnovaKernel<T>& other);
  CAnovaKernel<T>& operator=(const CAnovaKernel<T>& other);
  ~CAnovaKernel() override;

  /// Writes or reads the bandwidth, then degree. \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Bandwidth, then degree as an int. \return true.
  bool serialize2(CArchiv& archive) override;
  /// \return "CAnoveKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  /// \return -1.
  T execute(T x) const override;
  CAnovaKernel<T>* clone() const override;
  /// \return "CAnovaKernelFactory.so".
  std::string factoryObject() override;

  void setDegree(int degree);
  int degree() const;

 private:
  int exponent;
};

/// Chi-squared kernel sum (x[i] - y[i])^2 / ((x[i] + y[i]) * sigma), without
/// an exponential; 0 for no elements. x[i] + y[i] = 0 is not guarded (0/0
/// gives NaN). The scalar form is not supported and returns -1.
template <typename T>
class VECML_API CChiSquaredKernel : public CKernel<T> {
 public:
  /// Prints "Chi Squared Kernel" and a line end.
  explicit CChiSquaredKernel(T bandwidth);
  CChiSquaredKernel(const CChiSquaredKernel<T>& other);
  CChiSquaredKernel<T>& operator=(const CChiSquaredKernel<T>& other);
  ~CChiSquaredKernel() override;

  /// \return "CChiSquaredKernelFactoryKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  /// \return -1.
  T execute(T x) const override;
  CChiSquaredKernel<T>* clone() const override;
  /// \return "CChiSquaredKernelFactory.so".
  std::string factoryObject() override;
};

/// Gaussian kernel with one bandwidth s[i] per dimension:
/// exp(-sum (x[i] - y[i])^2 / (s[i] * 2 s[i])). The scalar bandwidth is -1
/// and unused. The scalar form is not supported and returns -1. Has no
/// plug-in: factoryObject() is empty.
///
/// requires: the operands have the bandwidth vector's dimension. The array
/// form aborts with "ML_EQ_CHK failed in File: <file> Line: <line>.
/// iDim=<iDim> != <dimension>" at detail::kKernelArrayDimensionCheck; the
/// forms with a vector argument abort with "ML_EQ_CHK failed in File:
/// <file> Line: <line>. bandwidthVector.dimension()=<dimension> !=
/// <rtVector1.dimension()>" at detail::kKernelVectorDimensionCheck.
template <typename T>
class VECML_API CMultiVariateGaussianKernel : public CKernel<T> {
 public:
  /// Prints "Multivariate Gaussian Kernel" and a line end.
  explicit CMultiVariateGaussianKernel(CDenseVector<T> bandwidths);
  CMultiVariateGaussianKernel(const CMultiVariateGaussianKernel<T>& other);
  CMultiVariateGaussianKernel<T>& operator=(
      const CMultiVariateGaussianKernel<T>& other);
  ~CMultiVariateGaussianKernel() override;

  /// \return "CMultiVariateGaussianKernel".
  std::string className() const override;
  bool isA(const char* name) const override;
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  /// \return -1.
  T execute(T x) const override;
  CMultiVariateGaussianKernel<T>* clone() const override;
  /// \return "" (no plug-in).
  std::string factoryObject() override;

  /// Replaces the per-dimension bandwidths (and so the required dimension).
  void setBandwidth(const CDenseVector<T>& bandwidths);
  /// Sets the scalar bandwidth and every per-dimension bandwidth to
  /// \p bandwidth, keeping the dimension. Called through a CKernel<T>,
  /// setBandwidth(T) sets the scalar bandwidth only.
  void setBandwidth(T bandwidth);
  const CDenseVector<T>& bandwidths() const;

 private:
  CDenseVector<T> bandwidthVector;
};

/// Epanechnikov kernel of u = d / sigma: 0.75 * (1 - u^2) for -1 < u < 1,
/// else 0 (also for NaN). The vector-and-array form is not implemented: it
/// prints "CEpanechnikovKernel<Type>::execute( const CVector<Type>&
/// rtVector1, const Type* ptVector2)" (one line) and returns -1; the array
/// form returns -1. The scalar form is exp(-x / sigma^2).
///
/// Keeps its base's className() ("CKernel") and isA().
template <typename T>
class VECML_API CEpanechnikovKernel : public CKernel<T> {
 public:
  /// Prints nothing.
  explicit CEpanechnikovKernel(T bandwidth);
  CEpanechnikovKernel(const CEpanechnikovKernel<T>& other);
  CEpanechnikovKernel<T>& operator=(const CEpanechnikovKernel<T>& other);
  ~CEpanechnikovKernel() override;

  /// d from rtVector1.euclideanDistance(rtVector2, false).
  T execute(const CVector<T>& rtVector1,
            const CVector<T>& rtVector2) const override;
  /// \return -1 after printing the line above.
  T execute(const CVector<T>& rtVector1, const T* ptVector2) const override;
  /// \return -1.
  T execute(const T* ptVector1, const T* ptVector2, int iDim) const override;
  T execute(T x) const override;
  CEpanechnikovKernel<T>* clone() const override;
  /// \return "CEpanechnikovKernelFactory.so".
  std::string factoryObject() override;
};

#define VECML_KERNEL_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CKernel<T>;                     \
  INSTANTIATE class CGaussianKernel<T>;             \
  INSTANTIATE class CPlummerKernel<T>;              \
  INSTANTIATE class CTriangularKernel<T>;           \
  INSTANTIATE class CLinearKernel<T>;               \
  INSTANTIATE class CPolynomialKernel<T>;           \
  INSTANTIATE class CDoubleExponentialKernel<T>;    \
  INSTANTIATE class CAnovaKernel<T>;                \
  INSTANTIATE class CChiSquaredKernel<T>;           \
  INSTANTIATE class CMultiVariateGaussianKernel<T>; \
  INSTANTIATE class CEpanechnikovKernel<T>;
VECML_FOR_FLOATING_TYPES(VECML_KERNEL_INSTANTIATIONS, extern template)

#endif
