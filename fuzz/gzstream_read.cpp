// SPDX-License-Identifier: MIT
// Reads a whole file of arbitrary bytes through igzstream. Every seventh
// character is put back and read again, which must give the same
// character, also right after a refill of the buffer.
#include <cstdlib>

#include "FuzzSupport.h"
#include "vecml/stream/gzstream.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const vecml_fuzz::ScratchFile file("gzstream_read", data, size);
  igzstream in(file.path(), std::ios::in);
  std::size_t count = 0;
  for (int c = in.get(); c != std::char_traits<char>::eof(); c = in.get()) {
    if (++count % 7 != 0) continue;
    if (!in.unget() || in.get() != c) std::abort();
  }
  return 0;
}
