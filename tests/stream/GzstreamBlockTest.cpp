// SPDX-License-Identifier: MIT
// Block transfers through the gzip streams, as the dataset file format uses
// them: reads and writes far larger than the buffer, of awkward sizes, keep
// every byte and still reach zlib in buffer-sized calls.
#include <gtest/gtest.h>

#include <ios>
#include <string>
#include <vector>

#include "stream/StreamTestSupport.h"
#include "stream/ZlibCallLog.h"
#include "support/TempFile.h"
#include "vecml/stream/gzstream.h"

namespace {

const std::vector<std::size_t> kBlockSizes = {1,   7,   17,  63,   65,   129,
                                              298, 299, 300, 4096, 65537};

// Reads `path` through an igzstream in blocks of the sizes in kBlockSizes,
// in turn, until the data end.
std::string readInBlocks(const std::string& path) {
  igzstream in(path.c_str());
  std::string read;
  std::vector<char> block;
  for (std::size_t k = 0; in; ++k) {
    block.resize(kBlockSizes[k % kBlockSizes.size()]);
    in.read(block.data(), static_cast<std::streamsize>(block.size()));
    read.append(block.data(), static_cast<std::size_t>(in.gcount()));
  }
  return read;
}

TEST(GzstreamBlockTest, BlockReadsOfAnySizeDeliverEveryByte) {
  TempFile file;
  const std::string bytes = patternBytes(300000);
  writeThroughStream(file.path(), bytes);
  ZlibCallLog log;
  EXPECT_EQ(readInBlocks(file.path()), bytes);
  // Every refill asks for the 299 bytes behind the putback area; the last
  // one finds the end of the data.
  EXPECT_EQ(log.readLengths,
            std::vector<unsigned>(bytes.size() / 299 + 2, 299));
}

TEST(GzstreamBlockTest, BlockReadsSurviveShortGzreads) {
  TempFile file;
  const std::string bytes = patternBytes(100000);
  writeThroughStream(file.path(), bytes);
  ZlibCallLog log;
  log.readLimit = 100;
  EXPECT_EQ(readInBlocks(file.path()), bytes);
}

TEST(GzstreamBlockTest, BlockWritesReachZlibInFullBuffers) {
  const std::string bytes = patternBytes(300000);
  for (const bool oneBlock : {true, false}) {
    SCOPED_TRACE(oneBlock ? "one block" : "blocks of awkward sizes");
    TempFile file;
    ZlibCallLog log;
    {
      ogzstream out(file.path().c_str());
      std::size_t done = 0;
      for (std::size_t k = 0; done < bytes.size(); ++k) {
        const std::size_t size =
            oneBlock ? bytes.size()
                     : std::min(kBlockSizes[k % kBlockSizes.size()],
                                bytes.size() - done);
        out.write(bytes.data() + done, static_cast<std::streamsize>(size));
        done += size;
      }
    }
    // Full put areas with their overflowing character, then the rest when
    // the file is closed.
    std::vector<unsigned> expected(bytes.size() / 303, 303);
    expected.push_back(bytes.size() % 303);
    EXPECT_EQ(log.writeLengths, expected);
    EXPECT_EQ(readThroughStream(file.path()), bytes);
  }
}

}  // namespace
