#include "vecml/dataset/CDatasetStatistic.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <memory>
#include <vector>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/detail/DatasetInputs.h"
#include "vecml/dataset/detail/PackedTriangle.h"

namespace {

// The stored dataset, or an empty one when none is attached, so that every
// member can treat "no dataset" like "no items".
template <typename T>
const CDataset<T>& orEmpty(const CDataset<T>* data) {
  static const CDataset<T> empty(0, 0);
  return data != nullptr ? *data : empty;
}

// Clamps an item count asked for by the caller to the items there are.
int clampCount(int count, int items) { return std::clamp(count, 0, items); }

using vecml::detail::DatasetInputs;

// out[i] = x[i] - centre[i] in T for the first `d` elements.
template <typename T>
void centreInput(const T* x, const CDenseVector<T>& centre, int d, T* out) {
  const T* m = centre._data();
  for (int i = 0; i < d; ++i) out[i] = x[i] - m[i];
}

template <typename T>
bool everyItem(const CDatasetItem<T>&) {
  return true;
}

// Accepts the items whose output element 0 equals `label` exactly.
template <typename T>
struct HasLabel {
  T label;
  bool operator()(const CDatasetItem<T>& item) const {
    return (*item.outputVector())[0] == label;
  }
};

// Running average of the inputs of the items `counts` accepts.
template <typename T, typename Counts>
CDenseVector<T> runningMean(const CDataset<T>& data, Counts counts) {
  const int d = data.inputDimension();
  CDenseVector<T> mean(d);
  DatasetInputs<T> inputs(data, d);
  T* m = mean._data();
  T k = 0;
  for (int n = 0; n < data.items(); ++n) {
    if (!counts(data.item(n))) continue;
    k += T(1);
    const T keep = static_cast<T>(1.0 - 1.0 / static_cast<double>(k));
    const T step = T(1) / k;
    const T* x = inputs(n);
    for (int i = 0; i < d; ++i) m[i] = m[i] * keep + x[i] * step;
  }
  return mean;
}

// Running covariance of the items `counts` accepts around `mean`, on the
// packed lower triangle (see PackedTriangle.h for why that is exact).
template <typename T, typename Counts>
CMatrix<T> runningCovariance(const CDataset<T>& data,
                             const CDenseVector<T>& mean, Counts counts) {
  const int d = data.inputDimension();
  vecml::detail::PackedTriangle<T> covariance(d);
  DatasetInputs<T> inputs(data, d);
  T k = 0;
  for (int n = 0; n < data.items(); ++n) {
    if (!counts(data.item(n))) continue;
    k += T(1);
    centreInput(inputs(n), mean, d, covariance.item());
    covariance.addRunningAverage(1.0 - 1.0 / static_cast<double>(k),
                                 1.0 / static_cast<double>(k));
  }
  return covariance.toMatrix();
}

// Element-wise minimum and maximum of inputs, starting from the first
// item's input and combining inputs into it with std::min / std::max (the
// first item is combined again, which changes nothing).
template <typename T>
struct Extremes {
  explicit Extremes(const CDataset<T>& data)
      : minimum(data.items() == 0
                    ? CDenseVector<T>()
                    : CDenseVector<T>(*data.item(0).inputVector())),
        maximum(minimum) {}

  // requires: x holds minimum.dimension() elements.
  void include(const T* x) {
    T* low = minimum._data();
    T* high = maximum._data();
    for (int i = 0; i < minimum.dimension(); ++i) {
      low[i] = std::min(low[i], x[i]);
      high[i] = std::max(high[i], x[i]);
    }
  }

