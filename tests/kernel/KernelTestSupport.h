// SPDX-License-Identifier: MIT
// Shared helpers of the kernel tests.
#ifndef VECML_TESTS_LEARNING_KERNELTESTSUPPORT_H
#define VECML_TESTS_LEARNING_KERNELTESTSUPPORT_H

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/CaptureOutput.h"
#include "vecml/kernel/CKernel.h"

// Builds a kernel without letting its constructor line reach the test log.
template <typename Kernel, typename... Args>
Kernel quietly(Args&&... args) {
  std::optional<Kernel> kernel;
  captureStdout([&] { kernel.emplace(std::forward<Args>(args)...); });
  return *kernel;
}

// A dense vector of the given values, each narrowed to T.
template <typename T>
CDenseVector<T> denseOf(std::initializer_list<double> values) {
  std::vector<T> narrowed;
  for (double value : values) narrowed.push_back(static_cast<T>(value));
  return CDenseVector<T>(narrowed);
}

// One kernel of every class with the names it must report.
template <typename T>
struct NamedKernel {
  std::string className;
  std::string factoryObject;
  std::unique_ptr<CKernel<T>> kernel;
};

template <typename Kernel>
std::unique_ptr<Kernel> heapCopy(const Kernel& kernel) {
  return std::make_unique<Kernel>(kernel);
}

template <typename T>
std::vector<NamedKernel<T>> allKernels() {
  std::vector<NamedKernel<T>> kernels;
  kernels.push_back({"CGaussianKernel", "CGaussianKernelFactory.so",
                     heapCopy(quietly<CGaussianKernel<T>>(T(1)))});
  kernels.push_back({"CPlummerKernel", "CPlummerFactory.so",
                     heapCopy(quietly<CPlummerKernel<T>>(T(1)))});
  kernels.push_back({"CTriangularKernel", "CTriangularKernelFactory.so",
                     heapCopy(quietly<CTriangularKernel<T>>(T(1)))});
  kernels.push_back({"CLinearKernel", "CLinearKernelFactory.so",
                     heapCopy(quietly<CLinearKernel<T>>())});
  kernels.push_back({"CPolynomialKernel", "CPolynomialKernelFactory.so",
                     heapCopy(quietly<CPolynomialKernel<T>>(T(1), 2, T(1)))});
  kernels.push_back({"CDoubleExponentialKernel",
                     "CDoubleExponentialKernelFactory.so",
                     heapCopy(quietly<CDoubleExponentialKernel<T>>(T(1)))});
  kernels.push_back({"CAnoveKernel", "CAnovaKernelFactory.so",
                     heapCopy(quietly<CAnovaKernel<T>>(T(1), 1))});
  kernels.push_back({"CChiSquaredKernelFactoryKernel",
                     "CChiSquaredKernelFactory.so",
                     heapCopy(quietly<CChiSquaredKernel<T>>(T(1)))});
  kernels.push_back({"CMultiVariateGaussianKernel", "",
                     heapCopy(quietly<CMultiVariateGaussianKernel<T>>(
                         CDenseVector<T>(2, T(1))))});
  kernels.push_back({"CKernel", "CEpanechnikovKernelFactory.so",
                     heapCopy(quietly<CEpanechnikovKernel<T>>(T(1)))});
  return kernels;
}

#endif
