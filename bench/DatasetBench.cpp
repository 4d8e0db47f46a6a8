// SPDX-License-Identifier: MIT
// Speed of writing and reading a gzip dataset file of 1,000,000 items (16
// random float inputs, 1 output), next to zlib alone doing the same work:
// gzwrite of the same record bytes at the default level, and a gzread loop
// that only decompresses the same file into a 64 KB buffer.
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CDenseVector.h"

namespace {

constexpr int kItems = 1000000;  // the size in the benchmark names
constexpr int kInputs = 16;
constexpr int kOutputs = 1;

// Temporary files named after the process, removed when the program ends.
struct TempFiles {
  TempFiles() {
    const std::string stem =
        "/tmp/vecml_dataset_bench_" + std::to_string(getpid());
    dataset = stem + ".gz";
    raw = stem + "_gzwrite.gz";
  }
  ~TempFiles() {
    std::remove(dataset.c_str());
    std::remove(raw.c_str());
  }

  std::string dataset;  // written by CDataset, read by every reader
  std::string raw;      // written by the plain gzwrite benchmark
};

const TempFiles& files() {
  static const TempFiles paths;
  return paths;
}

CDataset<float> makeDataset() {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> uniform(0, 1);
  CDataset<float> data(kItems, 1000);
  std::vector<float> values(kInputs + kOutputs);
  for (int k = 0; k < kItems; ++k) {
    for (float& value : values) value = uniform(random);
    data.appendItem(CDatasetItem<float>(
        CDenseVector<float>(kInputs, values.data()),
        CDenseVector<float>(kOutputs, values.data() + kInputs), k));
  }
  return data;
}

const CDataset<float>& dataset() {
  static const CDataset<float> data = makeDataset();
  return data;
}

// The uncompressed record of dataset(), as the stream writer produces it.
const std::string& recordBytes() {
  static const std::string bytes = [] {
    std::ostringstream out;
    dataset().write(out);
    return out.str();
  }();
  return bytes;
}

// The path of a file holding dataset(), written on first use.
const char* datasetFile() {
  static const bool written = dataset().write(files().dataset.c_str());
  return written ? files().dataset.c_str() : nullptr;
}

void setBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() *
                          std::int64_t(recordBytes().size()));
}

void writeVecml(benchmark::State& state) {
  const CDataset<float>& data = dataset();
  for (auto _ : state)
    if (!data.write(files().dataset.c_str())) state.SkipWithError("write");
  setBytes(state);
}

void writeGzwrite(benchmark::State& state) {
  const std::string& bytes = recordBytes();
  for (auto _ : state) {
    gzFile file = gzopen(files().raw.c_str(), "wb");
    const int written = gzwrite(file, bytes.data(), unsigned(bytes.size()));
    if (gzclose(file) != Z_OK || written != int(bytes.size()))
      state.SkipWithError("gzwrite");
  }
  setBytes(state);
}

// The read result is released outside the timed region: releasing a million
// items is the caller's cost, not part of reading.
template <typename Read>
void readWith(benchmark::State& state, Read read) {
  const char* path = datasetFile();
  for (auto _ : state) {
    CDataset<float> data;
    if (!read(data, path) || data.items() != kItems)
      state.SkipWithError("read");
    state.PauseTiming();
    data.clear();
    state.ResumeTiming();
  }
  setBytes(state);
}

void readVecml(benchmark::State& state) {
  readWith(state, [](CDataset<float>& data, const char* path) {
    return data.read(path);
  });
}

void readVecmlChecked(benchmark::State& state) {
  readWith(state, [](CDataset<float>& data, const char* path) {
    std::string error;
    return data.read(path, error);
  });
}

void readGzread(benchmark::State& state) {
  const char* path = datasetFile();
  std::vector<char> buffer(std::size_t(1) << 16);
  for (auto _ : state) {
    gzFile file = gzopen(path, "rb");
    std::int64_t total = 0;
    int got = 0;
    while ((got = gzread(file, buffer.data(), unsigned(buffer.size()))) > 0)
      total += got;
    gzclose(file);
    if (total != std::int64_t(recordBytes().size()))
      state.SkipWithError("gzread");
  }
  setBytes(state);
}

struct Registration {
  const char* name;
  void (*run)(benchmark::State&);
};

[[maybe_unused]] const bool registered = [] {
  for (const Registration& entry :
       {Registration{"dataset_write/vecml/1000000", writeVecml},
        Registration{"dataset_write/gzwrite/1000000", writeGzwrite},
        Registration{"dataset_read/vecml/1000000", readVecml},
        Registration{"dataset_read/vecml_checked/1000000", readVecmlChecked},
        Registration{"dataset_read/gzread/1000000", readGzread}})
    benchmark::RegisterBenchmark(entry.name, entry.run)
        ->Unit(benchmark::kMillisecond);
  return true;
}();

}  // namespace
