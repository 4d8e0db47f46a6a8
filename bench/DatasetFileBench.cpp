// Speed of writing and reading a gzip dataset file of 1,000,000 items (16
// inputs, 1 output, random floats), next to plain decompression of the same
// file by the zcat command, by a raw gzread loop and by igzstream alone.
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "vecml/dataset/CDataset.h"
#include "vecml/stream/gzstream.h"
#include "vecml/vector/CDenseVector.h"

namespace {

constexpr int kItems = 1000000;
constexpr int kInputs = 16;
constexpr int kOutputs = 1;

const std::string& filePath() {
  static const std::string path =
      "/tmp/vecml_dataset_bench_" + std::to_string(getpid()) + ".gz";
  return path;
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

void setBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * std::int64_t(kItems) *
                          (kInputs + kOutputs) * 4);
}

void writeFile(benchmark::State& state) {
  for (auto _ : state) dataset().write(filePath().c_str());
  setBytes(state);
}

void readFile(benchmark::State& state) {
  for (auto _ : state) {
    CDataset<float> data;
    data.read(filePath().c_str());
    if (data.items() != kItems) state.SkipWithError("wrong item count");
  }
  setBytes(state);
}

void readFileChecked(benchmark::State& state) {
  for (auto _ : state) {
    CDataset<float> data;
    std::string error;
    if (!data.read(filePath().c_str(), error))
      state.SkipWithError(error.c_str());
  }
  setBytes(state);
}

void zcat(benchmark::State& state) {
  const std::string command = "zcat '" + filePath() + "' > /dev/null";
  for (auto _ : state)
    if (std::system(command.c_str()) != 0) state.SkipWithError("zcat failed");
  setBytes(state);
}

void gzreadLoop(benchmark::State& state) {
  std::vector<char> buffer(1 << 16);
  for (auto _ : state) {
    gzFile file = gzopen(filePath().c_str(), "rb");
    while (gzread(file, buffer.data(), unsigned(buffer.size())) > 0) {
    }
    gzclose(file);
  }
  setBytes(state);
}

void igzstreamLoop(benchmark::State& state) {
  std::vector<char> buffer(1 << 16);
  for (auto _ : state) {
    igzstream in(filePath().c_str(), std::ios::in);
    while (in.read(buffer.data(), std::streamsize(buffer.size()))) {
    }
  }
  setBytes(state);
}

BENCHMARK(writeFile)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(readFile)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(readFileChecked)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(zcat)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(gzreadLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(igzstreamLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (!dataset().write(filePath().c_str())) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::remove(filePath().c_str());
  return 0;
}
