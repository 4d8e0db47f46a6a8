// SPDX-License-Identifier: MIT
#include "vecml/core/Macros.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "support/Sanitizers.h"

namespace {

using testing::HasSubstr;

// The exact report of a failing check made in this file at `line`.
std::string reportAt(int line, const std::string& tail) {
  return "failed in File: MacrosTest.cpp Line: " + std::to_string(line) + ". " +
         tail + "\n";
}

TEST(Macros, PassingChecksDoNothing) {
  const int dim = 5;
  int i = dim - 1;
  ML_LS_CHK(i, dim);
  ML_LEQ_CHK(dim, dim);
  ML_GEQ_CHK(dim, dim);
  ML_EQ_CHK(i, 4);
  ML_LEQ_CHK(i, dim);
  ML_GEQ_CHK(dim, i);
  SUCCEED();
}

TEST(MacrosDeathTest, LsFailsOnEqualOperands) {
  const int i = 5, dim = 5;
  const auto check = [&] { ML_LS_CHK(i, dim); };
  const int line = __LINE__ - 1;
  EXPECT_DEATH(check(), HasSubstr("ML_LS_CHK " + reportAt(line, "i=5 >= 5")));
}

TEST(MacrosDeathTest, LsReportsTheGivenPosition) {
  const int i = 7, dim = 5;
  EXPECT_DEATH(ML_LS_CHK_AT(i, dim, vecml::detail::kDenseIndexCheck),
               HasSubstr("ML_LS_CHK failed in File: CDenseVector.h Line: 179. "
                         "i=7 >= 5\n"));
}

TEST(MacrosDeathTest, EqPrintsFirstTextAndBothValues) {
  const int n = 3;
  const auto check = [&] { ML_EQ_CHK(n, 4); };
  const int line = __LINE__ - 1;
  EXPECT_DEATH(check(), HasSubstr("ML_EQ_CHK " + reportAt(line, "n=3 != 4")));
}

TEST(MacrosDeathTest, LeqFailsWhenGreater) {
  const int iNbItems = 11, limit = 10;
  const auto check = [&] { ML_LEQ_CHK(iNbItems, limit); };
  const int line = __LINE__ - 1;
  EXPECT_DEATH(check(),
               HasSubstr("ML_LEQ_CHK " + reportAt(line, "iNbItems=11 > 10")));
}

TEST(MacrosDeathTest, GeqFailsWhenLess) {
  const double x = -0.5;
  const auto check = [&] { ML_GEQ_CHK(x, 0); };
  const int line = __LINE__ - 1;
  EXPECT_DEATH(check(),
               HasSubstr("ML_GEQ_CHK " + reportAt(line, "x=-0.5 < 0")));
}

TEST(MacrosDeathTest, FirstOperandTextIsPrintedAsWritten) {
  struct Sized {
    int dimension() const { return 2; }
  } rtVector1;
  const auto check = [&] { ML_EQ_CHK(rtVector1.dimension(), 3); };
  const int line = __LINE__ - 1;
  EXPECT_DEATH(
      check(),
      HasSubstr("ML_EQ_CHK " + reportAt(line, "rtVector1.dimension()=2 != 3")));
}

TEST(MacrosDeathTest, ReportIsTheWholeLine) {
  const int i = 7, dim = 5;
  // Nothing but the report is written before the abort.
  EXPECT_DEATH(
      ML_LS_CHK_AT(i, dim, vecml::detail::kDenseIndexCheck),
      "^ML_LS_CHK failed in File: CDenseVector\\.h Line: 179\\. i=7 >= 5\n$");
}

TEST(MacrosDeathTest, CriticalMessagePrintsPositionThenMessage) {
  const char* message = "Unable to produce CVector object";
  const auto check = [&] { ML_CRITICAL_MSG(message); };
  const int line = __LINE__ - 1;
  EXPECT_DEATH(check(),
               HasSubstr("ML_CRITICAL_MSG in File: MacrosTest.cpp Line: " +
                         std::to_string(line) +
                         "\nUnable to produce CVector object\n\n"));
}

TEST(MacrosDeathTest, CriticalMessageAtGivenPosition) {
  EXPECT_DEATH(ML_CRITICAL_MSG_AT("Unable to produce CVector object",
                                  vecml::detail::kItemInputProduction),
               HasSubstr("ML_CRITICAL_MSG in File: CDatasetItem.h Line: 345\n"
                         "Unable to produce CVector object\n\n"));
}

template <typename T>
class NewArrayTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(NewArrayTest, ElementTypes);

TYPED_TEST(NewArrayTest, ReturnsZeroFilledArray) {
  TypeParam* array = NEWARRAY<TypeParam>(4);
  ASSERT_NE(array, nullptr);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(array[i], TypeParam(0));
  delete[] array;
}

// The array is a plain new[] array: the client releases it with delete[]
// (the address sanitizer reports any other pairing).
TYPED_TEST(NewArrayTest, ClientReleasesWithArrayDelete) {
  for (int n : {1, 7, 17, 63, 65, 129}) {
    TypeParam* array = NEWARRAY<TypeParam>(n);
    array[n - 1] = TypeParam(1);
    delete[] array;
  }
}

TYPED_TEST(NewArrayTest, ZeroCountGivesAnArray) {
  TypeParam* array = NEWARRAY<TypeParam>(0);
  EXPECT_NE(array, nullptr);
  delete[] array;
}

TYPED_TEST(NewArrayTest, NegativeCountIsStandardAllocationFailure) {
  EXPECT_THROW(NEWARRAY<TypeParam>(-1), std::bad_alloc);
}

#ifndef VECML_TESTS_ASAN
// Under a small address-space limit a large request finds no memory, and the
// process exits 0 when NEWARRAY threw its fixed text. (The address sanitizer
// reserves its shadow memory up front, so it cannot run under such a limit.)
[[noreturn]] void allocateUnderSmallLimit() {
  const rlim_t limit = rlim_t(1) << 30;
  const rlimit addressSpace{limit, limit};
  setrlimit(RLIMIT_AS, &addressSpace);
  try {
    double* array = NEWARRAY<double>(1 << 28);  // 2 GiB
    delete[] array;
  } catch (const char* text) {
    std::exit(std::strcmp(
                  text, "Out of memory during allocation of CDenseVector") == 0
                  ? 0
                  : 2);
  }
  std::exit(1);
}

TEST(NewArrayDeathTest, OutOfMemoryThrowsTheFixedText) {
  EXPECT_EXIT(allocateUnderSmallLimit(), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
