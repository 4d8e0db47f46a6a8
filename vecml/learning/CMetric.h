// SPDX-License-Identifier: MIT
// Deprecated include path, kept for one minor version: include
// "vecml/metric/CMetric.h" instead.
#ifndef VECML_LEARNING_CMETRIC_H
#define VECML_LEARNING_CMETRIC_H

#include "vecml/metric/CMetric.h"

#endif