  CDenseVector<T> minimum;
  CDenseVector<T> maximum;
};

// Both extremes of all inputs in one pass.
template <typename T>
Extremes<T> extremes(const CDataset<T>& data) {
  Extremes<T> result(data);
  DatasetInputs<T> inputs(data, result.minimum.dimension());
  for (int n = 0; n < data.items(); ++n) result.include(inputs(n));
  return result;
}

// Ignores the inputs a pass shows it.
template <typename T>
void ignore(const T*) {}

// Sums the first `d` input elements of the items `counts` accepts into
// `sum` (in item order, in T), showing each of those inputs to `visit`.
// \return the number of those items.
template <typename T, typename Counts, typename Visit>
int sumInputs(const CDataset<T>& data, int d, Counts counts,
              CDenseVector<T>& sum, Visit visit) {
  sum.zeros();
  DatasetInputs<T> inputs(data, d);
  T* s = sum._data();
  int k = 0;
  for (int n = 0; n < data.items(); ++n) {
    if (!counts(data.item(n))) continue;
    ++k;
    const T* x = inputs(n);
    visit(x);
    for (int i = 0; i < d; ++i) s[i] += x[i];
  }
  return k;
}

// Sums the squared deviations from `mean` of the items `counts` accepts.
template <typename T, typename Counts>
void sumSquaredDeviations(const CDataset<T>& data, const CDenseVector<T>& mean,
                          Counts counts, CDenseVector<T>& sum) {
  const int d = mean.dimension();
  sum.zeros();
  DatasetInputs<T> inputs(data, d);
  const T* m = mean._data();
  T* s = sum._data();
  for (int n = 0; n < data.items(); ++n) {
    if (!counts(data.item(n))) continue;
    const T* x = inputs(n);
    for (int i = 0; i < d; ++i) {
      const T deviation = x[i] - m[i];
      s[i] += deviation * deviation;
    }
  }
}

template <typename T>
void takeSquareRoots(const CDenseVector<T>& variance, CDenseVector<T>& stdDev) {
  for (int i = 0; i < variance.dimension(); ++i)
    stdDev[i] = std::sqrt(variance[i]);
}

// The three-vector statistic over all items of `data`: mean, sample
// variance and its square root, showing every input to `visit` on the way.
template <typename T, typename Visit>
void sampleStatistic(const CDataset<T>& data, int d, CDenseVector<T>& mean,
                     CDenseVector<T>& stdDev, CDenseVector<T>& variance,
                     Visit visit) {
  mean.resize(d);
  stdDev.resize(d);
  variance.resize(d);
  const int n = sumInputs(data, d, everyItem<T>, mean, visit);
  mean /= static_cast<T>(n);
  sumSquaredDeviations(data, mean, everyItem<T>, variance);
  const double factor = 1.0 / static_cast<double>(n - 1);
  for (int i = 0; i < d; ++i)
    variance[i] = static_cast<T>(static_cast<double>(variance[i]) * factor);
  takeSquareRoots(variance, stdDev);
}

// Whether the entry keyed `a` (its insertion number) with distance `da`
// stands before the one keyed `b` after inserting the entries one by one,
// each before the first entry whose distance is not smaller: ascending
// distance, and among equal distances the later inserted first. This strict
// total order gives the order that the non-strict comparators describe,
// without handing a non-strict comparator to a sorting algorithm. NaN,
// which no distance order can place, goes last.
template <typename T>
bool rankedBefore(T da, std::size_t a, T db, std::size_t b) {
  const bool nanA = std::isnan(da);
  const bool nanB = std::isnan(db);
  if (nanA != nanB) return nanB;
  if (!nanA && da != db) return da < db;
  return a > b;
}

// The entry numbers 0 .. distances.size() - 1 in ranked order. The sort
// moves each distance along with its number, so that comparisons read
// neighbouring memory instead of looking distances up all over the list.
template <typename T>
std::vector<std::size_t> rankOrder(const std::vector<T>& distances) {
  struct Entry {
    T distance;
    std::size_t number;
  };
  std::vector<Entry> entries(distances.size());
  for (std::size_t number = 0; number < entries.size(); ++number)
    entries[number] = {distances[number], number};
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return rankedBefore(a.distance, a.number, b.distance, b.number);
  });
  std::vector<std::size_t> order(entries.size());
  for (std::size_t position = 0; position < order.size(); ++position)
    order[position] = entries[position].number;
  return order;
}

// 1 - 6 S / (N^3 - N) over the N entries of both lists, S summing the
// squared differences between an entry's position in the map ranking,
// counted from 1, and its position in the input ranking, counted from 0.
template <typename T>
double rankCorrelation(const std::vector<T>& inputDistances,
                       const std::vector<T>& mapDistances) {
  const std::size_t pairs = inputDistances.size();
  std::vector<std::size_t> inputRank(pairs);
  const std::vector<std::size_t> inputOrder = rankOrder(inputDistances);
  for (std::size_t position = 0; position < pairs; ++position)
    inputRank[inputOrder[position]] = position;
  const std::vector<std::size_t> mapOrder = rankOrder(mapDistances);
  double s = 0;
  for (std::size_t position = 1; position <= pairs; ++position) {
    const double difference =
        static_cast<double>(position) -
        static_cast<double>(inputRank[mapOrder[position - 1]]);
    s += difference * difference;
  }
  const double n = static_cast<double>(pairs);
  return 1.0 - 6.0 * s / (n * n * n - n);
}

