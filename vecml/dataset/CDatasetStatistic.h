// SPDX-License-Identifier: MIT
// Descriptive statistics over the input vectors of a dataset: per-feature
// tables, covariance, autocorrelation, rank correlation and class scatter.
#ifndef VECML_DATASET_CDATASETSTATISTIC_H
#define VECML_DATASET_CDATASETSTATISTIC_H

#include <string>
#include <utility>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

/// Statistics over the input vectors of a dataset that the object points to
/// but does not own (the dataset must outlive every call). Instantiated for
/// float and double.
///
/// d is the input dimension of the first item, n the number of items.
/// requires for every member: every input vector has at least d elements.
/// Inputs are read through their checked operator[], so a shorter input
/// aborts with its vector's index report (ML_LS_CHK from CDenseVector.h)
/// instead of being read past its end. Inputs may be dense or sparse.
///
/// An empty dataset is a caller error for minElements(), maxElements(), the
/// covariance and the class scatter, which are defined on the first item;
/// they stay memory-safe and give empty results: vectors of dimension 0 and
/// 0 x 0 matrices. Without an attached dataset every member that uses the
/// stored one behaves as for an empty dataset.
///
/// The d x d results (covariance, autocorrelation, class scatter) throw
/// std::bad_array_new_length when d * d exceeds the int range, as CMatrix
/// does for such a shape.
///
/// Console output (dumpStatistic, the progress of spearman and of the class
/// discovery in getSW/getSB, and getLDA) goes to standard output.
///
/// \code
///   CDatasetStatistic<float> statistic(&data);
///   statistic.dumpStatistic();
///   CMatrix<float> covariance = statistic.covarianceMatrix(data);
/// \endcode
template <typename T>
class VECML_API CDatasetStatistic : public CObject<T> {
 public:
  /// An item or pair number and its input-space distance.
  using InputSpaceEntry = std::pair<int, T>;
  /// An item or pair number, its map-space distance (first) and a value that
  /// the order ignores (second).
  using MapSpaceEntry = std::pair<int, std::pair<T, T>>;

  /// No dataset attached.
  CDatasetStatistic();
  /// Attaches \p data (not owned).
  explicit CDatasetStatistic(CDataset<T>* data);
  ~CDatasetStatistic() override;

  /// \return "CDatasetStatistic".
  std::string className() const override;

  /// Attaches \p data (not owned), replacing the previous dataset.
  void setData(CDataset<T>* data) { dataset = data; }
  CDataset<T>* getData() const { return dataset; }

  /// \return d, the input dimension of the stored dataset's first item;
  ///         0 when it has no items.
  int inputDimension() const;

  /// Running average of the inputs of \p data (not the stored dataset):
  /// for the k-th item, mean = mean * (1 - 1/k) + input * (1/k), with
  /// 1 - 1/k formed in double and narrowed to T, 1/k and the count in T.
  /// \return a vector of dimension d; dimension 0 for an empty dataset.
  CDenseVector<T> mean(const CDataset<T>& data) const;
  /// As mean(data) over the items whose output element 0 equals \p label
  /// exactly; the zero vector of dimension d when no item does.
  /// requires: every output vector has an element 0 (an empty dense output
  /// aborts with its index report).
  CDenseVector<T> mean(const CDataset<T>& data, T label) const;

  /// \return the element-wise largest input (the first item's input
  ///         combined with every item's through std::max).
  ///         requires: a non-empty dataset (else an empty vector).
  CDenseVector<T> maxElements() const;
  /// \return the element-wise smallest input, as maxElements().
  CDenseVector<T> minElements() const;

  /// Per-feature statistics over all items: \p mean = (sum of inputs) / n
  /// (division in T); \p variance = (sum of squared deviations) times
  /// 1 / (n - 1), the factor and the product formed in double and the
  /// product narrowed to T (the sample variance); \p stdDev its square root.
  /// All three are resized to d. With n = 1 the factor is infinite and the
  /// variance NaN; an empty dataset gives empty vectors.
  void statistic(CDenseVector<T>& mean, CDenseVector<T>& stdDev,
                 CDenseVector<T>& variance) const;
  /// The same over the k items whose output vector equals \p output (vector
  /// equality), with the population variance: mean = (sum of inputs) / k
  /// and variance = (sum of squared deviations) * (1 / k), all in T. With
  /// no matching item the three vectors hold NaN.
  void statistic(const CDenseVector<T>& output, CDenseVector<T>& mean,
                 CDenseVector<T>& stdDev, CDenseVector<T>& variance) const;

  /// Prints the item count, the input and output dimensions (no output line
  /// for an empty dataset) and one table row per feature with min, max,
  /// mean, standard deviation and variance of statistic(), through printf.
  void dumpStatistic() const;

