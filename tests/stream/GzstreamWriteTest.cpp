// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <ios>
#include <random>
#include <string>
#include <vector>

#include "stream/StreamTestSupport.h"
#include "stream/ZlibCallLog.h"
#include "support/TempFile.h"
#include "vecml/stream/gzstream.h"

namespace {

using traits = std::char_traits<char>;

class GzstreamPutAreaTest : public GzstreamBufferFixture {};
class GzstreamSyncTest : public GzstreamBufferFixture {};
class GzstreamOverflowTest : public GzstreamBufferFixture {};

// ---- what lands in the file -------------------------------------------------

TEST(GzstreamWriteTest, GzipCommandDecompressesWhatWasWritten) {
  TempFile file;
  const std::string bytes = patternBytes(10000);
  writeThroughStream(file.path(), bytes);
  EXPECT_EQ(gunzipWithCommand(file.path()), bytes);
}

TEST(GzstreamWriteTest, FormattedOutputRoundTrips) {
  TempFile file;
  {
    ogzstream out(file.path().c_str());
    out << 42 << ' ' << -0.25 << " text\n";
    EXPECT_TRUE(out.good());
  }
  EXPECT_EQ(gunzipWithCommand(file.path()), "42 -0.25 text\n");
  EXPECT_EQ(readThroughStream(file.path()), "42 -0.25 text\n");
}

TEST(GzstreamWriteTest, OpeningForOutputReplacesTheFile) {
  TempFile file;
  writeThroughStream(file.path(), "a longer first content");
  writeThroughStream(file.path(), "short");
  EXPECT_EQ(readThroughStream(file.path()), "short");
}

TEST(GzstreamWriteTest, FlushReachesTheCompressorButOnlyCloseCompletesTheFile) {
  TempFile file;
  ogzstream out(file.path().c_str());
  out << "pending";
  out.flush();
  EXPECT_TRUE(out.good());
  EXPECT_EQ(out.rdbuf()->flush_buffer(), 0) << "nothing left in the buffer";
  EXPECT_NE(readThroughStream(file.path()), "pending");
  out.close();
  EXPECT_EQ(readThroughStream(file.path()), "pending");
}

// ---- gzwrite calls ----------------------------------------------------------

TEST_F(GzstreamPutAreaTest, Holds302Characters) {
  EXPECT_EQ(buffer.putAreaSize(), 302);
  ASSERT_TRUE(openBuffer(std::ios::out));
  EXPECT_EQ(buffer.putAreaSize(), 302);
}

TEST_F(GzstreamPutAreaTest, The303rdCharacterTriggersOneGzwriteOf303Bytes) {
  const std::string bytes = patternBytes(303);
  ASSERT_TRUE(openBuffer(std::ios::out));
  for (int i = 0; i < 302; ++i)
    ASSERT_EQ(buffer.sputc(bytes[i]), traits::to_int_type(bytes[i]));
  EXPECT_TRUE(log.writeLengths.empty());
  EXPECT_EQ(buffer.pending(), 302);

  EXPECT_EQ(buffer.sputc(bytes[302]), traits::to_int_type(bytes[302]));
  EXPECT_EQ(log.writeLengths, std::vector<unsigned>{303});
  EXPECT_EQ(buffer.pending(), 0);

  ASSERT_NE(buffer.close(), nullptr);
  EXPECT_EQ(log.writeLengths, std::vector<unsigned>{303}) << "nothing pending";
  EXPECT_EQ(gunzipWithCommand(file.path()), bytes);
}

TEST_F(GzstreamPutAreaTest, StreamHandsZlibAtMost303BytesPerCall) {
  const std::string bytes = patternBytes(1000);
  writeThroughStream(file.path(), bytes);
  // Three full put areas with their overflowing character, then the rest
  // when the destructor closes the file.
  EXPECT_EQ(log.writeLengths, (std::vector<unsigned>{303, 303, 303, 91}));
  EXPECT_EQ(gunzipWithCommand(file.path()), bytes);
}

TEST_F(GzstreamPutAreaTest, FlushBufferWritesThePendingBytesInOneCall) {
  ASSERT_TRUE(openBuffer(std::ios::out));
  buffer.sputn("hello", 5);
  EXPECT_EQ(buffer.flush_buffer(), 5);
  EXPECT_EQ(buffer.pending(), 0);
  EXPECT_EQ(log.writeLengths, std::vector<unsigned>{5});
}

TEST_F(GzstreamPutAreaTest, FlushBufferOnAClosedBufferKeepsThePendingBytes) {
  buffer.sputn("abc", 3);
  EXPECT_EQ(buffer.flush_buffer(), traits::eof());
  EXPECT_EQ(buffer.sync(), -1);
  EXPECT_EQ(buffer.pending(), 3);
  EXPECT_TRUE(log.writeLengths.empty());
}

// ---- sync -------------------------------------------------------------------

TEST_F(GzstreamSyncTest, NothingPendingReturnsZeroWithoutWriting) {
  EXPECT_EQ(buffer.sync(), 0);
  ASSERT_TRUE(openBuffer(std::ios::out));
  EXPECT_EQ(buffer.sync(), 0);
  EXPECT_TRUE(log.writeLengths.empty());
}

TEST_F(GzstreamSyncTest, FailedWriteReturnsMinusOneAndKeepsThePendingBytes) {
  log.failingWrites = 1;
  ASSERT_TRUE(openBuffer(std::ios::out));
  buffer.sputn("abcde", 5);
  EXPECT_EQ(buffer.sync(), -1);
  EXPECT_EQ(buffer.pending(), 5);
  EXPECT_EQ(buffer.sync(), 0);
  EXPECT_EQ(buffer.pending(), 0);
  EXPECT_EQ(log.writeLengths, (std::vector<unsigned>{5, 5}));
  ASSERT_NE(buffer.close(), nullptr);
  EXPECT_EQ(gunzipWithCommand(file.path()), "abcde");
}

TEST_F(GzstreamSyncTest, FailedFlushSetsTheStreamsBadBit) {
  log.failingWrites = 1;
  ogzstream out(file.path().c_str());
  out << "abc";
  out.flush();
  EXPECT_TRUE(out.bad());
}

TEST_F(GzstreamSyncTest, BufferOpenForInputHasNothingToSync) {
  compressIntoFile("abc");
  ASSERT_TRUE(openBuffer(std::ios::in));
  EXPECT_EQ(buffer.sync(), 0);
  EXPECT_TRUE(log.writeLengths.empty());
}

// ---- overflow ---------------------------------------------------------------

TEST_F(GzstreamOverflowTest, AppendsTheCharacterAndWritesEverything) {
  ASSERT_TRUE(openBuffer(std::ios::out));
  buffer.sputn("ab", 2);
  EXPECT_EQ(buffer.overflow('c'), 'c');
  EXPECT_EQ(buffer.pending(), 0);
  EXPECT_EQ(log.writeLengths, std::vector<unsigned>{3});
  ASSERT_NE(buffer.close(), nullptr);
  EXPECT_EQ(gunzipWithCommand(file.path()), "abc");
}

TEST_F(GzstreamOverflowTest, EndOfFileFlushesAndIsReturnedAsIs) {
  ASSERT_TRUE(openBuffer(std::ios::out));
  buffer.sputn("ab", 2);
  EXPECT_EQ(buffer.overflow(traits::eof()), traits::eof());
  EXPECT_EQ(buffer.pending(), 0);
  EXPECT_EQ(buffer.overflow(traits::eof()), traits::eof());
  EXPECT_EQ(log.writeLengths, (std::vector<unsigned>{2, 0}));
  ASSERT_NE(buffer.close(), nullptr);
  EXPECT_EQ(gunzipWithCommand(file.path()), "ab");
}

TEST_F(GzstreamOverflowTest, BufferNotOpenForOutputRefuses) {
  compressIntoFile("abc");
  EXPECT_EQ(buffer.overflow('x'), traits::eof());
  ASSERT_TRUE(openBuffer(std::ios::in));
  EXPECT_EQ(buffer.overflow('x'), traits::eof());
  EXPECT_EQ(buffer.pending(), 0);
  EXPECT_TRUE(log.writeLengths.empty());
}

TEST_F(GzstreamOverflowTest, FailedWriteKeepsAll303BytesPending) {
  const std::string bytes = patternBytes(304);
  log.failingWrites = 1;
  ASSERT_TRUE(openBuffer(std::ios::out));
  buffer.sputn(bytes.data(), 302);
  EXPECT_EQ(buffer.sputc(bytes[302]), traits::eof());
  EXPECT_EQ(buffer.pending(), 303);

  // The next character first retries the pending bytes, then goes alone.
  EXPECT_EQ(buffer.sputc(bytes[303]), traits::to_int_type(bytes[303]));
  EXPECT_EQ(buffer.pending(), 0);
  EXPECT_EQ(log.writeLengths, (std::vector<unsigned>{303, 303, 1}));
  ASSERT_NE(buffer.close(), nullptr);
  EXPECT_EQ(gunzipWithCommand(file.path()), bytes);
}

TEST_F(GzstreamOverflowTest, LastingFailureNeverWritesPastTheBuffer) {
  log.failingWrites = 1000;
  ASSERT_TRUE(openBuffer(std::ios::out));
  for (int i = 0; i < 400; ++i) buffer.sputc('x');
  EXPECT_EQ(buffer.pending(), 303);
  EXPECT_EQ(buffer.overflow('y'), traits::eof());
  EXPECT_EQ(buffer.pending(), 303);
  EXPECT_EQ(buffer.sync(), -1);
}

TEST_F(GzstreamOverflowTest, FailedWriteSetsTheStreamsBadBit) {
  log.failingWrites = 1;
  ogzstream out(file.path().c_str());
  const std::string bytes = patternBytes(400);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(out.bad());
}

// A device that takes no data makes zlib itself fail once its own buffers
// fill; the stream goes bad without touching memory past its buffer.
TEST_F(GzstreamOverflowTest, FullDeviceMakesTheStreamBad) {
  const unsigned seed = 20240601;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  std::string noise(1 << 20, '\0');
  for (char& c : noise) c = static_cast<char>(random());

  ogzstream out("/dev/full");
  ASSERT_TRUE(out.good()) << "/dev/full cannot be opened";
  out.write(noise.data(), static_cast<std::streamsize>(noise.size()));
  EXPECT_TRUE(out.bad());
  for (int i = 0; i < 400; ++i) out.rdbuf()->sputc('x');
  out.close();
  EXPECT_FALSE(out.rdbuf()->is_open());
}

}  // namespace
