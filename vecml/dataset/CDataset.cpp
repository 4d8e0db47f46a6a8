#include "vecml/dataset/CDataset.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <typeinfo>
#include <utility>

#include "vecml/core/Macros.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/dataset/detail/IntroSort.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/detail/DenseDistanceBlock.h"

namespace {

// 2^-31, which maps rand() into [0, 1].
constexpr double kRandScale = 4.656612873077393e-10;

// A random index below \p count: trunc((double)((float)rand() *
// (float)count) * 2^-31). (float)rand() rounds the largest draws up to 2^31,
// so the formula can give count itself; it is taken as count - 1.
// requires: count >= 1.
int randomIndexBelow(int count) {
  const float product =
      static_cast<float>(std::rand()) * static_cast<float>(count);
  const int index = static_cast<int>(static_cast<double>(product) * kRandScale);
  return std::min(index, count - 1);
}

// floor(n * (percent / 100)) limited to 0..n; NaN gives 0.
int splitCount(int n, double percent) {
  const double count = std::floor(n * (percent / 100.0));
  if (!(count > 0.0)) return 0;
  return count < n ? static_cast<int>(count) : n;
}

template <typename T>
const CVector<T>& searchedVector(const CDatasetItem<T>& item, bool onInputs) {
  return onInputs ? *item.inputVector() : *item.outputVector();
}

// One row per item holding `component(j)` for j < columns.
template <typename T>
CMatrix<T> itemMatrix(const std::vector<CDatasetItem<T>>& items, int columns,
                      T (CDatasetItem<T>::*component)(int) const) {
  const int rows = static_cast<int>(items.size());
  CMatrix<T> matrix(rows, columns);
  for (int i = 0; i < rows; ++i) {
    for (int j = 0; j < columns; ++j)
      matrix.setElement(i, j, (items[i].*component)(j));
  }
  return matrix;
}

}  // namespace

// --- Construction ----------------------------------------------------------

template <typename T>
CDataset<T>::CDataset(int capacity, int growSize)
    : typeTag("CDataset 0.1"),
      infoText("none"),
      growBy(growSize),
      meta(nullptr) {
  reserve(capacity);
}

template <typename T>
CDataset<T>::CDataset(const CDataset<T>& other)
    : CObject<T>(other),
      itemList(other.itemList),
      typeTag(other.typeTag),
      infoText(other.infoText),
      growBy(other.growBy),
      meta(other.meta) {}

template <typename T>
CDataset<T>::CDataset(CDataset<T>&& other) noexcept
    : CObject<T>(other),
      itemList(std::move(other.itemList)),
      typeTag(other.typeTag),
      infoText(std::move(other.infoText)),
      growBy(other.growBy),
      meta(other.meta) {
  other.itemList.clear();
}

template <typename T>
CDataset<T>::~CDataset() = default;

template <typename T>
CDataset<T>& CDataset<T>::operator=(const CDataset<T>& other) {
  if (this != &other) {
    itemList.clear();
    reserve(other.items());
    itemList.insert(itemList.end(), other.itemList.begin(),
                    other.itemList.end());
  }
  return *this;
}

template <typename T>
CDataset<T>& CDataset<T>::operator=(CDataset<T>&& other) noexcept {
  itemList.swap(other.itemList);
  return *this;
}

template <typename T>
std::string CDataset<T>::className() const {
  return "CDataset";
}

// --- Access ----------------------------------------------------------------

template <typename T>
int CDataset<T>::randomIndex() const {
  const int itemCount = items();
  ML_GEQ_CHK(itemCount, 1);
  return randomIndexBelow(itemCount);
}

template <typename T>
const CDatasetItem<T>& CDataset<T>::getRandomItem() const {
  return itemList[randomIndex()];
}

template <typename T>
CDatasetItem<T>& CDataset<T>::randomItem() {
  return itemList[randomIndex()];
}

template <typename T>
int CDataset<T>::inputDimension() const {
  return itemList.empty() ? 0 : itemList.front().inputDimension();
}

template <typename T>
int CDataset<T>::outputDimension() const {
  return itemList.empty() ? 0 : itemList.front().outputDimension();
}

template <typename T>
void CDataset<T>::reserve(int n) {
  if (n > 0) itemList.reserve(static_cast<std::size_t>(n));
}

template <typename T>
void CDataset<T>::initRandomSeed() {
  std::srand(static_cast<unsigned>(std::time(nullptr)));
}

