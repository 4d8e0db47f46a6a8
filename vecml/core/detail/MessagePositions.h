// SPDX-License-Identifier: MIT
// The file names and line numbers that documented check reports print.
#ifndef VECML_CORE_DETAIL_MESSAGEPOSITIONS_H
#define VECML_CORE_DETAIL_MESSAGEPOSITIONS_H

namespace vecml::detail {

/// A file name and line number as a check report prints them.
struct MessagePosition {
  const char* file;
  int line;
};

// Each position below is part of the text of a documented message, not the
// place of the check in the source: it stays fixed however the code around
// the check moves. Checks whose report is not documented print their own
// __FILE_NAME__ and __LINE__ instead.

// CDenseVector<T>::operator[] index checks (const and non-const form).
inline constexpr MessagePosition kDenseConstIndexCheck{"CDenseVector.h", 168};
inline constexpr MessagePosition kDenseIndexCheck{"CDenseVector.h", 179};

// CSparseVector<T> assertions, in the order the members make them.
inline constexpr MessagePosition kSparseDimensionAssert{"CSparseVector.cpp",
                                                        65};
inline constexpr MessagePosition kSparseSizeAssert{"CSparseVector.cpp", 66};
inline constexpr MessagePosition kSparseValuesAssert{"CSparseVector.cpp", 67};
inline constexpr MessagePosition kSparsePositionsAssert{"CSparseVector.cpp",
                                                        68};
inline constexpr MessagePosition kSparseCopySourceAssert{"CSparseVector.cpp",
                                                         116};
inline constexpr MessagePosition kSparseIndexNotNegativeAssert{
    "CSparseVector.cpp", 139};
inline constexpr MessagePosition kSparseIndexBelowDimensionAssert{
    "CSparseVector.cpp", 140};
inline constexpr MessagePosition kSparseEntryBelowSizeAssert{
    "CSparseVector.cpp", 162};

// CDatasetItem<T>::serialize2: no vector could be produced for the stored
// input or output class name.
inline constexpr MessagePosition kItemInputProduction{"CDatasetItem.h", 345};
inline constexpr MessagePosition kItemOutputProduction{"CDatasetItem.h", 350};

// CDataset<T>::subset: more items asked for than the dataset holds.
inline constexpr MessagePosition kSubsetCountCheck{"CDataset.h", 1314};

// CMultiVariateGaussianKernel<T>::execute: operand dimension against the
// bandwidth vector, for the forms with a vector argument and the array form.
inline constexpr MessagePosition kKernelVectorDimensionCheck{"CKernel.cpp",
                                                             538};
inline constexpr MessagePosition kKernelArrayDimensionCheck{"CKernel.cpp", 548};

// factrl and factln: negative argument.
inline constexpr MessagePosition kFactorialArgumentCheck{"Macros.cpp", 77};
inline constexpr MessagePosition kLogFactorialArgumentCheck{"Macros.cpp", 88};

}  // namespace vecml::detail

#endif
