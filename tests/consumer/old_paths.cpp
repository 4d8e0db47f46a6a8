// SPDX-License-Identifier: MIT
// Builds against the installed package through the deprecated include
// paths, which must keep working for one minor version.
#include "vecml/learning/CKernel.h"
#include "vecml/learning/CMetric.h"
#include "vecml/vector/CDenseVector.h"

bool oldIncludePathsWork() {
  const CDenseVector<double> a(2, 1.0);
  const CDenseVector<double> b(2, 4.0);
  const CEuclideanMetric2<double> metric;
  const CLinearKernel<double> kernel;
  return metric.distance(a, b) == 18.0 && kernel.execute(a, b) == 8.0;
}
