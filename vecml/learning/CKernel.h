// SPDX-License-Identifier: MIT
// Deprecated include path, kept for one minor version: include
// "vecml/kernel/CKernel.h" instead.
#ifndef VECML_LEARNING_CKERNEL_H
#define VECML_LEARNING_CKERNEL_H

#include "vecml/kernel/CKernel.h"

#endif
