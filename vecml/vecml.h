// SPDX-License-Identifier: MIT
// Umbrella header: includes every public header of vecml.
#ifndef VECML_VECML_H
#define VECML_VECML_H

#include "vecml/core/CArchiv.h"
#include "vecml/core/CException.h"
#include "vecml/core/CObject.h"
#include "vecml/core/CObjectFactory.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/Macros.h"
#include "vecml/core/NumericalHelpers.h"
#include "vecml/core/Threads.h"
#include "vecml/core/Types.h"
#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetAlgorithm.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/kernel/CKernel.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/CLearnRate.h"
#include "vecml/learning/CNeuralGas.h"
#include "vecml/learning/COptimizer.h"
#include "vecml/learning/CProjection.h"
#include "vecml/learning/CSelfOrganizingMap.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/metric/CMetric.h"
#include "vecml/stream/gzstream.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"
#include "vecml/vector/CVector.h"
#include "vecml/vector/CVectorOperations.h"
#include "vecml/version.h"

#endif
