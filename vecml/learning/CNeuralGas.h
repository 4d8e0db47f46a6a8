// SPDX-License-Identifier: MIT
// Neural gas: prototypes learned by rank-based soft competitive learning.
#ifndef VECML_LEARNING_CNEURALGAS_H
#define VECML_LEARNING_CNEURALGAS_H

#include <cstdint>
#include <fstream>
#include <string>

#include "vecml/core/CArchiv.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/detail/OnlineSettings.h"
#include "vecml/metric/CMetric.h"

/// Neural gas, instantiated for float and double: a set of prototypes that
/// every sample pulls towards itself, each by a step that shrinks with the
/// prototype's rank (0 for the nearest) among the distances to the sample.
///
/// Parameters: the number of prototypes (at least 1), the metric (owned;
/// default CEuclideanMetric) and the seed (default 1) of every random
/// choice. Step size eps and neighbourhood range lambda decay exponentially
/// over the whole of one train() call, from their start to their end value:
///   eps(t) = eps_i * (eps_f / eps_i)^(t / t_max),
///   lambda(t) = lambda_i * (lambda_f / lambda_i)^(t / t_max),
/// with t = 0 .. t_max the sample steps of the call (t_max = epochs *
/// items - 1; with a single step both stay at their start value), all in
/// double. Defaults: eps from 0.5 to 0.005, lambda from prototypes / 2 to
/// 0.01.
///
/// train(data, epochs), with a new RandomSource(seed) per call:
/// 1. when there are no prototypes yet, initialise(data) draws them from the
///    same source; if it fails, nothing happens;
/// 2. each epoch visits the items in the order of a fresh Fisher-Yates
///    permutation (for k = 0 .. n-2 swap entry k with entry k +
///    index(n - k));
/// 3. per sample x, the prototypes are ranked by distance(prototype, x)
///    (ties by lower index, NaN distances last), and the prototype of rank
///    r moves by metric->adaptVec(prototype, x, eta) with
///    eta = eps(t) * exp(-r / lambda(t)), computed in double and handed on
///    as the float adaptVec takes.
/// Calling train() twice repeats the same sample orders with fresh decays.
///
/// Each prototype is an item whose input is the prototype vector and whose
/// single output element (and id) is its number. assignments() and
/// quantisation errors come from the base (nearest prototype, lowest index
/// on ties).
///
/// Save/load: serialize() writes the base record with every prototype,
/// then the prototype count (4-byte int), the seed (8 bytes) and eps_i,
/// eps_f, lambda_i, lambda_f (8-byte doubles); reading restores all of it
/// or, on a cut or inconsistent record, returns false and leaves the object
/// as it was. serialize2() stores the same values, then the prototypes as
/// one object.
///
/// \code
///   CNeuralGas<float> gas(3);           // three prototypes, Euclidean, seed 1
///   gas.train(data, 20);                // 20 passes over the items
///   std::vector<int> nearest = gas.assignments(data);
/// \endcode
template <typename T>
class VECML_API CNeuralGas : public CClusterAlgorithm<T> {
 public:
  /// requires: \p prototypes >= 1 (else aborts with an ML_GEQ_CHK report);
  /// takes ownership of \p metric.
  explicit CNeuralGas(int prototypes,
                      CMetric<T>* metric = new CEuclideanMetric<T>(),
                      std::uint64_t seed = 1);

  /// \return "CNeuralGas".
  std::string className() const override;

  /// Sets the step size decay. requires: both positive and finite (else
  /// aborts with an ML_EQ_CHK report).
  void setStepSizes(double start, double end);
  /// Sets the neighbourhood range decay. requires: both positive and finite.
  void setRanges(double start, double end);

  /// \return the number of prototypes the gas learns.
  int prototypes() const { return settings.shape[0]; }
  std::uint64_t seed() const { return settings.seed; }
  /// \return eps(step) of a run of \p steps sample steps.
  double stepSizeAt(std::int64_t step, std::int64_t steps) const;
  /// \return lambda(step) of a run of \p steps sample steps.
  double rangeAt(std::int64_t step, std::int64_t steps) const;

  /// Replaces the prototypes by copies of the inputs of prototypes()
  /// distinct items: the first prototypes() entries of a Fisher-Yates
  /// shuffle of the item indices (entry k swapped with entry k +
  /// index(n - k)) drawn from a new RandomSource(seed()).
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

  vecml::detail::OnlineSettings settings;
};

#define VECML_NEURAL_GAS_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CNeuralGas<T>;
VECML_FOR_FLOATING_TYPES(VECML_NEURAL_GAS_INSTANTIATIONS, extern template)

#endif
