// SPDX-License-Identifier: MIT
// The stored forms of the online prototype learners: their settings next to
// the prototypes, in both serialization forms.
#ifndef VECML_LEARNING_DETAIL_ONLINERECORD_H
#define VECML_LEARNING_DETAIL_ONLINERECORD_H

#include <cstdint>
#include <fstream>
#include <string>

#include "vecml/core/CArchiv.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/detail/OnlineSettings.h"
#include "vecml/learning/detail/PrototypeRecord.h"

namespace vecml::detail {

/// Binary form, after the prototypes: each extent of the shape as a 4-byte
/// int, the seed as 8 bytes, then step size start and end and range start
/// and end as 8-byte doubles, host byte order.
inline void writeSettings(std::fstream& stream,
                          const OnlineSettings& settings) {
  for (std::int32_t extent : settings.shape) writeValue(stream, extent);
  writeValue(stream, settings.seed);
  writeValue(stream, settings.stepSize.start);
  writeValue(stream, settings.stepSize.end);
  writeValue(stream, settings.range.start);
  writeValue(stream, settings.range.end);
}

/// Reads what writeSettings() wrote into \p settings, whose shape already
/// has the expected number of extents. \return false when the stream ends
/// first (\p settings is then partly read).
inline bool readSettings(std::fstream& stream, OnlineSettings& settings) {
  for (std::int32_t& extent : settings.shape) {
    if (!readValue(stream, extent)) return false;
  }
  return readValue(stream, settings.seed) &&
         readValue(stream, settings.stepSize.start) &&
         readValue(stream, settings.stepSize.end) &&
         readValue(stream, settings.range.start) &&
         readValue(stream, settings.range.end);
}

/// The stream form of an online learner: writePrototypeRecord(), then
/// writeSettings().
/// Reading replaces the prototypes (the base's read would append), keeps
/// the info text and commits the prototypes and \p settings only when the
/// whole record arrived and fits; otherwise everything stays as it was.
/// Modes other than IO_READ and IO_WRITE do nothing.
/// \return true when the whole record was written or read and the stream
///         is good.
template <typename T>
bool serializeOnline(CClusterAlgorithm<T>& algorithm, OnlineSettings& settings,
                     std::fstream& stream, IO_MODE mode) {
  CDataset<T>& prototypes = algorithm.referenceVectors();
  const std::string info = prototypes.getInfo();
  if (mode == IO_WRITE) {
    writePrototypeRecord(algorithm, stream);
    writeSettings(stream, settings);
    return static_cast<bool>(stream);
  }
  if (mode != IO_READ) return false;
  const CDataset<T> kept(prototypes);
  prototypes.clear();
  algorithm.CClusterAlgorithm<T>::serialize(stream, IO_READ);
  prototypes.setInfo(info);
  OnlineSettings read = settings;
  if (stream && readSettings(stream, read) && read.valid() &&
      read.fits(prototypes)) {
    settings = read;
    return true;
  }
  prototypes = kept;
  return false;
}

/// The archive form: storing writes each extent (int), the seed (unsigned
/// long), the four decay values (double), each followed by a separator,
/// then the prototypes as one whole-object write and a separator. Loading
/// reads the same values in that order without separators and commits them
/// only when they are valid and fit each other.
/// \return true when stored, or loaded and committed.
template <typename T>
bool serializeOnline(CClusterAlgorithm<T>& algorithm, OnlineSettings& settings,
                     CArchiv& archive) {
  const bool loading = archive.isLoading();
  const auto transfer = [&](auto& value) {
    if (loading) {
      archive.read(value);
      return;
    }
    archive.write(value);
    archive.writeSeparator();
  };
  OnlineSettings values = settings;
  for (std::int32_t& extent : values.shape) {
    int value = extent;
    transfer(value);
    extent = value;
  }
  unsigned long seed = values.seed;
  transfer(seed);
  values.seed = seed;
  transfer(values.stepSize.start);
  transfer(values.stepSize.end);
  transfer(values.range.start);
  transfer(values.range.end);
  if (!loading) {
    archive.write(algorithm.referenceVectors());
    archive.writeSeparator();
    return true;
  }
  CDataset<T> prototypes;
  archive.read(prototypes);
  if (!values.valid() || !values.fits(prototypes)) return false;
  settings = values;
  algorithm.referenceVectors() = prototypes;
  return true;
}

}  // namespace vecml::detail

#endif
