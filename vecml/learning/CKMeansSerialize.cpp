// SPDX-License-Identifier: MIT
// k-means: the stream and archive forms.
#include <cstdint>
#include <string>
#include <utility>

#include "vecml/core/CArchiv.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/learning/CKMeans.h"
#include "vecml/learning/detail/InputDimensions.h"
#include "vecml/learning/detail/PrototypeRecord.h"

using vecml::detail::readValue;
using vecml::detail::writeValue;

template <typename T>
bool CKMeans<T>::consistentRecord(const CDataset<T>& centres, int clusters,
                                  int iterations) {
  return clusters >= 1 && iterations >= 0 &&
         (centres.items() == 0 || centres.items() == clusters) &&
         vecml::detail::allInputsOf(centres, centres.inputDimension());
}

template <typename T>
void CKMeans<T>::adopt(CDataset<T>&& centres, int clusters, int iterations,
                       std::uint64_t seed) {
  this->referenceVectors() = std::move(centres);
  clusterCount = clusters;
  iterationsRun = iterations;
  randomSeed = seed;
}

template <typename T>
bool CKMeans<T>::serialize(std::fstream& stream, IO_MODE mode) {
  if (mode != IO_READ) {
    vecml::detail::writePrototypeRecord(*this, stream);
    writeValue(stream, std::int32_t(clusterCount));
    writeValue(stream, std::int32_t(iterationsRun));
    writeValue(stream, randomSeed);
    return !stream.fail();
  }
  // Read into a scratch object, so a cut or inconsistent record changes
  // nothing here.
  CKMeans<T> loaded(1, new CMetric<T>());
  loaded.CClusterAlgorithm<T>::serialize(stream, mode);
  std::int32_t clusters = 0, iterations = 0;
  std::uint64_t seed = 0;
  if (!readValue(stream, clusters) || !readValue(stream, iterations) ||
      !readValue(stream, seed))
    return false;
  CDataset<T>& centres = loaded.referenceVectors();
  if (centres.getInfo().size() != std::size_t(centres.items()) ||
      !consistentRecord(centres, clusters, iterations))
    return false;
  adopt(std::move(centres), clusters, iterations, seed);
  return true;
}

template <typename T>
bool CKMeans<T>::serialize2(CArchiv& archive) {
  int clusters = clusterCount;
  int iterations = iterationsRun;
  unsigned long seed = randomSeed;
  if (!archive.isLoading()) {
    archive.write(clusters);
    archive.writeSeparator();
    archive.write(iterations);
    archive.writeSeparator();
    archive.write(seed);
    archive.writeSeparator();
    archive.write(this->referenceVectors());
    archive.writeSeparator();
    return true;
  }
  CDataset<T> centres;
  archive.read(clusters);
  archive.read(iterations);
  archive.read(seed);
  archive.read(centres);
  if (!consistentRecord(centres, clusters, iterations)) return false;
  adopt(std::move(centres), clusters, iterations, seed);
  return true;
}

// The class itself is instantiated with the rest of its members.
#define VECML_KMEANS_SERIALIZE_INSTANTIATE_(INSTANTIATE, T)                    \
  INSTANTIATE bool CKMeans<T>::consistentRecord(const CDataset<T>&, int, int); \
  INSTANTIATE void CKMeans<T>::adopt(CDataset<T>&&, int, int, std::uint64_t);  \
  INSTANTIATE bool CKMeans<T>::serialize(std::fstream&, IO_MODE);              \
  INSTANTIATE bool CKMeans<T>::serialize2(CArchiv&);
VECML_FOR_FLOATING_TYPES(VECML_KMEANS_SERIALIZE_INSTANTIATE_, template)
#undef VECML_KMEANS_SERIALIZE_INSTANTIATE_
