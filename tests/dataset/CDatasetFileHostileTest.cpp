// SPDX-License-Identifier: MIT
// The validating file reader on hostile files: devices, FIFOs, directories,
// small files that inflate to GiBs, bytes after the gzip member and an
// extreme grow size. Each read returns promptly with its message, and its
// peak memory stays within 10 times the file's size plus 16 MiB.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "dataset/CDatasetFileTestSupport.h"
#include "support/InflatingGzip.h"
#include "support/PeakMemory.h"
#include "support/Sanitizers.h"
#include "support/TempFile.h"
#include "vecml/dataset/CDataset.h"

namespace {

using namespace dataset_file_test;

const std::string kPrefix = "CDataset::read(): ";
// A death-test child that has not finished by then is killed by SIGALRM.
constexpr unsigned kWatchdogSeconds = 20;

// In a death-test child under a watchdog: reads `path` with the validating
// reader into a sentinel dataset and exits 0 when it was rejected with
// `expected`, the dataset is unchanged and the peak memory stayed in bounds.
[[noreturn]] void rejectsWithinBounds(const std::string& path,
                                      const std::string& expected) {
  alarm(kWatchdogSeconds);
  CDataset<float> data = sentinelDataset<float>();
  std::string error;
  bool read = true;
  const long long growth =
      peakGrowth([&] { read = data.read(path.c_str(), error); });
  if (read || error != expected) {
    std::fprintf(stderr, "read %d, message: %s\n", read, error.c_str());
    std::exit(1);
  }
  expectSentinel(data);
  if (testing::Test::HasFailure()) std::exit(2);
#ifndef VECML_TESTS_ASAN
  // The address sanitizer's allocator keeps freed blocks in quarantine and
  // its shadow memory grows with every allocation, so only plain builds
  // hold the reader to the bound.
  struct stat status {};
  const long long fileBytes =
      stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)
          ? status.st_size
          : 0;
  const long long bound = 10 * fileBytes + (16ll << 20);
  if (growth > bound) {
    std::fprintf(stderr, "peak memory grew by %lld bytes, bound %lld\n", growth,
                 bound);
    std::exit(3);
  }
#else
  (void)growth;
#endif
  std::exit(0);
}

void expectRejectedWithinBounds(const std::string& path,
                                const std::string& reason) {
  EXPECT_EXIT(rejectsWithinBounds(path, kPrefix + reason + "; file: " + path),
              testing::ExitedWithCode(0), "");
}

// A record with the tag "CDataset 0.2".
std::string wrongTagHead() {
  return RecordBytes().cString("CDataset 0.2").str();
}

TEST(CDatasetFileHostileDeathTest, RefusesADeviceWithoutReadingIt) {
  expectRejectedWithinBounds("/dev/zero",
                             "not a regular file (a device, pipe or socket)");
}

TEST(CDatasetFileHostileDeathTest, RefusesAFifoWithoutWaitingForAWriter) {
  TempFile fifo;
  ASSERT_EQ(mkfifo(fifo.path().c_str(), 0600), 0);
  expectRejectedWithinBounds(fifo.path(),
                             "not a regular file (a device, pipe or socket)");
}

TEST(CDatasetFileHostileDeathTest, RefusesADirectory) {
  TempFile directory;
  ASSERT_EQ(mkdir(directory.path().c_str(), 0700), 0);
  expectRejectedWithinBounds(directory.path(), "the file is a directory");
  rmdir(directory.path().c_str());
}

// A 16 MiB file inflating to 16 GiB, which takes far longer than the
// watchdog allows to inflate: the tag decides after 17 bytes.
TEST(CDatasetFileHostileDeathTest, RejectsAWrongTagBeforeTheDataInflate) {
  TempFile file;
  file.write(inflating_gzip::gzipWithRun(wrongTagHead(), 0, 16384));
  ASSERT_LT(file.contents().size(), std::size_t(17) << 20);
  expectRejectedWithinBounds(
      file.path(), "wrong file type: the tag is not \"CDataset 0.1\"");
}

