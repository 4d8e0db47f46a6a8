// SPDX-License-Identifier: MIT
// Forward declarations of the library's class templates.
//
// Every public header includes this first, so that each class is first
// declared here with its export attribute: compilers take a template's
// visibility from its first declaration.
#ifndef VECML_CORE_FORWARD_H
#define VECML_CORE_FORWARD_H

#include "vecml/core/Export.h"

class VECML_API CArchiv;

template <typename T>
class VECML_API CObject;
template <typename T>
class VECML_API CVector;
template <typename T>
class VECML_API CDenseVector;
template <typename T>
class VECML_API CSparseVector;
template <typename T>
class VECML_API CVectorOperations;
template <typename T>
class VECML_API CMatrix;
template <typename T>
class VECML_API CDatasetItem;
template <typename T>
class VECML_API CDataset;
template <typename T>
class VECML_API CDatasetStatistic;
template <typename T>
class VECML_API CMetric;
template <typename T>
class VECML_API CKernel;
template <typename T>
class VECML_API CLearnRate;
template <typename T>
class VECML_API COptimizer;
template <typename T>
class VECML_API CProjection;
template <typename T>
class VECML_API CClusterAlgorithm;
template <typename T>
class VECML_API CPrincipalComponents;
template <typename T>
class VECML_API CLinearDiscriminant;

#endif
