// SPDX-License-Identifier: MIT
// Gzip data far larger than their compressed form: a head, a long run of one
// repeated byte and a tail in one gzip member, built without compressing
// the run more than once (the tests and fuzz harnesses use it, so it needs
// no test framework).
#ifndef VECML_TESTS_SUPPORT_INFLATINGGZIP_H
#define VECML_TESTS_SUPPORT_INFLATINGGZIP_H

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace inflating_gzip {

constexpr std::uint64_t kMiB = std::uint64_t(1) << 20;

// Appends what deflate makes of `data` with `flush` to `out`.
inline void deflateInto(z_stream& stream, const std::string& data, int flush,
                        std::string& out) {
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  char chunk[1 << 14];
  do {
    stream.next_out = reinterpret_cast<Bytef*>(chunk);
    stream.avail_out = sizeof chunk;
    if (deflate(&stream, flush) == Z_STREAM_ERROR) std::abort();
    out.append(chunk, sizeof chunk - stream.avail_out);
  } while (stream.avail_out == 0);
}

inline void appendLittleEndian32(std::string& out, std::uint32_t value) {
  for (int k = 0; k < 4; ++k) out += static_cast<char>(value >> (8 * k));
}

// One gzip member holding `head`, `runMiB` MiB of the byte `fill` and
// `tail`. A full flush after the head and after each MiB of the run makes
// every compressed MiB independent of what came before, so one compressed
// MiB is repeated; the CRC of the whole is combined from the parts. The
// result is about 1 KiB per MiB of run.
inline std::string gzipWithRun(const std::string& head, unsigned char fill,
                               std::uint32_t runMiB,
                               const std::string& tail = "") {
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 9,
                   Z_DEFAULT_STRATEGY) != Z_OK)
    std::abort();
  // Header: magic, deflate, no flags, no time, no extra flags, Unix.
  std::string gzip("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10);
  deflateInto(stream, head, Z_FULL_FLUSH, gzip);
  const std::string block(kMiB, static_cast<char>(fill));
  std::string compressedBlock;
  deflateInto(stream, block, Z_FULL_FLUSH, compressedBlock);
  for (std::uint32_t k = 0; k < runMiB; ++k) gzip += compressedBlock;
  deflateInto(stream, tail, Z_FINISH, gzip);
  deflateEnd(&stream);

  const auto crcOf = [](const std::string& data) {
    return crc32(0, reinterpret_cast<const Bytef*>(data.data()),
                 static_cast<uInt>(data.size()));
  };
  uLong crc = crcOf(head);
  const uLong blockCrc = crcOf(block);
  for (std::uint32_t k = 0; k < runMiB; ++k)
    crc = crc32_combine(crc, blockCrc, static_cast<z_off_t>(kMiB));
  crc = crc32_combine(crc, crcOf(tail), static_cast<z_off_t>(tail.size()));
  const std::uint64_t size = head.size() + runMiB * kMiB + tail.size();
  appendLittleEndian32(gzip, static_cast<std::uint32_t>(crc));
  appendLittleEndian32(gzip, static_cast<std::uint32_t>(size));
  return gzip;
}

}  // namespace inflating_gzip

#endif