TEST(CDatasetFileHostileDeathTest, RejectsABadHeaderBeforeTheDataInflate) {
  TempFile file;
  file.write(inflating_gzip::gzipWithRun(recordHeader(-1, 1, 1, 0).str(), 0xff,
                                         16384));
  expectRejectedWithinBounds(file.path(), "negative item count -1");
}

// Bytes after the record in the inflated data are found after one more
// block of output, not after inflating the rest.
TEST(CDatasetFileHostileDeathTest, RejectsInflatingDataAfterTheRecord) {
  TempFile file;
  file.write(inflating_gzip::gzipWithRun(smallRecord(), 0, 16384));
  expectRejectedWithinBounds(file.path(), "data continue after the last item");
}

TEST(CDatasetFileHostileDeathTest, RejectsBytesAfterTheGzipMember) {
  const std::string member = inflating_gzip::gzipWithRun(smallRecord(), 0, 0);
  for (const std::string& after :
       {std::string("GARBAGE\n"), std::string(1, '\0'), member}) {
    TempFile file;
    file.write(member + after);
    expectRejectedWithinBounds(file.path(),
                               "data continue after the gzip stream");
  }
}

TEST(CDatasetFileHostileDeathTest, RejectsAWrongCrcOrLength) {
  const std::string member = inflating_gzip::gzipWithRun(smallRecord(), 0, 0);
  for (const std::size_t fromEnd : {8u, 1u}) {
    std::string damaged = member;
    damaged[damaged.size() - fromEnd] ^= 1;
    TempFile file;
    file.write(damaged);
    expectRejectedWithinBounds(file.path(),
                               "broken gzip stream (corrupt or cut-off data)");
  }
}

TEST(CDatasetFileHostile, AcceptsTheMemberBuiltForTheseTests) {
  TempFile file;
  file.write(inflating_gzip::gzipWithRun(smallRecord(), 0, 0));
  CDataset<float> data;
  std::string error;
  ASSERT_TRUE(data.read(file.path().c_str(), error)) << error;
  expectSmallDataset(data);
}

// --- Grow size ------------------------------------------------------------
#ifndef VECML_TESTS_ASAN

// The small record with grow size 2,147,483,647.
std::string largestGrowSizeRecord() {
  std::string record = smallRecord();
  record.replace(kCountOffset + 4, 4, bytesOf(std::int32_t(INT_MAX)));
  return record;
}

void appendAfterReading(CDataset<double>& data) {
  std::istringstream in(largestGrowSizeRecord());
  std::string error;
  ASSERT_TRUE(data.read(in, error)) << error;
  EXPECT_EQ(data.growSize(), INT_MAX);
  const CDatasetItem<double> item(CDenseVector<double>(2, 1.0),
                                  CDenseVector<double>(1));
  EXPECT_NO_THROW(data.appendItem(item));
  EXPECT_NO_THROW(data.insertItem(0, item));
  EXPECT_EQ(data.items(), kSmallItems + 2);
}

// In a death-test child under a 1 GiB address-space limit, where the grow
// size's reservation surely fails: exits 0 when the appends after reading
// worked. (The address sanitizer reserves its shadow memory up front, so
// it cannot run under such a limit, and by default it aborts on a failed
// allocation instead of throwing std::bad_alloc; valgrind cannot throw it
// either, and it runs no death tests.)
[[noreturn]] void appendAfterReadingTheLargestGrowSize() {
  const rlim_t limit = rlim_t(1) << 30;
  const rlimit addressSpace{limit, limit};
  setrlimit(RLIMIT_AS, &addressSpace);
  CDataset<double> data;
  appendAfterReading(data);
  std::exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST(CDatasetFileHostileDeathTest, AppendsAfterReadingTheLargestGrowSize) {
  EXPECT_EXIT(appendAfterReadingTheLargestGrowSize(),
              testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