// For each of the first `count` items, the input in `mapData` of the item
// that its output element 0 (truncated) names.
template <typename T>
std::vector<const CVector<double>*> representatives(
    const CDataset<T>& data, int count, const CDataset<double>& mapData) {
  std::vector<const CVector<double>*> inputs(count);
  for (int i = 0; i < count; ++i) {
    const int representative =
        vecml::detail::truncateToInt((*data.item(i).outputVector())[0]);
    ML_GEQ_CHK(representative, 0);
    ML_LS_CHK(representative, mapData.items());
    inputs[i] = mapData.item(representative).inputVector();
  }
  return inputs;
}

// Distance between the representatives of items i and j, narrowed to T.
template <typename T>
T mapDistance(const std::vector<const CVector<double>*>& inputs,
              const CMetric<double>& metric, int i, int j) {
  return static_cast<T>(metric.distance(*inputs[i], *inputs[j]));
}

// A new dataset holding, for each of the first `count` items i, the other
// item numbers j in ranked order of distance(i, j) and those distances.
template <typename T, typename Distance>
CDataset<T>* rankNeighbours(int count, Distance distance) {
  auto ranking = std::make_unique<CDataset<T>>(count, 1000);
  std::vector<T> distances;
  std::vector<int> neighbours;
  for (int i = 0; i < count; ++i) {
    distances.clear();
    neighbours.clear();
    for (int j = 0; j < count; ++j) {
      if (j == i) continue;
      neighbours.push_back(j);
      distances.push_back(distance(i, j));
    }
    const std::vector<std::size_t> order = rankOrder(distances);
    CDenseVector<T> indices(count - 1);
    CDenseVector<T> sorted(count - 1);
    for (std::size_t r = 0; r < order.size(); ++r) {
      indices._data()[r] = static_cast<T>(neighbours[order[r]]);
      sorted._data()[r] = distances[order[r]];
    }
    ranking->appendItem(CDatasetItem<T>(indices, sorted, i));
  }
  return ranking.release();
}

// r(i, j) = fma(c[j], c[i], r(i, j)) for the square matrix r.
template <typename T>
void addFusedOuterProduct(CMatrix<T>& r, const T* c) {
  const int d = r.rows();
  for (int j = 0; j < d; ++j) {
    T* column = r._data() + static_cast<std::ptrdiff_t>(j) * d;
    for (int i = 0; i < d; ++i) column[i] = std::fma(c[j], c[i], column[i]);
  }
}

// Classes found among the items, in order of first appearance, with their
// means, and the mean of all inputs.
template <typename T>
struct ClassTable {
  std::vector<CDenseVector<T>> outputs;
  std::vector<CDenseVector<T>> means;
  std::vector<int> counts;
  CDenseVector<T> overallMean;
};

// Adds `item` to the first class whose output equals its output vector, or
// opens a new class for it, reporting each comparison.
template <typename T>
void assignToClass(const CDatasetItem<T>& item, ClassTable<T>& classes) {
  const int known = static_cast<int>(classes.outputs.size());
  for (int c = 0; c < known; ++c) {
    std::cout << "checking against class " << c << " of " << known << '\n';
    if (*item.outputVector() == classes.outputs[c]) {
      ++classes.counts[c];
      classes.means[c] += *item.inputVector();
      return;
    }
  }
  std::cout << "insert new " << '\n';
  classes.outputs.emplace_back(*item.outputVector());
  classes.means.emplace_back(*item.inputVector());
  classes.counts.push_back(1);
}

// Finds the classes by their whole output vectors and reports them.
template <typename T>
ClassTable<T> discoverClasses(const CDataset<T>& data) {
  std::cout << "start" << '\n';
  ClassTable<T> classes;
  const int n = data.items();
  if (n > 0) {
    classes.outputs.emplace_back(*data.item(0).outputVector());
    classes.means.emplace_back(*data.item(0).inputVector());
    classes.counts.push_back(1);
    classes.overallMean = CDenseVector<T>(*data.item(0).inputVector());
  }
  std::cout << "get mean" << '\n';
  for (int i = 1; i < n; ++i) {
    std::cout << "working on item " << i << '\n';
    assignToClass(data.item(i), classes);
    classes.overallMean += *data.item(i).inputVector();
  }
  for (std::size_t c = 0; c < classes.means.size(); ++c)
    classes.means[c] /= static_cast<T>(classes.counts[c]);
  classes.overallMean /= static_cast<T>(n);
  std::cout << "info" << '\n'
            << "FOUND " << classes.outputs.size() << " classes" << '\n';
  for (std::size_t c = 0; c < classes.means.size(); ++c) {
    std::cout << "Elements: " << classes.counts[c] << '\n';
    classes.means[c].dump(std::cout);
  }
  return classes;
}

}  // namespace

