// SPDX-License-Identifier: MIT
// Speed of the dense float scalar product, the Euclidean distance and the
// best-match search over a dataset, next to hand-written loops with the same
// arithmetic (a sequential sum per vector, a square root, a strict
// comparison), the search loop also split over the OpenMP threads, and,
// where a peer offers the operation, the peer's own (reordered, so not
// bit-equal) arithmetic.
#include <benchmark/benchmark.h>

#include <omp.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CDenseVector.h"

#if VECML_BENCH_HAVE_OPENBLAS
#include <cblas.h>
#endif
#if VECML_BENCH_HAVE_EIGEN
#include <Eigen/Core>
#endif

namespace {

constexpr int kSearchItems = 200000;

std::vector<float> randomValues(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
  std::vector<float> values(count);
  for (float& value : values) value = uniform(random);
  return values;
}

// ---- scalar product and distance of two vectors ---------------------------

// Two random vectors of dimension d, as plain arrays and as dense vectors.
struct VectorPair {
  explicit VectorPair(int d)
      : x(randomValues(d, 1)),
        y(randomValues(d, 2)),
        a(d, x.data()),
        b(d, y.data()) {}
  std::vector<float> x, y;
  CDenseVector<float> a, b;
};

float handDot(const float* x, const float* y, int n) {
  float sum = 0;
  for (int i = 0; i < n; ++i) sum = sum + x[i] * y[i];
  return sum;
}

float handSquaredDistance(const float* x, const float* y, int n) {
  float sum = 0;
  for (int i = 0; i < n; ++i) {
    const float difference = y[i] - x[i];
    sum = sum + difference * difference;
  }
  return sum;
}

// Times `measure(pair)` on a pair of dimension state.range(0).
template <typename Measure>
void timePair(benchmark::State& state, Measure measure) {
  VectorPair pair(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(pair.x.data());
    benchmark::DoNotOptimize(pair.y.data());
    benchmark::DoNotOptimize(measure(pair));
    benchmark::ClobberMemory();
  }
}

void dotVecml(benchmark::State& state) {
  timePair(state, [](const VectorPair& p) { return p.a * p.b; });
}

void dotHand(benchmark::State& state) {
  timePair(state, [](const VectorPair& p) {
    return handDot(p.x.data(), p.y.data(), static_cast<int>(p.x.size()));
  });
}

void euclidVecml(benchmark::State& state) {
  timePair(state, [](const VectorPair& p) {
    return p.a.euclideanDistance(p.b, false);
  });
}

void euclidHand(benchmark::State& state) {
  timePair(state, [](const VectorPair& p) {
    return std::sqrt(handSquaredDistance(p.x.data(), p.y.data(),
                                         static_cast<int>(p.x.size())));
  });
}

#if VECML_BENCH_HAVE_OPENBLAS
void dotOpenblas(benchmark::State& state) {
  timePair(state, [](const VectorPair& p) {
    return cblas_sdot(static_cast<int>(p.x.size()), p.x.data(), 1, p.y.data(),
                      1);
  });
}
#endif

#if VECML_BENCH_HAVE_EIGEN
using EigenVector = Eigen::Map<const Eigen::VectorXf>;

void dotEigen(benchmark::State& state) {
  timePair(state, [](const VectorPair& p) {
    const auto n = static_cast<Eigen::Index>(p.x.size());
    return EigenVector(p.x.data(), n).dot(EigenVector(p.y.data(), n));
  });
}

void euclidEigen(benchmark::State& state) {
  timePair(state, [](const VectorPair& p) {
    const auto n = static_cast<Eigen::Index>(p.x.size());
    return (EigenVector(p.y.data(), n) - EigenVector(p.x.data(), n)).norm();
  });
}
#endif

// ---- best match over 200,000 items ----------------------------------------

// kSearchItems random inputs of dimension d, both as one flat row-major
// array and as a dataset, and a query. Built once per dimension and kept
// for the whole run, outside every timing loop.
struct SearchData {
  explicit SearchData(int d)
      : d(d),
        rows(randomValues(static_cast<std::size_t>(kSearchItems) * d, 3)),
        queryValues(randomValues(d, 4)),
        query(d, queryValues.data()),
        dataset(kSearchItems, 1000) {
    const CDenseVector<float> output(1);
    for (int i = 0; i < kSearchItems; ++i) {
      const CDenseVector<float> input(d, rows.data() + std::size_t(i) * d);
      dataset.appendItem(CDatasetItem<float>(input, output, i));
    }
  }

  static const SearchData& of(int d) {
    static std::map<int, SearchData> cache;
    return cache.try_emplace(d, d).first->second;
  }

