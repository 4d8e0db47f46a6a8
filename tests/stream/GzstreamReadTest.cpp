// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ios>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "stream/StreamTestSupport.h"
#include "stream/ZlibCallLog.h"
#include "support/TempFile.h"
#include "vecml/stream/gzstream.h"

namespace {

using traits = std::char_traits<char>;

class GzstreamUnderflowTest : public GzstreamBufferFixture {};

// ---- reading what others wrote ----------------------------------------------

TEST(GzstreamReadTest, ReadsAFileMadeByTheGzipCommand) {
  TempFile plain;
  TempFile compressed;
  const std::string bytes = patternBytes(5000);
  plain.write(bytes);
  compressed.write(gzipWithCommand(plain.path()));
  EXPECT_EQ(readThroughStream(compressed.path()), bytes);
}

TEST(GzstreamReadTest, ReadsFormattedValues) {
  TempFile file;
  writeThroughStream(file.path(), "12 -3.5 word\n");
  igzstream in(file.path().c_str());
  int i = 0;
  double d = 0;
  std::string word;
  in >> i >> d >> word;
  EXPECT_TRUE(in.good());
  EXPECT_EQ(i, 12);
  EXPECT_EQ(d, -3.5);
  EXPECT_EQ(word, "word");
}

TEST(GzstreamReadTest, EmptyCompressedFileEndsAtTheFirstRead) {
  TempFile file;
  { ogzstream out(file.path().c_str()); }
  EXPECT_FALSE(file.contents().empty());
  igzstream in(file.path().c_str());
  EXPECT_TRUE(in.good());
  EXPECT_EQ(in.get(), traits::eof());
  EXPECT_TRUE(in.eof());
  EXPECT_TRUE(in.fail());
  EXPECT_FALSE(in.bad());
}

TEST(GzstreamReadTest, EmptyFileOfTheGzipCommandEndsAtTheFirstRead) {
  TempFile plain;
  TempFile compressed;
  plain.write("");
  compressed.write(gzipWithCommand(plain.path()));
  igzstream in(compressed.path().c_str());
  EXPECT_EQ(in.rdbuf()->sgetc(), traits::eof());
}

// zlib reads files that are not gzip-compressed as they are.
TEST(GzstreamReadTest, PlainFileReadsUnchanged) {
  TempFile file;
  file.write("not compressed\n");
  EXPECT_EQ(readThroughStream(file.path()), "not compressed\n");
}

// ---- gzread calls -----------------------------------------------------------

TEST_F(GzstreamUnderflowTest, EachRefillAsksFor299BytesBehindThePutbackArea) {
  const std::string bytes = patternBytes(1000);
  compressIntoFile(bytes);
  ASSERT_TRUE(openBuffer(std::ios::in));

  ASSERT_EQ(buffer.sgetc(), traits::to_int_type(bytes[0]));
  const char* const dataStart = buffer.readPosition();
  EXPECT_EQ(buffer.putbackAvailable(), 0);
  EXPECT_EQ(buffer.unreadInGetArea(), 299);

  std::string read;
  for (int c; (c = buffer.sbumpc()) != traits::eof();)
    read.push_back(traits::to_char_type(c));
  EXPECT_EQ(read, bytes);
  // Four full refills, one of 103 bytes, and the one that finds the end.
  EXPECT_EQ(log.readLengths, std::vector<unsigned>(5, 299));
  EXPECT_EQ(log.readTargets, std::vector<const void*>(5, dataStart));
}

TEST_F(GzstreamUnderflowTest, ReturnsTheCurrentCharacterWithoutReading) {
  writeThroughStream(file.path(),
                     "\xff"
                     "b");
  ASSERT_TRUE(openBuffer(std::ios::in));
  EXPECT_EQ(buffer.underflow(), 0xff);
  EXPECT_EQ(buffer.underflow(), 0xff);
  EXPECT_EQ(log.readLengths.size(), 1u);
}

TEST_F(GzstreamUnderflowTest, BufferOpenForOutputDoesNotRead) {
  ASSERT_TRUE(openBuffer(std::ios::out));
  EXPECT_EQ(buffer.underflow(), traits::eof());
  EXPECT_EQ(buffer.sgetc(), traits::eof());
  EXPECT_TRUE(log.readLengths.empty());
}

TEST_F(GzstreamUnderflowTest, ClosedBufferDoesNotRead) {
  EXPECT_EQ(buffer.underflow(), traits::eof());
  EXPECT_EQ(buffer.sbumpc(), traits::eof());
}

TEST(GzstreamReadTest, StreamsCannotSeek) {
  TempFile file;
  writeThroughStream(file.path(), "abc");
  igzstream in(file.path().c_str());
  EXPECT_EQ(in.tellg(), std::streampos(-1));
  in.seekg(1);
  EXPECT_TRUE(in.fail());
}

// ---- putback across refills -------------------------------------------------

struct PutbackCase {
  unsigned chunk;      // bytes gzread delivers per call
  int charactersRead;  // read before the refill, a multiple of chunk
};

void PrintTo(const PutbackCase& c, std::ostream* os) {
  *os << c.charactersRead << " read in chunks of " << c.chunk;
}

class GzstreamRefillPutbackTest
    : public GzstreamBufferFixture,
      public testing::WithParamInterface<PutbackCase> {};

TEST_P(GzstreamRefillPutbackTest,
       UpToFourCharactersReadCanBePutBackAcrossARefill) {
  const PutbackCase c = GetParam();
  const std::string bytes = patternBytes(700);
  compressIntoFile(bytes);
  log.readLimit = c.chunk;
  ASSERT_TRUE(openBuffer(std::ios::in));
  for (int i = 0; i < c.charactersRead; ++i) buffer.sbumpc();
  const std::size_t refills = log.readLengths.size();
  ASSERT_EQ(buffer.sgetc(), traits::to_int_type(bytes[c.charactersRead]));
  ASSERT_EQ(log.readLengths.size(), refills + 1) << "sgetc refilled";

  const int expected = std::min(c.charactersRead, 4);
  for (int i = 1; i <= expected; ++i)
    EXPECT_EQ(buffer.sungetc(),
              traits::to_int_type(bytes[c.charactersRead - i]));
  EXPECT_EQ(buffer.sungetc(), traits::eof());
  for (int i = expected; i > 0; --i)
    EXPECT_EQ(buffer.sbumpc(),
              traits::to_int_type(bytes[c.charactersRead - i]));
  EXPECT_EQ(buffer.sbumpc(), traits::to_int_type(bytes[c.charactersRead]));
}

INSTANTIATE_TEST_SUITE_P(ChunksAndCounts, GzstreamRefillPutbackTest,
                         testing::Values(PutbackCase{1, 1}, PutbackCase{1, 3},
                                         PutbackCase{2, 2}, PutbackCase{2, 4},
                                         PutbackCase{2, 6}, PutbackCase{3, 3},
                                         PutbackCase{3, 6}, PutbackCase{5, 5},
                                         PutbackCase{299, 299},
                                         PutbackCase{299, 598}));

TEST(GzstreamPutbackTest, NothingCanBePutBackBeforeTheFirstCharacter) {
  TempFile file;
  writeThroughStream(file.path(), "abc");
  igzstream in(file.path().c_str());
  EXPECT_EQ(in.peek(), 'a');
  in.unget();
  EXPECT_TRUE(in.bad());
}

TEST(GzstreamPutbackTest, StreamUngetsAcrossARefill) {
  TempFile file;
  const std::string bytes = patternBytes(600);
  writeThroughStream(file.path(), bytes);
  igzstream in(file.path().c_str());
  std::string first(299, '\0');
  in.read(&first[0], 299);
  EXPECT_EQ(in.peek(), traits::to_int_type(bytes[299]));
  for (int i = 0; i < 4; ++i) in.unget();
  EXPECT_TRUE(in.good());
  EXPECT_EQ(in.get(), traits::to_int_type(bytes[295]));
}

// ---- damaged files ----------------------------------------------------------

// Reading a damaged file must end with end-of-file and never crash.
void expectReadEndsCleanly(const std::string& path) {
  igzstream in(path.c_str());
  in.ignore(std::numeric_limits<std::streamsize>::max());
  EXPECT_TRUE(in.eof());
  EXPECT_EQ(in.get(), traits::eof());
  EXPECT_TRUE(in.fail());
}

std::string compressedPattern(std::size_t count) {
  TempFile plain;
  plain.write(patternBytes(count));
  return gzipWithCommand(plain.path());
}

TEST(GzstreamDamagedFileTest, TruncatedFileYieldsAPrefixAndEnds) {
  const std::string bytes = patternBytes(20000);
  const std::string whole = compressedPattern(bytes.size());
  // The cuts fall in the header, in the compressed data, and in the
  // trailer that follows the data.
  for (std::size_t keep :
       {std::size_t{2}, std::size_t{5}, std::size_t{10}, std::size_t{11},
        whole.size() / 2, whole.size() - 8, whole.size() - 1}) {
    SCOPED_TRACE(keep);
    TempFile file;
    file.write(whole.substr(0, keep));
    const std::string read = readThroughStream(file.path());
    EXPECT_LE(read.size(), bytes.size());
    EXPECT_EQ(read, bytes.substr(0, read.size()));
    if (keep <= whole.size() / 2) {
      EXPECT_LT(read.size(), bytes.size());
    }
    expectReadEndsCleanly(file.path());
  }
}

TEST(GzstreamDamagedFileTest, CorruptedDataEndsTheInput) {
  const std::string bytes = patternBytes(20000);
  const std::string whole = compressedPattern(bytes.size());
  for (std::size_t at : {std::size_t{3}, std::size_t{12}, whole.size() / 3,
                         whole.size() / 2, whole.size() - 6}) {
    SCOPED_TRACE(at);
    std::string damaged = whole;
    for (std::size_t i = at; i < at + 4 && i < damaged.size(); ++i)
      damaged[i] = static_cast<char>(~damaged[i]);
    TempFile file;
    file.write(damaged);
    expectReadEndsCleanly(file.path());
  }
}

// zlib reports the bad second header in place of the data of the same
// gzread, so the input ends at an earlier refill.
TEST(GzstreamDamagedFileTest, TrailingGarbageEndsTheInput) {
  const std::string bytes = patternBytes(1000);
  TempFile file;
  file.write(compressedPattern(bytes.size()) + "\x1f\x8bgarbage");
  const std::string read = readThroughStream(file.path());
  EXPECT_EQ(read, bytes.substr(0, read.size()));
  expectReadEndsCleanly(file.path());
}

}  // namespace