template <typename T>
CDatasetStatistic<T>::CDatasetStatistic() : dataset(nullptr) {}

template <typename T>
CDatasetStatistic<T>::CDatasetStatistic(CDataset<T>* data) : dataset(data) {}

template <typename T>
CDatasetStatistic<T>::~CDatasetStatistic() = default;

template <typename T>
std::string CDatasetStatistic<T>::className() const {
  return "CDatasetStatistic";
}

template <typename T>
int CDatasetStatistic<T>::inputDimension() const {
  return orEmpty(dataset).inputDimension();
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::mean(const CDataset<T>& data) const {
  return runningMean(data, everyItem<T>);
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::mean(const CDataset<T>& data,
                                           T label) const {
  return runningMean(data, HasLabel<T>{label});
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::maxElements() const {
  return extremes(orEmpty(dataset)).maximum;
}

template <typename T>
CDenseVector<T> CDatasetStatistic<T>::minElements() const {
  return extremes(orEmpty(dataset)).minimum;
}

template <typename T>
void CDatasetStatistic<T>::statistic(CDenseVector<T>& mean,
                                     CDenseVector<T>& stdDev,
                                     CDenseVector<T>& variance) const {
  sampleStatistic(orEmpty(dataset), inputDimension(), mean, stdDev, variance,
                  ignore<T>);
}
template <typename T>
void CDatasetStatistic<T>::statistic(const CDenseVector<T>& output,
                                     CDenseVector<T>& mean,
                                     CDenseVector<T>& stdDev,
                                     CDenseVector<T>& variance) const {
  const CDataset<T>& data = orEmpty(dataset);
  const auto inClass = [&output](const CDatasetItem<T>& item) {
    return *item.outputVector() == output;
  };
  const int d = inputDimension();
  mean.resize(d);
  stdDev.resize(d);
  variance.resize(d);
  const T k = static_cast<T>(sumInputs(data, d, inClass, mean, ignore<T>));
  mean /= k;
  sumSquaredDeviations(data, mean, inClass, variance);
  variance *= T(1) / k;
  takeSquareRoots(variance, stdDev);
}

template <typename T>
void CDatasetStatistic<T>::dumpStatistic() const {
  const CDataset<T>& data = orEmpty(dataset);
  // The extremes are gathered during the statistic's first pass.
  Extremes<T> range(data);
  CDenseVector<T> average;
  CDenseVector<T> deviation;
  CDenseVector<T> variance;
  sampleStatistic(data, inputDimension(), average, deviation, variance,
                  [&range](const T* x) { range.include(x); });
  const CDenseVector<T>& minimum = range.minimum;
  const CDenseVector<T>& maximum = range.maximum;
  std::printf("\n\n");
  std::printf(" Items      : %d\n", data.items());
  std::printf(" Input dim. : %d\n", inputDimension());
  if (data.items() > 0)
    std::printf(" Output dim.: %d\n", data.outputDimension());
  std::printf(" Dataset statistic for input vectors: \n");
  std::printf(
      " Feature  |      Min       |      Max      |      Mean      |   Std. "
      "Dev.   |   Variance    | \n");
  std::printf(
      " ---------|----------------|---------------|----------------|---------"
      "------|---------------| \n");
  for (int i = 0; i < average.dimension(); ++i)
    std::printf(
        "    %3.3d   |  %6.6e |  %6.6e |  %6.6e |  %6.6e |  %6.6e |\n", i,
        static_cast<double>(minimum[i]), static_cast<double>(maximum[i]),
        static_cast<double>(average[i]), static_cast<double>(deviation[i]),
        static_cast<double>(variance[i]));
  std::printf("\n");
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::covarianceMatrix(
    const CDataset<T>& data) const {
  return runningCovariance(data, mean(data), everyItem<T>);
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::covarianceMatrix(const CDataset<T>& data,
                                                  T label) const {
  return runningCovariance(data, mean(data, label), HasLabel<T>{label});
}

// The products x[i] * x[j] and x[j] * x[i] are equal, so as for the
// covariance only the lower triangle is summed.
template <typename T>
CMatrix<T> CDatasetStatistic<T>::getAutoCorrelation() const {
  const CDataset<T>& data = orEmpty(dataset);
  const int d = inputDimension();
  vecml::detail::PackedTriangle<T> sums(d);
  DatasetInputs<T> inputs(data, d);
  for (int n = 0; n < data.items(); ++n) {
    std::copy_n(inputs(n), d, sums.item());
    sums.addProducts();
  }
  CMatrix<T> correlation = sums.toMatrix();
  correlation /= static_cast<T>(data.items());
  return correlation;
}

template <typename T>
T CDatasetStatistic<T>::spearman(int count, const CDataset<double>& mapData,
                                 const CMetric<double>& mapMetric,
                                 const CMetric<T>& inputMetric) const {
  const CDataset<T>& data = orEmpty(dataset);
  count = clampCount(count, data.items());
  const std::vector<const CVector<double>*> mapInputs =
      representatives(data, count, mapData);
  // Entry p of both lists belongs to the p-th ordered pair (i, j).
  std::vector<T> inputDistances;
  std::vector<T> mapDistances;
  const std::size_t pairs = static_cast<std::size_t>(count) *
                            static_cast<std::size_t>(std::max(count - 1, 0));
  inputDistances.reserve(pairs);
  mapDistances.reserve(pairs);
  for (int i = 0; i < count; ++i) {
    if (i % 100 == 0) std::printf("looking at %5d\n\033[A", i);
    for (int j = 0; j < count; ++j) {
      if (j == i) continue;
      inputDistances.push_back(inputMetric.distance(
          *data.item(i).inputVector(), *data.item(j).inputVector()));
      mapDistances.push_back(mapDistance<T>(mapInputs, mapMetric, i, j));
    }
  }
  std::printf("\n\n");
  return static_cast<T>(rankCorrelation(inputDistances, mapDistances));
}

template <typename T>
CDataset<T>* CDatasetStatistic<T>::rankInputSpace(
    int count, const CMetric<T>& metric) const {
  const CDataset<T>& data = orEmpty(dataset);
  return rankNeighbours<T>(clampCount(count, data.items()), [&](int i, int j) {
    return metric.distance(*data.item(i).inputVector(),
                           *data.item(j).inputVector());
  });
}

template <typename T>
CDataset<T>* CDatasetStatistic<T>::rankMapSpace(
    int count, const CDataset<double>& mapData,
    const CMetric<double>& mapMetric) const {
  const CDataset<T>& data = orEmpty(dataset);
  count = clampCount(count, data.items());
  const std::vector<const CVector<double>*> mapInputs =
      representatives(data, count, mapData);
  return rankNeighbours<T>(count, [&](int i, int j) {
    return mapDistance<T>(mapInputs, mapMetric, i, j);
  });
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::getSW() const {
  const CDataset<T>& data = orEmpty(dataset);
  const ClassTable<T> classes = discoverClasses(data);
  const int d = inputDimension();
  // The matrix zero-fills whatever its flag says.
  CMatrix<T> scatter(d, d, false);
  DatasetInputs<T> inputs(data, d);
  std::vector<T> c(d);
  for (std::size_t k = 0; k < classes.outputs.size(); ++k) {
    const CMatrix<T> classScatter(d, d, true);
    for (int n = 0; n < data.items(); ++n) {
      if (!(*data.item(n).outputVector() == classes.outputs[k])) continue;
      centreInput(inputs(n), classes.means[k], d, c.data());
      addFusedOuterProduct(scatter, c.data());
    }
    // Adds the untouched per-class matrix: no effect on the values.
    scatter = scatter + classScatter;
  }
  return scatter;
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::getSB() const {
  const ClassTable<T> classes = discoverClasses(orEmpty(dataset));
  const int d = inputDimension();
  const CDenseVector<T>& m = classes.overallMean;
  CMatrix<T> scatter(d, d, false);
  for (const CDenseVector<T>& classMean : classes.means)
    for (int j = 0; j < d; ++j)
      for (int i = 0; i < d; ++i)
        scatter(i, j) =
            std::fma(classMean[i] - m[i], classMean[j], scatter(i, j)) - m[j];
  return scatter;
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::getLDA() const {
  std::cout << "start" << std::endl;
  return CMatrix<T>() * CMatrix<T>();
}

template class CDatasetStatistic<float>;
template class CDatasetStatistic<double>;
