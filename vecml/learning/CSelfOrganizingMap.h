// SPDX-License-Identifier: MIT
// Self-organising map: prototypes on a rectangular grid of units, trained so
// that neighbouring units learn neighbouring prototypes.
#ifndef VECML_LEARNING_CSELFORGANIZINGMAP_H
#define VECML_LEARNING_CSELFORGANIZINGMAP_H

#include <cstdint>
#include <fstream>
#include <string>
#include <utility>

#include "vecml/core/CArchiv.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/detail/OnlineSettings.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CVector.h"

/// Self-organising map, instantiated for float and double: rows x columns
/// units on a rectangular grid, each with a prototype. The prototype of the
/// unit in row r and column c is prototype r * columns + c (its unit
/// index); unitRow() and unitColumn() map back.
///
/// Parameters: rows and columns (each at least 1), the metric (owned;
/// default CEuclideanMetric) that picks the best-matching unit, and the
/// seed (default 1) of every random choice. Learning rate alpha and radius
/// sigma decay exponentially over the whole of one train() call:
///   alpha(t) = alpha_i * (alpha_f / alpha_i)^(t / t_max), sigma likewise,
/// with t = 0 .. t_max the sample steps of the call (t_max = epochs *
/// items - 1; with a single step both stay at their start value), in
/// double. Defaults: alpha from 0.5 to 0.01, sigma from max(rows,
/// columns) / 2 to 0.5.
///
/// train(data, epochs), with a new RandomSource(seed) per call:
/// 1. when there are no prototypes yet, initialise(data) draws them from
///    the same source (copies of units() distinct random items); if the
///    data have fewer items, nothing happens;
/// 2. each epoch visits the items in the order of a fresh Fisher-Yates
///    permutation;
/// 3. per sample x, the best-matching unit b = nearestNode(x) (lowest index
///    on ties), and every unit u moves by metric->adaptVec(prototype u, x,
///    eta) with eta = alpha(t) * exp(-g^2 / (2 sigma(t)^2)), g the Euclidean
///    distance of u and b on the grid, in double, handed on as float.
///
/// topographicError(data) is the fraction of items whose best and
/// second-best units are not 4-neighbours on the grid (adjacent():
/// one row or one column apart, not diagonal).
///
/// Save/load: serialize() writes the base record with every prototype,
/// then rows and columns (4-byte ints), the seed (8 bytes) and alpha_i,
/// alpha_f, sigma_i, sigma_f (8-byte doubles); reading restores all of it
/// or, on a cut or inconsistent record, returns false and leaves the map as
/// it was. serialize2() stores the same values, then the prototypes as one
/// object.
///
/// \code
///   CSelfOrganizingMap<float> map(8, 8);   // 64 units, Euclidean, seed 1
///   map.train(data, 50);
///   float error = map.topographicError(data);
///   int unit = map.nearestNode(*data[0].inputVector());
///   int row = map.unitRow(unit), column = map.unitColumn(unit);
/// \endcode
template <typename T>
class VECML_API CSelfOrganizingMap : public CClusterAlgorithm<T> {
 public:
  /// requires: rows >= 1, columns >= 1 (else aborts with an ML_GEQ_CHK
  /// report) and rows * columns fits an int (ML_LEQ_CHK); takes ownership
  /// of \p metric.
  CSelfOrganizingMap(int rows, int columns,
                     CMetric<T>* metric = new CEuclideanMetric<T>(),
                     std::uint64_t seed = 1);

  /// \return "CSelfOrganizingMap".
  std::string className() const override;

  /// Sets the learning rate decay. requires: both positive and finite (else
  /// aborts with an ML_EQ_CHK report).
  void setLearningRates(double start, double end);
  /// Sets the radius decay. requires: both positive and finite.
  void setRadii(double start, double end);

  int rows() const { return settings.shape[0]; }
  int columns() const { return settings.shape[1]; }
  /// \return rows() * columns().
  int units() const { return rows() * columns(); }
  std::uint64_t seed() const { return settings.seed; }
  /// \return alpha(step) of a run of \p steps sample steps.
  double learningRateAt(std::int64_t step, std::int64_t steps) const;
  /// \return sigma(step) of a run of \p steps sample steps.
  double radiusAt(std::int64_t step, std::int64_t steps) const;

  /// \return row * columns() + column. requires: 0 <= row < rows() and
  ///         0 <= column < columns() (else aborts with an ML_GEQ_CHK or
  ///         ML_LS_CHK report).
  int unitIndex(int row, int column) const;
  /// \return the grid row of \p unit. requires: 0 <= unit < units().
  int unitRow(int unit) const;
  /// \return the grid column of \p unit. requires: 0 <= unit < units().
  int unitColumn(int unit) const;
  /// \return the Euclidean distance of units \p a and \p b on the grid.
  double gridDistance(int a, int b) const;
  /// \return true when units \p a and \p b are 4-neighbours (grid distance
  ///         exactly 1).
  bool adjacent(int a, int b) const;

  /// \return the best-matching and the second-best unit for \p x under the
  ///         metric, lower index first among equal distances, NaN
  ///         distances never ahead of a number; the second is -1 on a
  ///         one-unit map. requires: the map has its prototypes.
  std::pair<int, int> bestTwoUnits(const CVector<T>& x) const;
  /// \return (number of items whose bestTwoUnits() are not adjacent) /
  ///         items(), in T: 0 on a one-unit map, NaN for empty data.
  ///         requires: the map has its prototypes.
  T topographicError(const CDataset<T>& data) const;

  /// Replaces the prototypes by copies of the inputs of units() distinct
  /// items: the first units() entries of a Fisher-Yates shuffle of the item
  /// indices (entry k swapped with entry k + index(n - k)) drawn from a new
  /// RandomSource(seed()); unit k gets the k-th.
  /// \return false (prototypes unchanged) when \p data has fewer items.
  bool initialise(const CDataset<T>& data);

  /// Runs \p epochs passes over \p data (see the class comment). Does
  /// nothing for epochs <= 0 or when there are no prototypes and the data
  /// have too few items to draw them.
  void train(const CDataset<T>& data, int epochs) override;

  bool serialize(std::fstream& stream, IO_MODE mode) override;
  bool serialize2(CArchiv& archive) override;

 private:
  // Moves every prototype towards `sample` at sample step `step` of
  // `steps`.
  void adapt(const CVector<T>& sample, std::int64_t step, std::int64_t steps);
  // Squared grid distance of units a and b.
  double squaredGridDistance(int a, int b) const;

  vecml::detail::OnlineSettings settings;
};

#define VECML_SELF_ORGANIZING_MAP_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CSelfOrganizingMap<T>;
VECML_FOR_FLOATING_TYPES(VECML_SELF_ORGANIZING_MAP_INSTANTIATIONS,
                         extern template)

#endif
