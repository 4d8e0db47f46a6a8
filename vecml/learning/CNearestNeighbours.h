// SPDX-License-Identifier: MIT
// k-nearest-neighbour classification and regression over a dataset.
#ifndef VECML_LEARNING_CNEARESTNEIGHBOURS_H
#define VECML_LEARNING_CNEARESTNEIGHBOURS_H

#include <string>
#include <vector>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

/// k-nearest-neighbour classifier and regressor, instantiated for float and
/// double.
///
/// train() copies the samples, so the caller may change or drop its
/// dataset afterwards. The metric is borrowed, not owned: the caller keeps
/// it alive while the object uses it. The distance of item i to a query is
/// metric.distance(input of item i, query); leaveOneOut*() call it from
/// several threads at once, so the metric must not change state in it (none
/// of the library's metrics does).
///
/// Neighbours of a query: the min(k, candidates) items of smallest
/// distance, nearest first; at equal distance the lower item index comes
/// first, and NaN distances rank after every number.
///
/// Classification: the label of an item is its last output element rounded
/// to the nearest integer, halves away from zero (std::round, kept in T), as
/// CCsvFile puts a label column last. classify() returns the label most
/// frequent among the neighbours; of labels with equally many votes, the one
/// whose nearest member is nearest wins (for k = 1, the nearest item's
/// label). Regression: regress() returns the mean of the neighbours' output
/// vectors, summed in T nearest first and divided by their number.
///
/// Leave-one-out: every item is predicted from all other items (exactly the
/// item itself is left out, also when others are equal to it), with the
/// items spread over threads; the result is the same for every thread count.
/// Accuracy is the number of items whose label is predicted, divided by
/// items(); the mean squared error is the sum over items and output elements
/// of the squared differences (formed in double from the T values, summed in
/// item order) divided by items() * output dimension.
///
/// Bad input: k < 1 and queries before a successful train() or of another
/// dimension than the samples' inputs are programming errors and abort with
/// a check report. Samples that cannot be used (see train()) and too few
/// items for leave-one-out are reported by a false result.
///
/// The serialization forms are those of CObject (nothing is stored).
///
/// \code
///   CEuclideanMetric<double> metric;
///   CNearestNeighbours<double> knn(metric, 5);
///   if (knn.train(data)) {
///     double label = knn.classify(query);
///     double accuracy;
///     if (knn.leaveOneOutAccuracy(accuracy)) std::cout << accuracy << '\n';
///   }
/// \endcode
template <typename T>
class VECML_API CNearestNeighbours : public CObject<T> {
 public:
  /// Borrows \p metric; \p k neighbours.
  /// requires: k >= 1 (else aborts with an ML_GEQ_CHK report).
  explicit CNearestNeighbours(const CMetric<T>& metric, int k = 1);
  ~CNearestNeighbours() override;

  /// \return "CNearestNeighbours".
  std::string className() const override;
  /// requires: \p name is not null.
  /// \return true exactly when \p name equals className().
  bool isA(const char* name) const override;

  /// Copies \p samples as the neighbours to search.
  /// \return false, keeping the previous samples, when \p samples is empty,
  ///         an item lacks a vector, the items' input or output dimensions
  ///         differ, the inputs or outputs have dimension 0, or an output
  ///         element is not finite.
  bool train(const CDataset<T>& samples);
  /// \return the samples of the last successful train() (empty before).
  const CDataset<T>& samples() const { return sampleSet; }

  /// requires: k >= 1 (else aborts with an ML_GEQ_CHK report).
  void setK(int k);
  int k() const { return neighbourCount; }
  /// Borrows \p metric instead of the current one.
  void setMetric(const CMetric<T>& metric) { distanceMetric = &metric; }
  const CMetric<T>& metric() const { return *distanceMetric; }

  /// requires for the three queries: a successful train() and
  /// query.dimension() equal to the samples' input dimension (else aborts
  /// with an ML_GEQ_CHK or ML_EQ_CHK report).
  /// \return the indices of the neighbours of \p query, nearest first.
  std::vector<int> neighbours(const CVector<T>& query) const;
  /// \return the label voted by the neighbours of \p query.
  T classify(const CVector<T>& query) const;
  /// \return the mean output vector of the neighbours of \p query.
  CDenseVector<T> regress(const CVector<T>& query) const;

  /// \param accuracy set to the leave-one-out accuracy of classify().
  /// \return false (\p accuracy unchanged) unless items() > k.
  bool leaveOneOutAccuracy(double& accuracy) const;
  /// \param meanSquaredError set to the leave-one-out mean squared error of
  ///        regress().
  /// \return false (\p meanSquaredError unchanged) unless items() > k.
  bool leaveOneOutError(double& meanSquaredError) const;

 private:
  // Neighbours of \p query among all items but \p excluded (-1: none).
  std::vector<int> nearest(const CVector<T>& query, int excluded) const;
  T vote(const std::vector<int>& neighbourIds) const;
  CDenseVector<T> meanOutput(const std::vector<int>& neighbourIds) const;
  void requireQuery(const CVector<T>& query) const;
  // Runs score(i) for every item over the library's threads; \return the
  // sum of the scores in item order.
  template <typename Score>
  double sumOverItems(Score score) const;

  const CMetric<T>* distanceMetric;
  int neighbourCount;
  CDataset<T> sampleSet;
  std::vector<T> labels;
};

#define VECML_NEAREST_NEIGHBOURS_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CNearestNeighbours<T>;
VECML_FOR_FLOATING_TYPES(VECML_NEAREST_NEIGHBOURS_INSTANTIATIONS,
                         extern template)

#endif
