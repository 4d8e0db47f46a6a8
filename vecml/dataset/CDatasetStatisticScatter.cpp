// SPDX-License-Identifier: MIT
// Class scatter of CDatasetStatistic: the classes found among the items,
// the within-class and between-class scatter matrices.
#include <cmath>
#include <cstddef>
#include <iostream>
#include <vector>

#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/CDatasetStatistic.h"
#include "vecml/dataset/detail/DatasetInputs.h"
#include "vecml/dataset/detail/DatasetStatisticSupport.h"

using vecml::detail::centreInput;
using vecml::detail::DatasetInputs;
using vecml::detail::orEmpty;
using vecml::detail::parallelFor;
using vecml::detail::splitFeatures;

namespace {

// r(i, j) = fma(c[j], c[i], r(i, j)) for the columns first .. last - 1 of
// the square matrix r.
template <typename T>
void addFusedOuterProduct(CMatrix<T>& r, const T* c, int first, int last) {
  const int d = r.rows();
  for (int j = first; j < last; ++j) {
    T* column = r._data() + static_cast<std::ptrdiff_t>(j) * d;
    for (int i = 0; i < d; ++i) column[i] = std::fma(c[j], c[i], column[i]);
  }
}

// The numbers of the items whose output vector equals `output`, in order.
template <typename T>
std::vector<int> classMembers(const CDataset<T>& data,
                              const CDenseVector<T>& output) {
  std::vector<int> members;
  for (int n = 0; n < data.items(); ++n)
    if (*data.item(n).outputVector() == output) members.push_back(n);
  return members;
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

// Whether the overall mean and every class mean have at least d elements.
template <typename T>
bool meansCover(const ClassTable<T>& classes, int d) {
  if (classes.overallMean.dimension() < d) return false;
  for (const CDenseVector<T>& mean : classes.means)
    if (mean.dimension() < d) return false;
  return true;
}

}  // namespace

template <typename T>
CMatrix<T> CDatasetStatistic<T>::getSW() const {
  const CDataset<T>& data = orEmpty(dataset);
  const ClassTable<T> classes = discoverClasses(data);
  const int d = inputDimension();
  // The matrix zero-fills whatever its flag says.
  CMatrix<T> scatter(d, d, false);
  for (std::size_t k = 0; k < classes.outputs.size(); ++k) {
    const CMatrix<T> classScatter(d, d, true);
    const std::vector<int> members = classMembers(data, classes.outputs[k]);
    // The columns are independent: each thread adds every member, in
    // order, to its own columns.
    splitFeatures(
        data, d, members,
        [&](int first, int last) {
          DatasetInputs<T> inputs(data, d);
          std::vector<T> c(d);
          for (int n : members) {
            centreInput(inputs(n), classes.means[k], d, c.data());
            addFusedOuterProduct(scatter, c.data(), first, last);
          }
        },
        d);
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
  // Each element takes the classes in order, so the columns are
  // independent: each thread walks the classes over its own columns.
  const auto addClassMeans = [&](int first, int last) {
    for (const CDenseVector<T>& classMean : classes.means)
      for (int j = first; j < last; ++j)
        for (int i = 0; i < d; ++i)
          scatter(i, j) =
              std::fma(classMean[i] - m[i], classMean[j], scatter(i, j)) - m[j];
  };
  // A mean shorter than d aborts in its checked access, so then the
  // columns are left to the calling thread in the serial order.
  if (!meansCover(classes, d)) {
    addClassMeans(0, d);
    return scatter;
  }
  parallelFor(static_cast<std::size_t>(d),
              static_cast<double>(classes.means.size()) * d,
              [&](std::size_t first, std::size_t last) {
                addClassMeans(static_cast<int>(first), static_cast<int>(last));
              });
  return scatter;
}

template <typename T>
CMatrix<T> CDatasetStatistic<T>::getLDA() const {
  std::cout << "start" << std::endl;
  return CMatrix<T>() * CMatrix<T>();
}

#define VECML_STATISTIC_SCATTER_INSTANTIATE_(INSTANTIATE, T)  \
  INSTANTIATE CMatrix<T> CDatasetStatistic<T>::getSW() const; \
  INSTANTIATE CMatrix<T> CDatasetStatistic<T>::getSB() const; \
  INSTANTIATE CMatrix<T> CDatasetStatistic<T>::getLDA() const;
VECML_FOR_FLOATING_TYPES(VECML_STATISTIC_SCATTER_INSTANTIATE_, template)
#undef VECML_STATISTIC_SCATTER_INSTANTIATE_
