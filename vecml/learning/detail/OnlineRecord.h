// SPDX-License-Identifier: MIT
// The settings of the online prototype learners (map shape, seed, decaying
// step size and neighbourhood range) and their stored forms next to the
// prototypes, in both serialization forms.
#ifndef VECML_LEARNING_DETAIL_ONLINERECORD_H
#define VECML_LEARNING_DETAIL_ONLINERECORD_H

#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "vecml/core/CArchiv.h"
#include "vecml/core/Macros.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/detail/PrototypeRecord.h"

namespace vecml::detail {

/// A value that decays exponentially from start to end over a run of
/// sample steps.
struct Decay {
  double start;
  double end;

  /// start * (end / start)^(step / (steps - 1)), all in double: start at
  /// step 0, end at step steps - 1. With one step or none, start.
  double at(std::int64_t step, std::int64_t steps) const {
    if (steps <= 1) return start;
    const double exponent =
        static_cast<double>(step) / static_cast<double>(steps - 1);
    return start * std::pow(end / start, exponent);
  }
};

/// \return the decay from \p start to \p end. Aborts with an ML_EQ_CHK
///         report unless both are positive and finite (NaN and infinities
///         are refused too).
inline Decay checkedDecay(double start, double end) {
  const bool startPositiveAndFinite = std::isfinite(start) && start > 0.0;
  ML_EQ_CHK(startPositiveAndFinite, true);
  const bool endPositiveAndFinite = std::isfinite(end) && end > 0.0;
  ML_EQ_CHK(endPositiveAndFinite, true);
  return {start, end};
}

/// What an online learner stores besides its prototypes.
struct OnlineSettings {
  /// The prototype layout: {count} for a gas, {rows, columns} for a map.
  std::vector<std::int32_t> shape;
  std::uint64_t seed;
  Decay stepSize;
  Decay range;

  /// The number of prototypes the shape describes (the product).
  std::int64_t units() const {
    std::int64_t product = 1;
    for (std::int32_t extent : shape) product *= extent;
    return product;
  }

  /// True when every extent is at least 1, the units fit an int, and every
  /// decay value is positive and finite.
  bool valid() const {
    for (std::int32_t extent : shape) {
      if (extent < 1) return false;
    }
    const auto positiveFinite = [](double v) {
      return std::isfinite(v) && v > 0.0;
    };
    return units() <= std::numeric_limits<int>::max() &&
           positiveFinite(stepSize.start) && positiveFinite(stepSize.end) &&
           positiveFinite(range.start) && positiveFinite(range.end);
  }

  /// True when \p prototypes fit these settings: none (not trained yet), or
  /// units() of them with one input dimension.
  template <typename T>
  bool fits(const CDataset<T>& prototypes) const {
    if (prototypes.items() == 0) return true;
    if (prototypes.items() != units()) return false;
    const int dimension = prototypes.inputDimension();
    for (int i = 1; i < prototypes.items(); ++i) {
      if (prototypes.item(i).inputVector()->dimension() != dimension)
        return false;
    }
    return true;
  }
};

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