// --- Modification ----------------------------------------------------------

template <typename T>
void CDataset<T>::growIfFull() {
  if (itemList.size() == itemList.capacity() && growBy > 0)
    itemList.reserve(itemList.capacity() + static_cast<std::size_t>(growBy));
}

template <typename T>
void CDataset<T>::appendOwned(CDatasetItem<T>&& item) {
  growIfFull();
  itemList.push_back(std::move(item));
}

// The copies below are made before the storage grows, because the caller's
// item may be one of this dataset's own.
template <typename T>
bool CDataset<T>::appendItem(const CDatasetItem<T>& item) {
  appendOwned(CDatasetItem<T>(item));
  return true;
}

template <typename T>
bool CDataset<T>::insertItem(int pos, const CDatasetItem<T>& item) {
  if (pos < 0 || pos >= items()) return false;
  CDatasetItem<T> copy(item);
  growIfFull();
  itemList.insert(itemList.begin() + pos, std::move(copy));
  return true;
}

template <typename T>
bool CDataset<T>::setItem(int i, const CDatasetItem<T>& item) {
  if (i < 0 || i >= items()) return false;
  itemList[i] = item;
  return true;
}

template <typename T>
bool CDataset<T>::removeItem(int i) {
  if (i < 0 || i >= items()) return false;
  itemList.erase(itemList.begin() + i);
  return true;
}

template <typename T>
void CDataset<T>::removeLastItem() {
  if (!itemList.empty()) itemList.pop_back();
}

template <typename T>
void CDataset<T>::merge(const CDataset<T>& other) {
  // Counted once: merging a dataset into itself doubles it.
  const int count = other.items();
  itemList.reserve(itemList.size() + static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) appendItem(other.itemList[i]);
}

template <typename T>
void CDataset<T>::randomShuffle() {
  initRandomSeed();
  const int n = items();
  for (int i = 1; i < n; ++i) {
    const int j = randomIndexBelow(i + 1);
    CDatasetItem<T> temporary(itemList[i]);
    itemList[i] = itemList[j];
    itemList[j] = temporary;
  }
}

template <typename T>
void CDataset<T>::sortdata() {
  vecml::detail::introSort(
      itemList.begin(), itemList.end(),
      [](const CDatasetItem<T>& a, const CDatasetItem<T>& b) { return a < b; });
}

template <typename T>
void CDataset<T>::sortdata(bool (*less)(CDatasetItem<T>, CDatasetItem<T>)) {
  if (less != nullptr)
    vecml::detail::introSort(itemList.begin(), itemList.end(), less);
}

// --- Best-match searches ---------------------------------------------------

namespace {

// The vector as a CDenseVector<T> when that is exactly its class (a
// subclass may measure differently), otherwise null.
template <typename T>
const CDenseVector<T>* exactlyDense(const CVector<T>& vector) {
  if (typeid(vector) != typeid(CDenseVector<T>)) return nullptr;
  return static_cast<const CDenseVector<T>*>(&vector);
}

// Result of a search so far. Only a strictly smaller distance replaces the
// best one: ties keep the earlier item, a NaN distance is never taken, and
// after a NaN start nothing is.
template <typename T>
struct RunningBest {
  T distance;
  int index;

  void offer(T candidate, int candidateIndex) {
    if (distance > candidate) {
      distance = candidate;
      index = candidateIndex;
    }
  }
};

// Measures items for a Euclidean metric (rooted or squared) and a dense
// query without the metric's virtual calls: dense items of the query's
// dimension are queued and measured a block at a time by the block kernel,
// which gives each distance the bits of the metric's own. Offers reach the
// running best in item order.
template <typename T>
class EuclideanBlocks {
 public:
  EuclideanBlocks(const CVector<T>& query, const CMetric<T>& metric,
                  RunningBest<T>& best)
      : best(best) {
    const std::type_info& measure = typeid(metric);
    rooted = measure == typeid(CEuclideanMetric<T>);
    if (rooted || measure == typeid(CEuclideanMetric2<T>))
      this->query = exactlyDense(query);
    if (this->query != nullptr) {
      kernel = vecml::detail::denseDistanceKernel<T>();
      dimension = denseDimension(*this->query);
    }
  }

