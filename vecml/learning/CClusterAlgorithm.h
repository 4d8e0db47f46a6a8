// SPDX-License-Identifier: MIT
// Cluster algorithm base: reference vectors (prototypes), the metric that
// compares them with samples, nearest-prototype search and the quantisation
// error.
#ifndef VECML_LEARNING_CCLUSTERALGORITHM_H
#define VECML_LEARNING_CCLUSTERALGORITHM_H

#include <fstream>
#include <vector>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CVector.h"

/// Abstract base of prototype-based clustering algorithms, instantiated for
/// float and double.
///
/// The prototypes are the input vectors of an embedded dataset (capacity
/// 1000, grow size 1000) that derived algorithms fill and move through
/// referenceVectors(). The algorithm owns its metric: it deletes it in its
/// destructor and when setMetric() replaces it. Algorithms are not copyable,
/// since a metric cannot be duplicated; getReferenceVectors() copies the
/// prototypes out.
///
/// Every distance is metric->distance(prototype, sample), prototype first.
/// Searches keep the lowest index on ties, and a NaN distance never replaces
/// the running best one.
///
/// The base does not override className() or isA(): they answer "CObject"
/// until a derived algorithm names itself.
///
/// \code
///   // MyQuantiser derives from CClusterAlgorithm<float> and defines train().
///   MyQuantiser quantiser(new CEuclideanMetric<float>());
///   quantiser.referenceVectors().appendItem(data.getRandomItem());
///   quantiser.train(data, 10);
///   float error = quantiser.rmse(data);
///   std::vector<int> winners = quantiser.assignments(data);
/// \endcode
template <typename T>
class VECML_API CClusterAlgorithm : public CObject<T> {
 public:
  /// Takes ownership of \p metric; the reference dataset starts empty.
  /// requires: \p metric is not null before any search or rmse().
  explicit CClusterAlgorithm(CMetric<T>* metric);
  /// Deletes the metric.
  ~CClusterAlgorithm() override;

  CClusterAlgorithm(const CClusterAlgorithm<T>&) = delete;
  CClusterAlgorithm<T>& operator=(const CClusterAlgorithm<T>&) = delete;

  /// Writes (IO_WRITE) or reads (any other mode) the reference dataset with
  /// CDataset::serialize(stream, mode), handing \p mode on unchanged (so a
  /// mode other than IO_READ and IO_WRITE makes the dataset write). The
  /// dataset's serialize always reports false, so the stored form of an
  /// algorithm ends after its reference dataset: the metric is neither
  /// written nor read, and after reading the algorithm keeps the metric it
  /// had. Reading appends the stored prototypes to those already present
  /// and replaces the dataset's info text by the stored one.
  /// requires for writing: the reference dataset holds at least as many
  /// items as its info text has characters (4 for the default "none").
  /// \return false, always, after the dataset's part.
  bool serialize(std::fstream& stream, IO_MODE mode) override;

  /// Deletes the current metric (if any) and takes ownership of \p metric.
  /// Passing the metric already held changes nothing.
  void setMetric(CMetric<T>* metric);
  /// \return the owned metric (still owned by the algorithm).
  CMetric<T>* metric() { return distanceMetric; }
  const CMetric<T>* metric() const { return distanceMetric; }

  /// \return the embedded dataset whose input vectors are the prototypes.
  CDataset<T>& referenceVectors() { return references; }
  const CDataset<T>& referenceVectors() const { return references; }
  /// \return a copy of the reference dataset.
  CDataset<T> getReferenceVectors() const { return references; }

  /// \return the index of the prototype closest to \p x; 0 without a second
  ///         metric call when there is one prototype. requires: at least
  ///         one prototype (with none, -1 and the metric is not called).
  int nearestNode(const CVector<T>& x) const;
  /// \return the smallest distance from a prototype to \p x. requires: at
  ///         least one prototype (with none, NaN and the metric is not
  ///         called).
  T nearestNodeDistance(const CVector<T>& x) const;
  /// \return sqrt((sum of m^2 over the items of \p data) / items()), with
  ///         m the item input's nearestNodeDistance(), all in T: the root mean
  ///         square quantisation error under a rooted metric (a squared
  ///         metric's distances are squared again). An empty \p data gives
  ///         0/0, i.e. NaN. requires: at least one prototype (with none,
  ///         NaN).
  T rmse(const CDataset<T>& data) const;
  /// \return nearestNode() of every item's input vector of \p data, in item
  ///         order; empty for an empty \p data. Long datasets are split into
  ///         contiguous ranges of items over the library's threads; each
  ///         item is still searched by nearestNode(), so the result is the
  ///         same for every thread count. requires: at least one prototype
  ///         (with none, every entry is -1).
  std::vector<int> assignments(const CDataset<T>& data) const;
  /// \return the mean over the items of \p data of m^2, m being the item
  ///         input's nearestNodeDistance(): each m is squared in double, the
  ///         squares are summed in double in item order, the sum is divided
  ///         by items() in double and the quotient converted to T. As in
  ///         rmse(), a squared metric's distances are squared again. An
  ///         empty \p data gives NaN (0/0), as rmse() does; with no
  ///         prototype the result is NaN. The distances are found on the
  ///         library's threads, the sum is serial, so every thread count
  ///         gives the same bits.
  T quantizationError(const CDataset<T>& data) const;

  /// The training step every concrete algorithm supplies: runs \p epochs
  /// passes over \p data, moving the prototypes (for instance with the
  /// metric's adaptVec per sample, or by recomputing each prototype as the
  /// mean of the items it wins). Everything else an algorithm needs (a
  /// learning-rate schedule, how the prototypes are initialised) is its own
  /// state, so callers can drive any algorithm through this base.
  virtual void train(const CDataset<T>& data, int epochs) = 0;

 private:
  CDataset<T> references;
  CMetric<T>* distanceMetric;
};

#define VECML_CLUSTER_ALGORITHM_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CClusterAlgorithm<T>;
VECML_FOR_FLOATING_TYPES(VECML_CLUSTER_ALGORITHM_INSTANTIATIONS,
                         extern template)

#endif
