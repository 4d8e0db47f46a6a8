// SPDX-License-Identifier: MIT
// The binary reader of CLinearRate<float>::serialize on arbitrary bytes,
// then the schedule run with whatever steps and iteration it read.
#include "FuzzSupport.h"
#include "vecml/learning/CLearnRate.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  CLinearRate<float> schedule(1.0f, 0.0f, 5);
  vecml_fuzz::readFileStream(
      "learn_rate_serialize", data, size,
      [&](std::fstream& stream) { schedule.serialize(stream, IO_READ); });
  schedule.iterate();
  schedule.rate(schedule.iteration());
  return 0;
}
