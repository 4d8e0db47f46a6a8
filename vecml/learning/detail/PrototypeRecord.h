// SPDX-License-Identifier: MIT
// Writing the stream record of a cluster algorithm's prototypes, which every
// algorithm's stream form begins with.
#ifndef VECML_LEARNING_DETAIL_PROTOTYPERECORD_H
#define VECML_LEARNING_DETAIL_PROTOTYPERECORD_H

#include <fstream>
#include <string>

#include "vecml/core/Types.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/learning/CClusterAlgorithm.h"

namespace vecml::detail {

/// Writes the cluster algorithm's record (object header and reference
/// dataset) with CClusterAlgorithm<T>::serialize. A dataset's record holds
/// as many items as its info text has characters, so while writing the info
/// text is one '#' per prototype; the algorithm's own info text is put back
/// afterwards and is not stored. The base reports false by design once its
/// dataset is written: the stream's state tells whether writing worked.
template <typename T>
void writePrototypeRecord(CClusterAlgorithm<T>& algorithm,
                          std::fstream& stream) {
  CDataset<T>& prototypes = algorithm.referenceVectors();
  const std::string info = prototypes.getInfo();
  prototypes.setInfo(std::string(std::size_t(prototypes.items()), '#'));
  algorithm.CClusterAlgorithm<T>::serialize(stream, IO_WRITE);
  prototypes.setInfo(info);
}

}  // namespace vecml::detail

#endif
