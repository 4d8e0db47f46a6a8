// SPDX-License-Identifier: MIT
#include "vecml/dataset/CDataset.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "vecml/core/Macros.h"
#include "vecml/core/NumericalHelpers.h"
#include "vecml/core/detail/Arithmetic.h"
#include "vecml/core/detail/RandomScale.h"
#include "vecml/dataset/detail/IntroSort.h"
#include "vecml/vector/CDenseVector.h"

namespace {

// A random index below \p count: trunc((double)((float)rand() *
// (float)count) * 2^-31). (float)rand() rounds the largest draws up to 2^31,
// so the formula can give count itself; it is taken as count - 1.
// requires: count >= 1.
int randomIndexBelow(int count) {
  const float product =
      static_cast<float>(std::rand()) * static_cast<float>(count);
  const int index = static_cast<int>(static_cast<double>(product) *
                                     vecml::detail::kRandScale);
  return std::min(index, count - 1);
}

// floor(n * (percent / 100)) limited to 0..n; NaN gives 0.
int splitCount(int n, double percent) {
  const double count = std::floor(n * (percent / 100.0));
  if (!(count > 0.0)) return 0;
  return count < n ? static_cast<int>(count) : n;
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
  init_rnd_seed();
}

// --- Modification ----------------------------------------------------------

template <typename T>
void CDataset<T>::growIfFull() {
  if (itemList.size() != itemList.capacity() || growBy <= 0) return;
  try {
    itemList.reserve(itemList.capacity() + static_cast<std::size_t>(growBy));
  } catch (const std::bad_alloc&) {
    // The grow size may come from a file; when its reservation cannot be
    // had, the storage grows by its own doubling instead.
  }
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

VECML_FOR_FLOATING_TYPES(VECML_DATASET_INSTANTIATIONS, template)
