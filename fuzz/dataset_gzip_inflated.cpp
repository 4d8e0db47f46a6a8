// SPDX-License-Identifier: MIT
// The validating dataset file reader on gzip files that inflate far beyond
// their size. Input: a fill byte, a run length, a flag byte and the head of
// a record. The file is one gzip member holding the head, then (in a second
// read) a run of the fill byte of 16 MiB per unit of the run length (up to
// 4 GiB from about 4 MB of file).
//
// Properties: a rejection always says why; a file with bytes after its gzip
// member (flag bit 0) is never accepted; and a record that the head alone
// condemns (a fault before the data end) gets the same message whatever
// follows the head, without inflating what follows (the run is too long
// to inflate within the fuzzer's time limit).
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "support/InflatingGzip.h"
#include "vecml/dataset/CDataset.h"

namespace {

constexpr std::uint32_t kMiBPerRunUnit = 16;

// Reads `file` with the validating reader. \return the message, empty when
// the file was accepted.
std::string rejection(const std::string& file) {
  const vecml_fuzz::ScratchFile scratch(
      "dataset_gzip_inflated",
      reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
  CDataset<float> dataset;
  std::string error;
  if (dataset.read(scratch.path(), error)) return "";
  if (error.empty()) std::abort();  // a rejection always says why
  return error.substr(0, error.find("; file: "));
}

// Whether the message depends on where the data end.
bool dependsOnTheEnd(const std::string& message) {
  return message.find("truncated") != std::string::npos ||
         message.find("data continue") != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  if (size < 3) return 0;
  const unsigned char fill = data[0];
  const std::uint32_t runMiB = data[1] * kMiBPerRunUnit;
  const std::string after = (data[2] & 1) != 0 ? "GARBAGE\n" : "";
  const std::string head(reinterpret_cast<const char*>(data) + 3, size - 3);

  const std::string alone =
      rejection(inflating_gzip::gzipWithRun(head, fill, 0) + after);
  if (!after.empty() && alone.empty()) std::abort();  // bytes after the member
  if (alone.empty() || dependsOnTheEnd(alone) || runMiB == 0) return 0;
  if (rejection(inflating_gzip::gzipWithRun(head, fill, runMiB) + after) !=
      alone)
    std::abort();
  return 0;
}