  /// Covariance (divisor n) of the inputs of \p data as a running average
  /// around m = mean(data): for the k-th item x, with c = x - m,
  /// C(i, j) = C(i, j) * (1 - 1/k) + (c[i] * c[j]) * (1/k), where c and the
  /// product c[i] * c[j] are formed in T, the weights 1 - 1/k and 1/k and
  /// the rest in double, and the result is narrowed to T.
  /// \return a d x d matrix; 0 x 0 for an empty dataset.
  CMatrix<T> covarianceMatrix(const CDataset<T>& data) const;
  /// As covarianceMatrix(data) over the items whose output element 0 equals
  /// \p label, around mean(data, label); zeros when no item does.
  CMatrix<T> covarianceMatrix(const CDataset<T>& data, T label) const;

  /// \return the d x d matrix of the sums of x[i] * x[j] over all items (no
  ///         centring, products and sums in T), divided by n.
  CMatrix<T> getAutoCorrelation() const;

  /// Spearman rank correlation between the distances of all ordered pairs
  /// of the first \p count items in input space (\p inputMetric on their
  /// inputs) and in map space: output element 0 of an item, truncated to an
  /// int, names the item of \p mapData that represents it, and the pair's
  /// map distance is \p mapMetric's between the representatives' inputs,
  /// narrowed to T. Prints "looking at %5d\n" and ESC "[A" for every item
  /// number divisible by 100, then an empty line.
  ///
  /// Both rankings follow the non-strict comparators below: ascending
  /// distance, and among equal distances the later pair first, so ties
  /// are all kept (NaN distances rank last). Pairs take their input rank
  /// from their position in the input ranking counted from 0, while the
  /// walk over the map ranking counts positions from 1; S, the sum of the
  /// squared differences, is formed in double, and the result is
  /// 1 - 6 S / (N^3 - N) with N = count * (count - 1) pairs, narrowed to T.
  /// Because of the two origins a perfectly kept order gives
  /// 1 - 6 / (N^2 - 1), not 1; with fewer than two items the result is NaN.
  ///
  /// requires: 0 <= count <= items() (other counts are clamped to that
  /// range); each representative lies in 0 .. mapData.items() - 1, else
  /// ML_GEQ_CHK / ML_LS_CHK reports "representative" and aborts.
  T spearman(int count, const CDataset<double>& mapData,
             const CMetric<double>& mapMetric,
             const CMetric<T>& inputMetric) const;

  /// Neighbourhood ranking of the first \p count items in input space.
  /// \return a new dataset owned by the caller (capacity \p count, grow
  ///         size 1000) with one item per ranked item i, id i: its input
  ///         holds the other count - 1 item numbers, nearest first (ties:
  ///         the higher item number first), its output their distances
  ///         metric.distance(input i, input j) in the same order.
  ///         requires: 0 <= count <= items() (clamped otherwise).
  CDataset<T>* rankInputSpace(int count, const CMetric<T>& metric) const;
  /// As rankInputSpace() with the distances measured between the items'
  /// representatives in \p mapData by \p mapMetric (see spearman),
  /// narrowed to T. requires: as for spearman.
  CDataset<T>* rankMapSpace(int count, const CDataset<double>& mapData,
                            const CMetric<double>& mapMetric) const;

  /// The input-space order: a precedes b when a's distance <= b's. It is
  /// deliberately not strict, so no ordered container may be given it; the
  /// rankings instead place each new entry before the first entry it
  /// precedes.
  static bool compareInputSpace(const InputSpaceEntry& a,
                                const InputSpaceEntry& b) {
    return a.second <= b.second;
  }
  /// The map-space order: non-strict ascending on the map distance
  /// (second.first), as compareInputSpace; second.second is ignored.
  static bool compareMapSpace(const MapSpaceEntry& a, const MapSpaceEntry& b) {
    return a.second.first <= b.second.first;
  }

  /// Within-class scatter: after the class discovery (see below), the sum
  /// over classes c and their items x of (x[j] - m_c[j]) * (x[i] - m_c[i]),
  /// accumulated into (i, j) with one std::fma per item in T; no division
  /// by counts.
  ///
  /// Class discovery prints "start", "get mean", then for every item i >= 1
  /// "working on item <i>" and, for each known class c tried in order of
  /// first appearance, "checking against class <c> of <C>", and
  /// "insert new " when no class output equals the item's output vector;
  /// then "info", "FOUND <C> classes" and per class "Elements: <count>"
  /// followed by the class mean's dump(). A class is its whole output
  /// vector; m_c = class sum / count, m = sum of all inputs / n (in T).
  /// \return d x d; 0 x 0 (after reporting 0 classes) for an empty dataset.
  CMatrix<T> getSW() const;
  /// Between-class scatter: for each class c in order and all (i, j),
  /// R(i, j) = fma(m_c[i] - m[i], m_c[j], R(i, j)) - m[j] in T. This is not
  /// the outer product of the centred class means: m[j] is subtracted once
  /// per class and classes are not weighted. Prints the class discovery.
  CMatrix<T> getSB() const;
  /// Prints "start" and returns the product of two empty matrices: a 0 x 0
  /// matrix. No class discovery.
  CMatrix<T> getLDA() const;

 private:
  CDataset<T>* dataset;
};

#define VECML_DATASET_STATISTIC_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CDatasetStatistic<T>;
VECML_FOR_FLOATING_TYPES(VECML_DATASET_STATISTIC_INSTANTIATIONS,
                         extern template)

#endif