  int d;
  std::vector<float> rows;
  std::vector<float> queryValues;
  CDenseVector<float> query;
  CDataset<float> dataset;
};

// The nearest row by rooted Euclidean distance, first one on ties.
int handBestMatch(const float* rows, int items, int d, const float* query) {
  float best = std::sqrt(handSquaredDistance(rows, query, d));
  int bestIndex = 0;
  for (int i = 1; i < items; ++i) {
    const float distance =
        std::sqrt(handSquaredDistance(rows + std::size_t(i) * d, query, d));
    if (best > distance) {
      best = distance;
      bestIndex = i;
    }
  }
  return bestIndex;
}

// The same search split over the OpenMP threads: each thread scans one
// contiguous block, then the blocks' winners are merged in block order, so
// the first item wins ties as in the serial loop.
int handBestMatchParallel(const float* rows, int items, int d,
                          const float* query) {
  std::vector<std::pair<float, int>> winners(omp_get_max_threads(),
                                             {INFINITY, -1});
#pragma omp parallel
  {
    const int blocks = omp_get_num_threads();
    const int block = omp_get_thread_num();
    const int begin = int(std::int64_t(items) * block / blocks);
    const int end = int(std::int64_t(items) * (block + 1) / blocks);
    if (begin < end) {
      const int found = begin + handBestMatch(rows + std::size_t(begin) * d,
                                              end - begin, d, query);
      winners[block] = {std::sqrt(handSquaredDistance(
                            rows + std::size_t(found) * d, query, d)),
                        found};
    }
  }
  std::pair<float, int> best = winners.front();
  for (const auto& winner : winners)
    if (winner.second >= 0 && best.first > winner.first) best = winner;
  return best.second;
}

// Times `search(data)` and checks it finds the hand loop's item.
template <typename Search>
void timeSearch(benchmark::State& state, Search search) {
  const SearchData& data = SearchData::of(static_cast<int>(state.range(0)));
  const int expected = handBestMatch(data.rows.data(), kSearchItems, data.d,
                                     data.queryValues.data());
  int found = -1;
  for (auto _ : state) {
    found = search(data);
    benchmark::DoNotOptimize(found);
  }
  if (found != expected) state.SkipWithError("search found another item");
  state.SetItemsProcessed(state.iterations() * kSearchItems);
}

void bestMatchVecml(benchmark::State& state) {
  const CEuclideanMetric<float> metric;
  timeSearch(state, [&](const SearchData& data) {
    return data.dataset.getBestMatchIDInput(data.query, metric);
  });
}

void bestMatchHand(benchmark::State& state) {
  timeSearch(state, [](const SearchData& data) {
    return handBestMatch(data.rows.data(), kSearchItems, data.d,
                         data.queryValues.data());
  });
}

void bestMatchHandParallel(benchmark::State& state) {
  timeSearch(state, [](const SearchData& data) {
    return handBestMatchParallel(data.rows.data(), kSearchItems, data.d,
                                 data.queryValues.data());
  });
}

#if VECML_BENCH_HAVE_EIGEN
void bestMatchEigen(benchmark::State& state) {
  using Rows = Eigen::Map<const Eigen::Matrix<float, Eigen::Dynamic,
                                              Eigen::Dynamic, Eigen::RowMajor>>;
  timeSearch(state, [](const SearchData& data) {
    const Rows rows(data.rows.data(), kSearchItems, data.d);
    const Eigen::Map<const Eigen::RowVectorXf> query(data.queryValues.data(),
                                                     data.d);
    Eigen::Index index = 0;
    (rows.rowwise() - query).rowwise().squaredNorm().minCoeff(&index);
    return static_cast<int>(index);
  });
}
#endif

// Registers `function` as <group>/<impl>/<d> for each dimension.
void registerSizes(const std::string& name, void (*function)(benchmark::State&),
                   std::initializer_list<int> dimensions) {
  benchmark::internal::Benchmark* benchmark =
      benchmark::RegisterBenchmark(name.c_str(), function);
  for (const int d : dimensions) benchmark->Arg(d);
}

[[maybe_unused]] const bool registered = [] {
  const auto pairSizes = {16, 64, 1024};
  registerSizes("dot_float/vecml", dotVecml, pairSizes);
  registerSizes("dot_float/hand", dotHand, pairSizes);
  registerSizes("euclid_float/vecml", euclidVecml, pairSizes);
  registerSizes("euclid_float/hand", euclidHand, pairSizes);
#if VECML_BENCH_HAVE_OPENBLAS
  registerSizes("dot_float/openblas", dotOpenblas, pairSizes);
#endif
#if VECML_BENCH_HAVE_EIGEN
  registerSizes("dot_float/eigen", dotEigen, pairSizes);
  registerSizes("euclid_float/eigen", euclidEigen, pairSizes);
#endif
  const auto searchSizes = {16, 64};
  registerSizes("bestmatch_float/vecml", bestMatchVecml, searchSizes);
  registerSizes("bestmatch_float/hand", bestMatchHand, searchSizes);
  registerSizes("bestmatch_float/hand_omp", bestMatchHandParallel, searchSizes);
#if VECML_BENCH_HAVE_EIGEN
  registerSizes("bestmatch_float/eigen", bestMatchEigen, searchSizes);
#endif
  return true;
}();

}  // namespace