  /// Queues item \p index, whose searched vector is \p vector, when the
  /// blocks can measure it; otherwise measures what is queued and returns
  /// false, so that the caller measures the item itself, after the queued
  /// ones.
  bool take(const CVector<T>& vector, int index) {
    if (query == nullptr) return false;
    const CDenseVector<T>* dense = exactlyDense(vector);
    if (dense == nullptr || denseDimension(*dense) != dimension) {
      flush();
      return false;
    }
    rows[pending] = dense->_data();
    indices[pending] = index;
    if (++pending == kernel.blockSize) flush();
    return true;
  }

  /// Measures the queued items and offers them in order.
  void flush() {
    if (pending == 0) return;
    // Unused rows of a partial block read the query, which is in bounds.
    std::fill(rows + pending, rows + kernel.blockSize, query->_data());
    kernel.compute(rows, query->_data(), dimension, sums);
    for (int k = 0; k < pending; ++k)
      best.offer(rooted ? vecml::detail::squareRoot(sums[k]) : sums[k],
                 indices[k]);
    pending = 0;
  }

 private:
  // Qualified call: the class is known, so skip the virtual lookup.
  static int denseDimension(const CDenseVector<T>& vector) {
    return vector.CDenseVector<T>::dimension();
  }

  RunningBest<T>& best;
  const CDenseVector<T>* query = nullptr;
  bool rooted = false;
  int dimension = 0;
  vecml::detail::DenseDistanceKernel<T> kernel{};
  int pending = 0;
  const T* rows[vecml::detail::kMaxDistanceBlock];
  int indices[vecml::detail::kMaxDistanceBlock];
  T sums[vecml::detail::kMaxDistanceBlock];
};

}  // namespace

template <typename T>
void CDataset<T>::bestMatch(const CVector<T>& query, const CMetric<T>& metric,
                            bool onInputs, int from, int to, int exclude,
                            int& id, T& distance) const {
  if (from < 0 || from >= items()) {
    id = -1;
    return;
  }
  RunningBest<T> best{
      metric.distance(searchedVector(itemList[from], onInputs), query),
      exclude == from ? from + 1 : from};
  id = best.index;
  distance = best.distance;
  EuclideanBlocks<T> blocks(query, metric, best);
  const int last = std::min(to, items() - 1);
  for (int i = from + 1; i <= last; ++i) {
    if (i == exclude) continue;
    const CVector<T>& vector = searchedVector(itemList[i], onInputs);
    if (!blocks.take(vector, i)) best.offer(metric.distance(vector, query), i);
  }
  blocks.flush();
  id = best.index;
  distance = best.distance;
}

template <typename T>
int CDataset<T>::bestMatchID(const CVector<T>& query, const CMetric<T>& metric,
                             bool onInputs, int from, int to,
                             int exclude) const {
  int id = -1;
  T distance{};
  bestMatch(query, metric, onInputs, from, to, exclude, id, distance);
  return id;
}

// The whole-dataset and plain range searches pass -1 as the excluded index:
// it never equals an index of the searched range.
template <typename T>
int CDataset<T>::getBestMatchIDInput(const CVector<T>& query,
                                     const CMetric<T>& metric) const {
  return bestMatchID(query, metric, true, 0, items() - 1, -1);
}

template <typename T>
int CDataset<T>::bestMatchIDInput(const CVector<T>& query,
                                  const CMetric<T>& metric) const {
  return getBestMatchIDInput(query, metric);
}

template <typename T>
int CDataset<T>::getBestMatchIDOutput(const CVector<T>& query,
                                      const CMetric<T>& metric) const {
  return bestMatchID(query, metric, false, 0, items() - 1, -1);
}

template <typename T>
int CDataset<T>::bestMatchIDOutput(const CVector<T>& query,
                                   const CMetric<T>& metric) const {
  return getBestMatchIDOutput(query, metric);
}

template <typename T>
void CDataset<T>::getBestMatchInput(const CVector<T>& query,
                                    const CMetric<T>& metric, int& id,
                                    T& distance) const {
  bestMatch(query, metric, true, 0, items() - 1, -1, id, distance);
}

template <typename T>
void CDataset<T>::bestMatchInput(const CVector<T>& query,
                                 const CMetric<T>& metric, int& id,
                                 T& distance) const {
  getBestMatchInput(query, metric, id, distance);
}

