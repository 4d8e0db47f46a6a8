// SPDX-License-Identifier: MIT
// k-means clustering: k-means++ seeding, batch (Lloyd) and online training.
#ifndef VECML_LEARNING_CKMEANS_H
#define VECML_LEARNING_CKMEANS_H

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/learning/CClusterAlgorithm.h"
#include "vecml/learning/CLearnRate.h"

namespace vecml::detail {
class RandomSource;
}

/// k-means: a fixed number of centres (the prototypes of the base, dense
/// vectors), each the mean of the items it is nearest to.
///
/// Parameters: the number of clusters k (at least 1), the metric (owned;
/// default CEuclideanMetric) and the seed of the random source (default
/// kDefaultSeed). The metric decides which centre is nearest
/// (nearestNode(): lowest index on ties); the centre update is always the
/// arithmetic mean, which is what minimises the squared Euclidean distances.
///
/// Seeding (k-means++, seed()): a fresh generator seeded with seed() draws
///   1. the first centre: item index(n) of the data, uniformly;
///   2. each further centre: with w_j the square of the smallest metric
///      distance from a chosen centre to item j (in double; a NaN weight
///      counts as 0), r = uniform() * (sum of w_j in double, item order), and
///      the centre is the first item whose running sum of w_j exceeds r (the
///      last item of positive weight should rounding leave the sum at r);
///      when the sum is 0 or not finite, item index(n) instead.
///   Every call starts a fresh generator, so the same data and seed always
///   give the same centres.
///
/// Batch training (trainBatch(), also train()): seeds when there are no
/// centres, then runs at most \p epochs Lloyd iterations (none for
/// epochs <= 0): every item is
/// assigned to its nearest centre (assignments()), and every centre becomes
/// the mean of its items' inputs. A centre without items keeps its place.
/// Training stops early after the iteration whose assignment equals the one
/// before it (the centres then no longer move); iterations() counts the
/// iterations run, that last one included. The mean of a centre is summed in
/// double: the items are cut into B = min(64, max(1, n / kMeanBlock))
/// contiguous blocks (n the item count, / rounding down; block b holds the
/// items from b * n / B up to (b + 1) * n / B), each block summed in item
/// order, the block sums added in block order; the sum is
/// divided by the count in double and rounded to T once. The blocks depend
/// on n only, so the thread count changes no bit of the result.
///
/// Online training (trainOnline()): seeds when there are no centres, then
/// for each epoch visits the items in a random order (a Fisher-Yates shuffle:
/// for i = n - 1 down to 1, swap positions i and index(i + 1), drawn from
/// the call's fresh generator after any seeding draws) and moves the
/// nearest centre towards the item with the metric's adaptVec, the rate
/// being rate.rate(t) for the t-th visit of the call (t from 0).
///
/// Inputs that can be bad (an empty dataset, fewer items than clusters when
/// seeding, items of another dimension than the centres, centres of the
/// wrong count) make trainBatch(), trainOnline() and setCentres() return
/// false and leave the algorithm unchanged.
///
/// \code
///   CKMeans<float> kmeans(3);          // Euclidean metric, default seed
///   kmeans.trainBatch(data, 100);      // k-means++ seeding, then Lloyd
///   std::vector<int> clusters = kmeans.assignments(data);
///   float inertia = kmeans.inertia(data);
/// \endcode
template <typename T>
class VECML_API CKMeans : public CClusterAlgorithm<T> {
 public:
  /// The seed used when none is given.
  static constexpr std::uint64_t kDefaultSeed = 5489;
  /// Least items per block of the centre sums (see the class comment).
  static constexpr int kMeanBlock = 4096;

  /// k = \p clusters centres under \p metric (owned), seeded by \p seed; no
  /// centres yet. requires: clusters >= 1, metric not null.
  explicit CKMeans(int clusters, CMetric<T>* metric = new CEuclideanMetric<T>(),
                   std::uint64_t seed = kDefaultSeed);

  /// \return "CKMeans".
  std::string className() const override;
  /// \return true only for "CKMeans" (the most-derived name).
  bool isA(const char* name) const override;

  int clusters() const { return clusterCount; }
  std::uint64_t seed() const { return randomSeed; }
  void setSeed(std::uint64_t seed) { randomSeed = seed; }
  /// \return the Lloyd iterations the last trainBatch() ran (0 before any).
  int iterations() const { return iterationsRun; }

  /// Replaces the centres by dense copies of the inputs of \p centres.
  /// \return false (nothing changed) unless \p centres has clusters() items
  ///         whose inputs all have one dimension.
  bool setCentres(const CDataset<T>& centres);
  /// Replaces the centres by the k-means++ choice from \p data.
  /// \return false (nothing changed) when \p data has fewer than clusters()
  ///         items or inputs of different dimensions.
  bool seedCentres(const CDataset<T>& data);

  /// Batch (Lloyd) training; see the class comment.
  /// \return false (nothing changed) for bad input, as listed there.
  bool trainBatch(const CDataset<T>& data, int epochs);
  /// trainBatch() through the base's interface, ignoring its result.
  void train(const CDataset<T>& data, int epochs) override;
  /// Online training with \p rate; see the class comment.
  /// \return false (nothing changed) for bad input.
  bool trainOnline(const CDataset<T>& data, int epochs, CLearnRate<T>& rate);

  /// \return the sum over the items of the squared Euclidean distance from
  ///         the item's input to its assigned centre (assignments()), each
  ///         distance the centre's euclideanDistance(input, true) in T,
  ///         summed in double in item order and rounded to T; 0 for an
  ///         empty \p data; NaN while there are no centres.
  T inertia(const CDataset<T>& data) const;

  /// Stream form: the base's record (object header and centres; the
  /// centres' info text is neither stored nor changed), then clusters() and
  /// iterations() as 4-byte ints and seed() as 8 bytes, in host order.
  /// Reading checks the record (a positive cluster count, no centres or
  /// that many dense centres of one dimension, iterations >= 0) and replaces
  /// the state only when it is whole.
  /// \return true when the whole record was written or read and the stream
  ///         is good; false otherwise, the object then unchanged.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Archive form: clusters, iterations and seed (as unsigned long), then
  /// the centres as one whole object, each followed by a separator when
  /// storing. \return true; false (nothing changed) when a loaded record
  ///         fails the checks of the stream form.
  bool serialize2(CArchiv& archive) override;

 private:
  // True when every input of data has the dimension of the centres (or, with
  // no centres, of the first item).
  bool dimensionsFit(const CDataset<T>& data) const;
  bool seedIfEmpty(const CDataset<T>& data,
                   vecml::detail::RandomSource& random);
  void moveCentresToMeans(const CDataset<T>& data,
                          const std::vector<int>& nodes);
  // True when a loaded record can be taken: at least one cluster, no or
  // that many centres of one dimension, a count of iterations >= 0.
  static bool consistentRecord(const CDataset<T>& centres, int clusters,
                               int iterations);
  // Takes over a loaded record.
  void adopt(CDataset<T>&& centres, int clusters, int iterations,
             std::uint64_t seed);

  int clusterCount;
  std::uint64_t randomSeed;
  int iterationsRun = 0;
};

#define VECML_KMEANS_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CKMeans<T>;
VECML_FOR_FLOATING_TYPES(VECML_KMEANS_INSTANTIATIONS, extern template)

#endif