template <typename T>
void CDataset<T>::getBestMatchOutput(const CVector<T>& query,
                                     const CMetric<T>& metric, int& id,
                                     T& distance) const {
  bestMatch(query, metric, false, 0, items() - 1, -1, id, distance);
}

template <typename T>
void CDataset<T>::bestMatchOutput(const CVector<T>& query,
                                  const CMetric<T>& metric, int& id,
                                  T& distance) const {
  getBestMatchOutput(query, metric, id, distance);
}

template <typename T>
int CDataset<T>::bestMatchIDInput(const CVector<T>& query,
                                  const CMetric<T>& metric, int from,
                                  int to) const {
  return bestMatchID(query, metric, true, from, to, -1);
}

template <typename T>
int CDataset<T>::bestMatchIDInput(const CVector<T>& query,
                                  const CMetric<T>& metric, int from, int to,
                                  int exclude) const {
  return bestMatchID(query, metric, true, from, to, exclude);
}

// --- Subsets and folds -----------------------------------------------------

template <typename T>
CDataset<T> CDataset<T>::split(double percent) {
  const int n = items();
  const int k = splitCount(n, percent);
  CDataset<T> result(n, 1000);
  // The items leave this dataset, so they move instead of being cloned.
  for (int i = n - 1; i >= n - k; --i)
    result.appendOwned(std::move(itemList[i]));
  itemList.erase(itemList.end() - k, itemList.end());
  return result;
}

template <typename T>
CDataset<T> CDataset<T>::subset(int iNbItems) const {
  ML_LEQ_CHK_AT(iNbItems, items(), vecml::detail::kSubsetCountCheck);
  const int k = std::max(iNbItems, 0);
  CDataset<T> result(k, 1000);
  result.itemList.assign(itemList.begin(), itemList.begin() + k);
  for (int t = k; t < items(); ++t) {
    const int r = std::rand() % (t + 1);
    if (r < k) result.itemList[r] = itemList[t];
  }
  return result;
}

template <typename T>
std::vector<CDataset<T>> CDataset<T>::createFolds(int k) const {
  if (k <= 0) return {};
  std::vector<CDataset<T>> folds(static_cast<std::size_t>(k), CDataset<T>());
  for (int i = 0; i < items(); ++i) folds[i % k].appendItem(itemList[i]);
  return folds;
}

template <typename T>
CDataset<T> CDataset<T>::extract(int from, int to, bool remove) {
  const int first = std::max(from, 0);
  const int last = std::min(to, items() - 1);
  CDataset<T> result;
  if (first > last) return result;
  result.reserve(last - first);
  for (int i = first; i <= last; ++i) result.appendItem(itemList[i]);
  if (remove) {
    // Item `to` goes too only when it is the last one.
    const auto end =
        last == items() - 1 ? itemList.end() : itemList.begin() + last;
    itemList.erase(itemList.begin() + first, end);
  }
  return result;
}

// --- Flat arrays and matrices ----------------------------------------------

template <typename T>
void CDataset<T>::setDataToVector(T* buffer) const {
  const int inDim = inputDimension();
  const int outDim = outputDimension();
  T* row = buffer;
  for (const CDatasetItem<T>& item : itemList) {
    for (int j = 0; j < inDim; ++j) row[j] = item.getInputComponent(j);
    for (int j = 0; j < outDim; ++j)
      row[inDim + j] = item.getOutputComponent(j);
    row += inDim + outDim;
  }
}

template <typename T>
void CDataset<T>::getDataFromVector(const T* buffer, int n, int inDim,
                                    int outDim) {
  clear();
  const int in = std::max(inDim, 0);
  const int out = std::max(outDim, 0);
  const T* row = buffer;
  for (int i = 0; i < n; ++i, row += in + out) {
    auto input = std::make_unique<CDenseVector<T>>(in, row);
    auto output = std::make_unique<CDenseVector<T>>(out, row + in);
    CDatasetItem<T> item(input.release(), output.release());
    item.setId(i + 1);
    appendOwned(std::move(item));
  }
}

template <typename T>
CMatrix<T> CDataset<T>::getInputMatrix() const {
  return itemMatrix(itemList, inputDimension(),
                    &CDatasetItem<T>::getInputComponent);
}

template <typename T>
CMatrix<T> CDataset<T>::getOutputMatrix() const {
  return itemMatrix(itemList, outputDimension(),
                    &CDatasetItem<T>::getOutputComponent);
}

template class CDataset<float>;
template class CDataset<double>;
