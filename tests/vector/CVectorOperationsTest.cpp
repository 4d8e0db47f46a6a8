// SPDX-License-Identifier: MIT
#include "vecml/vector/CVectorOperations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "support/CaptureOutput.h"
#include "vecml/core/CException.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CSparseVector.h"
#include "vector/SparseTestHelpers.h"

namespace {

using testing::HasSubstr;

template <typename T>
class CVectorOperationsTest : public testing::Test {};
using ElementTypes = testing::Types<int, float, double>;
TYPED_TEST_SUITE(CVectorOperationsTest, ElementTypes);

template <typename T>
class CVectorOperationsFloatingTest : public testing::Test {};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(CVectorOperationsFloatingTest, FloatingTypes);

template <typename T>
const CVectorOperations<T>& ops() {
  return CVectorOperations<T>::getInstance();
}

// ---- operands of every kind ------------------------------------------------

enum class Kind { Sparse, Dense };

// A combination of operand kinds and the table entry that serves it.
struct KindPair {
  Kind first;
  Kind second;
  int index;
  const char* name;
};

constexpr KindPair kKindPairs[] = {
    {Kind::Sparse, Kind::Sparse, 0, "sparse/sparse"},
    {Kind::Sparse, Kind::Dense, 1, "sparse/dense"},
    {Kind::Dense, Kind::Sparse, 2, "dense/sparse"},
    {Kind::Dense, Kind::Dense, 3, "dense/dense"},
};

// A vector of the given kind holding \p values; a sparse one stores the
// non-zero values.
template <typename T>
std::unique_ptr<CVector<T>> make(Kind kind, const std::vector<T>& values) {
  if (kind == Kind::Sparse)
    return std::make_unique<CSparseVector<T>>(sparseOf(values));
  return std::make_unique<CDenseVector<T>>(values);
}

template <typename T>
std::vector<int> storedIndices(const CVector<T>& v) {
  std::vector<int> indices;
  for (const auto& entry : dynamic_cast<const CSparseVector<T>&>(v))
    indices.push_back(entry.first);
  return indices;
}

template <typename T>
std::string describe(const std::vector<T>& values) {
  std::ostringstream text;
  text << "(";
  for (std::size_t i = 0; i < values.size(); ++i)
    text << (i ? ", " : "") << values[i];
  text << ")";
  return text.str();
}

template <typename T>
struct Operands {
  std::vector<T> a, b;
};

constexpr unsigned kSeed = 20240611;

// About four in ten values are 0, the others -5..5, scaled for floating
// types by an inexact factor so that rounding takes part. The kernels visit
// positions in ascending order like the references below, and a skipped 0
// term leaves a sum unchanged, so the results still compare exactly.
template <typename T>
std::vector<T> randomValues(std::mt19937& generator, int n) {
  std::uniform_int_distribution<int> draw(-8, 8);
  const T scale = std::is_same_v<T, int> ? T(1) : T(0.37);
  std::vector<T> values;
  for (int i = 0; i < n; ++i) {
    const int r = draw(generator);
    values.push_back(static_cast<T>(std::abs(r) > 5 ? 0 : r) * scale);
  }
  return values;
}

template <typename T>
std::vector<Operands<T>> operandCases() {
  std::vector<Operands<T>> cases = {
      {{}, {}},
      {{0, 0, 0}, {0, 0, 0}},
      {{1, 0}, {0, 0}},
      {{0, 2, -3, 0, 5, 1}, {4, 0, 6, 0, -2, 3}},
  };
  std::mt19937 generator(kSeed);
  for (int n = 1; n <= 12; ++n)
    cases.push_back(
        {randomValues<T>(generator, n), randomValues<T>(generator, n)});
  return cases;
}

// \p values with every 0 replaced, so that it can divide.
template <typename T>
std::vector<T> nonZeroDivisor(std::vector<T> values) {
  for (std::size_t i = 0; i < values.size(); ++i)
    if (values[i] == T(0)) values[i] = (i % 2) ? T(2) : T(-3);
  return values;
}

// Calls check(operands, kinds) for every case and every kind pair.
template <typename T, typename Check>
void forEveryKindPair(const std::vector<Operands<T>>& cases, Check check) {
  for (const Operands<T>& operands : cases) {
    for (const KindPair& kinds : kKindPairs) {
      SCOPED_TRACE(std::string(kinds.name) + " a=" + describe(operands.a) +
                   " b=" + describe(operands.b) + " (random cases seeded " +
                   std::to_string(kSeed) + ")");
      check(operands, kinds);
    }
  }
}

// ---- naive dense references ------------------------------------------------

template <typename T>
T referenceScalarProduct(const std::vector<T>& a, const std::vector<T>& b) {
  T sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
  return sum;
}

template <typename T>
T referenceSquaredDistance(const std::vector<T>& a, const std::vector<T>& b) {
  T sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    sum += (b[i] - a[i]) * (b[i] - a[i]);
  return sum;
}

// Square root in T; the int root is taken in double and truncated.
template <typename T>
T rootOf(T value) {
  if constexpr (std::is_same_v<T, int>)
    return static_cast<int>(std::sqrt(static_cast<double>(value)));
  else
    return std::sqrt(value);
}

template <typename T>
T referenceCoCosine(const std::vector<T>& a, const std::vector<T>& b) {
  const T ab = referenceScalarProduct(a, b);
  const T aa = referenceScalarProduct(a, a);
  const T bb = referenceScalarProduct(b, b);
  if (!(aa * bb > 0)) return ab;
  if constexpr (std::is_same_v<T, int>)
    return static_cast<int>(ab / std::sqrt(static_cast<double>(aa * bb)));
  else
    return ab / std::sqrt(aa * bb);
}

template <typename T, typename Op>
std::vector<T> elementwise(const std::vector<T>& a, const std::vector<T>& b,
                           Op op) {
  std::vector<T> result;
  for (std::size_t i = 0; i < a.size(); ++i) result.push_back(op(a[i], b[i]));
  return result;
}

// One adapted element, step by step: for int each float product is
// truncated toward zero on its own; otherwise the floats are widened to T
// and nothing is fused.
template <typename T>
T referenceAdapt(T dst, T src, float rate, float keep) {
  if constexpr (std::is_same_v<T, int>) {
    const int moved = static_cast<int>(rate * static_cast<float>(src));
    if (keep == 1.0f) return dst + moved;
    return static_cast<int>(keep * static_cast<float>(dst)) + moved;
  } else {
    const T moved = static_cast<T>(rate) * src;
    if (keep == 1.0f) return dst + moved;
    const T kept = static_cast<T>(keep) * dst;
    return kept + moved;
  }
}

template <typename T>
std::vector<T> referenceAdaptAll(const std::vector<T>& dst,
                                 const std::vector<T>& src, float rate,
                                 float keep) {
  return elementwise(
      dst, src, [&](T d, T s) { return referenceAdapt(d, s, rate, keep); });
}

// The message of the CException that \p call throws ("" when none), with
// the exception's trace on standard output kept out of the test log.
template <typename Call>
std::string cexceptionMessage(Call call) {
  std::string message;
  captureStdout([&] {
    try {
      call();
    } catch (const CException& e) {
      message = e.what();
    }
  });
  return message;
}

// The const char* that \p call throws ("" when none).
template <typename Call>
std::string thrownText(Call call) {
  try {
    call();
  } catch (const char* text) {
    return text;
  }
  return "";
}

constexpr char kSparseAdaptMessage[] =
    "Adaptation of sparse vectors is not supported.";

// ---- the dispatch table, operation by operation ----------------------------

TYPED_TEST(CVectorOperationsTest, IndexOfEveryKindPair) {
  using T = TypeParam;
  for (const KindPair& kinds : kKindPairs) {
    SCOPED_TRACE(kinds.name);
    const auto a = make<T>(kinds.first, {1, 0});
    const auto b = make<T>(kinds.second, {0, 1});
    EXPECT_EQ(ops<T>().getIndex(typeid(*a), typeid(*b)), kinds.index);
  }
}

// Checks call(a, b) against reference(values of a, values of b) for every
// case and kind pair.
template <typename T, typename Call, typename Reference>
void checkScalarCall(const std::vector<Operands<T>>& cases, Call call,
                     Reference reference) {
  const auto check = [&](const Operands<T>& c, const KindPair& kinds) {
    const auto a = make(kinds.first, c.a);
    const auto b = make(kinds.second, c.b);
    EXPECT_EQ(call(*a, *b), reference(c.a, c.b));
  };
  forEveryKindPair(cases, check);
}

template <typename T>
using ScalarGetter = typename CVectorOperations<T>::ScalarFunction (
    CVectorOperations<T>::*)(const CVector<T>&, const CVector<T>&) const;

// Checks one of the scalar rows: the kernel that \p getter picks, and the
// member that calls it.
template <typename T, typename Member, typename Reference>
void checkScalarRow(const std::vector<Operands<T>>& cases,
                    ScalarGetter<T> getter, Member member,
                    Reference reference) {
  const auto kernel = [getter](const CVector<T>& a, const CVector<T>& b) {
    return (ops<T>().*getter)(a, b)(a, b);
  };
  checkScalarCall(cases, kernel, reference);
  checkScalarCall(cases, member, reference);
}

template <typename T>
T memberProduct(const CVector<T>& a, const CVector<T>& b) {
  return a * b;
}
template <typename T>
T memberSquaredDistance(const CVector<T>& a, const CVector<T>& b) {
  return a.euclideanDistance(b, true);
}
template <typename T>
T memberDistance(const CVector<T>& a, const CVector<T>& b) {
  return a.euclideanDistance(b, false);
}
template <typename T>
T memberCoCosine(const CVector<T>& a, const CVector<T>& b) {
  return a.coCosineDistance(b);
}

// A reference that expects \p value whatever the operands.
template <typename T>
auto always(T value) {
  return
      [value](const std::vector<T>&, const std::vector<T>&) { return value; };
}

TYPED_TEST(CVectorOperationsTest, ScalarProduct) {
  using T = TypeParam;
  checkScalarRow<T>(operandCases<T>(), &CVectorOperations<T>::getScalarProduct,
                    memberProduct<T>, referenceScalarProduct<T>);
}

TYPED_TEST(CVectorOperationsTest, EuclideanDistance) {
  using T = TypeParam;
  checkScalarRow<T>(operandCases<T>(),
                    &CVectorOperations<T>::getEuclideanDistance,
                    memberSquaredDistance<T>, referenceSquaredDistance<T>);
  checkScalarCall(operandCases<T>(), memberDistance<T>,
                  [](const std::vector<T>& a, const std::vector<T>& b) {
                    return rootOf(referenceSquaredDistance(a, b));
                  });
}

TYPED_TEST(CVectorOperationsTest, CoCosineDistance) {
  using T = TypeParam;
  checkScalarRow<T>(operandCases<T>(),
                    &CVectorOperations<T>::getCoCosineDistance,
                    memberCoCosine<T>, referenceCoCosine<T>);
}

// A sparse destination keeps its stored indices in the in-place kernels.
template <typename T>
void expectDestinationEntriesKept(const CVector<T>& dst, const KindPair& kinds,
                                  const std::vector<T>& original) {
  if (kinds.first == Kind::Sparse) {
    EXPECT_EQ(storedIndices(dst), storedIndices(sparseOf(original)));
  }
}

// Runs the product or division row against \p op per element: the getter,
// and apply(dst, src) called once with the destination as CVector<T> and
// once as its concrete class, so that both member overloads are reached.
template <typename T, typename Getter, typename Apply, typename Op>
void checkInPlace(const std::vector<Operands<T>>& cases, Getter getter,
                  Apply apply, Op op) {
  forEveryKindPair(cases, [&](const Operands<T>& c, const KindPair& kinds) {
    const auto src = make(kinds.second, c.b);
    const std::vector<T> expected = elementwise(c.a, c.b, op);

    const auto viaGetter = make(kinds.first, c.a);
    (ops<T>().*getter)(*viaGetter, *src)(*viaGetter, *src);
    EXPECT_EQ(valuesOf(*viaGetter), expected);
    expectDestinationEntriesKept(*viaGetter, kinds, c.a);

    const auto viaBase = make(kinds.first, c.a);
    apply(*viaBase, *src);
    EXPECT_EQ(valuesOf(*viaBase), expected);

    const auto viaConcrete = make(kinds.first, c.a);
    if (auto* dense = dynamic_cast<CDenseVector<T>*>(viaConcrete.get()))
      apply(*dense, *src);
    else
      apply(dynamic_cast<CSparseVector<T>&>(*viaConcrete), *src);
    EXPECT_EQ(valuesOf(*viaConcrete), expected);
  });
}

TYPED_TEST(CVectorOperationsTest, ElementProduct) {
  using T = TypeParam;
  checkInPlace<T>(
      operandCases<T>(), &CVectorOperations<T>::getElementProduct,
      [](auto& dst, const CVector<T>& src) { dst *= src; },
      [](T x, T y) { return T(x * y); });
}

TYPED_TEST(CVectorOperationsTest, ElementDivision) {
  using T = TypeParam;
  std::vector<Operands<T>> cases = operandCases<T>();
  for (Operands<T>& c : cases) c.b = nonZeroDivisor(c.b);
  checkInPlace<T>(
      cases, &CVectorOperations<T>::getElementDivision,
      [](auto& dst, const CVector<T>& src) { dst /= src; },
      [](T x, T y) { return T(x / y); });
}

TYPED_TEST(CVectorOperationsTest, ElementCopy) {
  using T = TypeParam;
  const auto check = [](const Operands<T>& c, const KindPair& kinds) {
    const auto dst = make(kinds.first, c.a);
    const auto src = make(kinds.second, c.b);
    const auto copy = ops<T>().getElementCopy(*dst, *src);
    if (kinds.index == 1) {
      EXPECT_THROW(copy(*dst, *src), std::exception);
      return;
    }
    copy(*dst, *src);
    EXPECT_EQ(valuesOf(*dst), c.b);
    if (kinds.first == Kind::Sparse) return;

    CDenseVector<T> viaMember(1);
    viaMember.copy(*src);
    EXPECT_EQ(valuesOf(viaMember), c.b);
    const CDenseVector<T> viaConstructor(*src);
    EXPECT_EQ(valuesOf(viaConstructor), c.b);
  };
  forEveryKindPair(operandCases<T>(), check);
}

// Runs one of the addition or subtraction rows: the getter into a result
// that holds garbage, and, where the first operand is dense, the member
// that uses it as result and first operand.
template <typename T, typename Getter, typename Member, typename Op>
void checkCombination(Getter getter, Member member, Op op) {
  const auto check = [&](const Operands<T>& c, const KindPair& kinds) {
    const auto a = make(kinds.first, c.a);
    const auto b = make(kinds.second, c.b);
    const std::vector<T> expected = elementwise(c.a, c.b, op);

    CDenseVector<T> result(static_cast<int>(c.a.size()), T(9));
    (ops<T>().*getter)(*a, *b)(result, *a, *b);
    EXPECT_EQ(valuesOf(result), expected);

    if (kinds.first == Kind::Dense) {
      CDenseVector<T> inPlace(c.a);
      member(inPlace, *b);
      EXPECT_EQ(valuesOf(inPlace), expected);
    }
  };
  forEveryKindPair(operandCases<T>(), check);
}

TYPED_TEST(CVectorOperationsTest, ElementAddition) {
  using T = TypeParam;
  checkCombination<T>(
      &CVectorOperations<T>::getElementAddition,
      [](CDenseVector<T>& x, const CVector<T>& y) { x += y; },
      [](T x, T y) { return T(x + y); });
}

TYPED_TEST(CVectorOperationsTest, ElementSubtraction) {
  using T = TypeParam;
  checkCombination<T>(
      &CVectorOperations<T>::getElementSubtraction,
      [](CDenseVector<T>& x, const CVector<T>& y) { x -= y; },
      [](T x, T y) { return T(x - y); });
}

TYPED_TEST(CVectorOperationsTest, ElementAdapt) {
  using T = TypeParam;
  const std::pair<float, float> settings[] = {
      {0.5f, 1.0f}, {0.5f, 0.25f}, {1.5f, -2.0f}, {-0.75f, 0.0f}};
  for (const auto& setting : settings) {
    const float rate = setting.first;
    const float keep = setting.second;
    SCOPED_TRACE("rate " + std::to_string(rate) + " keep " +
                 std::to_string(keep));
    const auto check = [&](const Operands<T>& c, const KindPair& kinds) {
      const auto src = make(kinds.second, c.b);
      const auto viaGetter = make(kinds.first, c.a);
      const auto adapt = ops<T>().getElementAdapt(*viaGetter, *src);
      const auto viaMember = make(kinds.first, c.a);
      if (kinds.first == Kind::Sparse) {
        EXPECT_EQ(
            cexceptionMessage([&] { adapt(*viaGetter, *src, rate, keep); }),
            kSparseAdaptMessage);
        EXPECT_EQ(
            cexceptionMessage([&] { viaMember->adaptToVec(*src, rate, keep); }),
            kSparseAdaptMessage);
        EXPECT_EQ(valuesOf(*viaGetter), c.a);
        return;
      }
      const std::vector<T> expected = referenceAdaptAll(c.a, c.b, rate, keep);
      adapt(*viaGetter, *src, rate, keep);
      EXPECT_EQ(valuesOf(*viaGetter), expected);
      viaMember->adaptToVec(*src, rate, keep);
      EXPECT_EQ(valuesOf(*viaMember), expected);
    };
    forEveryKindPair(operandCases<T>(), check);
  }
}

// ---- worked examples -------------------------------------------------------

TYPED_TEST(CVectorOperationsTest, CoCosineOfParallelAndZeroPairs) {
  using T = TypeParam;
  const ScalarGetter<T> getter = &CVectorOperations<T>::getCoCosineDistance;
  checkScalarRow<T>({{{1, 0}, {0, 0}}}, getter, memberCoCosine<T>,
                    always(T(0)));
  checkScalarRow<T>({{{1, 0}, {2, 0}}}, getter, memberCoCosine<T>,
                    always(T(1)));
  checkScalarRow<T>({{{1, 0}, {-1, 0}}}, getter, memberCoCosine<T>,
                    always(T(-1)));
}

TYPED_TEST(CVectorOperationsTest, CoCosineOfEmptyFirstOperandIsZero) {
  using T = TypeParam;
  checkScalarRow<T>({{{}, {3, 4}}}, &CVectorOperations<T>::getCoCosineDistance,
                    memberCoCosine<T>, always(T(0)));
}

TYPED_TEST(CVectorOperationsTest, EuclideanDistanceOfThreeFourTriangle) {
  using T = TypeParam;
  const std::vector<Operands<T>> pair = {{{0, 0}, {3, 4}}};
  checkScalarRow<T>(pair, &CVectorOperations<T>::getEuclideanDistance,
                    memberSquaredDistance<T>, always(T(25)));
  checkScalarCall(pair, memberDistance<T>, always(T(5)));
}

TYPED_TEST(CVectorOperationsFloatingTest, AdaptToVecWorkedExample) {
  using T = TypeParam;
  for (const Kind targetKind : {Kind::Dense, Kind::Sparse}) {
    const auto target = make<T>(targetKind, {3, 5});
    CDenseVector<T> kept = denseOf<T>({1, 1});
    kept.adaptToVec(*target, 0.5f, 1.0f);
    EXPECT_EQ(valuesOf(kept), std::vector<T>({2.5, 3.5}));
    CDenseVector<T> replaced = denseOf<T>({1, 1});
    replaced.adaptToVec(*target, 0.5f, 0.0f);
    EXPECT_EQ(valuesOf(replaced), std::vector<T>({1.5, 2.5}));
  }
}

TYPED_TEST(CVectorOperationsTest, DenseTimesSparseZeroesUnstoredPositions) {
  using T = TypeParam;
  CDenseVector<T> v = denseOf<T>({4, 5, 6});
  v *= makeSparse<T>(3, {{1, 2}});
  EXPECT_EQ(valuesOf(v), std::vector<T>({0, 10, 0}));
}

// ---- kernel details --------------------------------------------------------

TYPED_TEST(CVectorOperationsFloatingTest, DenseTimesSparseTurnsNonFiniteToNaN) {
  using T = TypeParam;
  const T inf = std::numeric_limits<T>::infinity();
  CDenseVector<T> v =
      denseOf<T>({inf, std::numeric_limits<T>::quiet_NaN(), 3, -inf});
  v *= makeSparse<T>(4, {{2, 2}});
  EXPECT_TRUE(std::isnan(v[0]));
  EXPECT_TRUE(std::isnan(v[1]));
  EXPECT_EQ(v[2], T(6));
  EXPECT_TRUE(std::isnan(v.getElement(3)));
}

TYPED_TEST(CVectorOperationsFloatingTest, DenseBySparseDividesUnstoredByZero) {
  using T = TypeParam;
  CDenseVector<T> v = denseOf<T>({4, 0, -2, 9});
  v /= makeSparse<T>(4, {{3, 3}});
  EXPECT_EQ(v[0], std::numeric_limits<T>::infinity());
  EXPECT_TRUE(std::isnan(v[1]));
  EXPECT_EQ(v[2], -std::numeric_limits<T>::infinity());
  EXPECT_EQ(v[3], T(3));
}

TYPED_TEST(CVectorOperationsTest, SparseDestinationEntriesByOperation) {
  using T = TypeParam;
  const CSparseVector<T> src = makeSparse<T>(5, {{2, 5}, {4, 7}});
  CSparseVector<T> product = makeSparse<T>(5, {{0, 2}, {2, 3}});
  product *= src;
  EXPECT_EQ(entriesOf(product), Entries<T>({{0, 0}, {2, 15}}));

  CSparseVector<T> quotient = makeSparse<T>(5, {{2, 10}, {4, 14}});
  quotient /= src;
  EXPECT_EQ(entriesOf(quotient), Entries<T>({{2, 2}, {4, 2}}));

  // A copy takes the source's entries instead.
  CSparseVector<T> copy = makeSparse<T>(5, {{0, 2}, {2, 3}});
  ops<T>().getElementCopy(copy, src)(copy, src);
  EXPECT_EQ(entriesOf(copy), Entries<T>({{2, 5}, {4, 7}}));
  CSparseVector<T> shorter = makeSparse<T>(3, {{1, 1}});
  ops<T>().getElementCopy(shorter, src)(shorter, src);
  EXPECT_EQ(entriesOf(shorter), Entries<T>({{2, 5}}));
}

TYPED_TEST(CVectorOperationsTest, SparseAdditionClearsOverFirstDimension) {
  using T = TypeParam;
  const CSparseVector<T> a = makeSparse<T>(3, {{0, 1}, {2, 4}});
  const CSparseVector<T> b = makeSparse<T>(3, {{1, 6}, {2, 1}});
  CDenseVector<T> sum(4, T(9));
  ops<T>().getElementAddition(a, b)(sum, a, b);
  EXPECT_EQ(valuesOf(sum), std::vector<T>({1, 6, 5, 9}));
  CDenseVector<T> difference(4, T(9));
  ops<T>().getElementSubtraction(a, b)(difference, a, b);
  EXPECT_EQ(valuesOf(difference), std::vector<T>({1, -6, 3, 9}));
}

TYPED_TEST(CVectorOperationsTest, CopyTakesTheSourceDimension) {
  using T = TypeParam;
  CDenseVector<T> v = denseOf<T>({1, 2});
  v.copy(makeSparse<T>(5, {{3, 8}}));
  EXPECT_EQ(valuesOf(v), std::vector<T>({0, 0, 0, 8, 0}));
  v.copy(denseOf<T>({4}));
  EXPECT_EQ(valuesOf(v), std::vector<T>({4}));
}

TYPED_TEST(CVectorOperationsFloatingTest,
           CoCosineReturnsProductWhenNormsVanish) {
  using T = TypeParam;
  // The squared norm of the smallest normal value underflows to 0.
  const T tiny = std::numeric_limits<T>::min();
  checkScalarRow<T>({{{tiny, 0}, {1, 0}}},
                    &CVectorOperations<T>::getCoCosineDistance,
                    memberCoCosine<T>, always(tiny));
}

TYPED_TEST(CVectorOperationsFloatingTest, AdaptFollowsTheFloatSteps) {
  using T = TypeParam;
  const std::vector<T> dst = {T(0.1), T(1.7), T(-3.3), T(2.25)};
  const std::vector<T> src = {T(2.9), T(-0.7), T(5.5), T(1e-3)};
  for (const float keep : {1.0f, 0.9f}) {
    for (const Kind srcKind : {Kind::Dense, Kind::Sparse}) {
      CDenseVector<T> v(dst);
      v.adaptToVec(*make(srcKind, src), 0.3f, keep);
      EXPECT_EQ(valuesOf(v), referenceAdaptAll(dst, src, 0.3f, keep))
          << "keep " << keep;
    }
  }
}

TEST(CVectorOperationsDouble, AdaptWidensTheSingleRate) {
  CDenseVector<double> v(1);
  v.adaptToVec(denseOf<double>({1}), 0.1f, 1.0f);
  EXPECT_EQ(v[0], static_cast<double>(0.1f));
  EXPECT_NE(v[0], 0.1);
}

// ---- int arithmetic --------------------------------------------------------

TEST(CVectorOperationsInt, ScalarProductWraps) {
  const std::vector<int> a = {INT_MAX, 1 << 30, -7, 0};
  const std::vector<int> b = {3, 4, INT_MIN, 5};
  unsigned sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    sum += static_cast<unsigned>(a[i]) * static_cast<unsigned>(b[i]);
  checkScalarRow<int>({{a, b}}, &CVectorOperations<int>::getScalarProduct,
                      memberProduct<int>, always(static_cast<int>(sum)));
}

TEST(CVectorOperationsInt, EuclideanDistanceWraps) {
  const std::vector<int> a = {-2000000000, 5, 0, 0};
  const std::vector<int> b = {2000000000, -5, 70000, 0};
  unsigned sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const unsigned difference =
        static_cast<unsigned>(b[i]) - static_cast<unsigned>(a[i]);
    sum += difference * difference;
  }
  checkScalarRow<int>({{a, b}}, &CVectorOperations<int>::getEuclideanDistance,
                      memberSquaredDistance<int>,
                      always(static_cast<int>(sum)));
}

TEST(CVectorOperationsInt, CoCosineIsZeroUnlessParallel) {
  const std::vector<Operands<int>> cases = {
      {{2, 4, 0}, {1, 2, 0}},  // parallel: 1
      {{3, 0}, {-6, 0}},       // opposite: -1
      {{1, 1}, {1, 0}},        // 0.707 truncates to 0
      {{5, 1}, {5, 2}},        // 0.98 truncates to 0
      {{-5, -1}, {5, 2}},      // -0.98 truncates to 0
      {{0, 0}, {3, 4}},        // zero vector: the product 0
  };
  const int expected[] = {1, -1, 0, 0, 0, 0};
  for (std::size_t i = 0; i < cases.size(); ++i) {
    checkScalarRow<int>({cases[i]},
                        &CVectorOperations<int>::getCoCosineDistance,
                        memberCoCosine<int>, always(expected[i]));
  }
}

TEST(CVectorOperationsInt, AdaptTruncatesEachProduct) {
  for (const Kind srcKind : {Kind::Dense, Kind::Sparse}) {
    const auto src = make<int>(srcKind, {3, 3, -3});
    CDenseVector<int> added = denseOf<int>({3, -3, 10});
    added.adaptToVec(*src, 0.5f, 1.0f);
    // 3 + trunc(1.5), -3 + trunc(1.5), 10 + trunc(-1.5)
    EXPECT_EQ(valuesOf(added), std::vector<int>({4, -2, 9}));
    CDenseVector<int> blended = denseOf<int>({3, -3, 10});
    blended.adaptToVec(*src, 0.5f, 0.5f);
    // trunc(1.5) + trunc(1.5), trunc(-1.5) + trunc(1.5), 5 + trunc(-1.5);
    // truncating each sum once would give 3, 0 and 3.
    EXPECT_EQ(valuesOf(blended), std::vector<int>({2, 0, 4}));
  }
}

// ---- mismatched dimensions stay memory-safe --------------------------------

TYPED_TEST(CVectorOperationsTest, DenseOperandsOfDifferentDimensions) {
  using T = TypeParam;
  const CDenseVector<T> longer = denseOf<T>({1, 2, 3});
  const CDenseVector<T> shorter = denseOf<T>({4, 5});
  EXPECT_EQ(longer * shorter, T(14));
  EXPECT_EQ(shorter * longer, T(14));
  EXPECT_EQ(longer.euclideanDistance(shorter, true), T(27));

  CDenseVector<T> product = longer;
  product *= shorter;
  EXPECT_EQ(valuesOf(product), std::vector<T>({4, 10, 0}));

  CDenseVector<T> copy = longer;
  ops<T>().getElementCopy(copy, shorter)(copy, shorter);
  EXPECT_EQ(valuesOf(copy), std::vector<T>({4, 5, 0}));

  CDenseVector<T> sum(2);
  ops<T>().getElementAddition(longer, longer)(sum, longer, longer);
  EXPECT_EQ(valuesOf(sum), std::vector<T>({2, 4}));
}

TYPED_TEST(CVectorOperationsTest, SparseIndicesOutsideDenseOperand) {
  using T = TypeParam;
  const CSparseVector<T> wide = makeSparse<T>(9, {{1, 2}, {7, 3}});
  const CDenseVector<T> narrow = denseOf<T>({5, 4});
  EXPECT_EQ(wide * narrow, T(8));
  EXPECT_EQ(narrow * wide, T(8));

  CDenseVector<T> product = narrow;
  product *= wide;
  EXPECT_EQ(valuesOf(product), std::vector<T>({0, 8}));

  CDenseVector<T> adapted = narrow;
  adapted.adaptToVec(wide, 1.0f, 1.0f);
  EXPECT_EQ(valuesOf(adapted), std::vector<T>({5, 6}));

  CDenseVector<T> sum(1);
  ops<T>().getElementAddition(narrow, wide)(sum, narrow, wide);
  EXPECT_EQ(valuesOf(sum), std::vector<T>({5}));
}

// ---- throwing entries ------------------------------------------------------

TYPED_TEST(CVectorOperationsTest, CopyOfDenseIntoSparseIsUnsupported) {
  using T = TypeParam;
  CSparseVector<T> dst = makeSparse<T>(2, {{0, 1}});
  const CDenseVector<T> src = denseOf<T>({3, 4});
  std::string message;
  try {
    ops<T>().getElementCopy(dst, src)(dst, src);
  } catch (const UnsupportedArgumentsException& e) {
    message = e.what();
  }
  EXPECT_EQ(message, "Unsupported argument types for this operation");
  EXPECT_EQ(entriesOf(dst), Entries<T>({{0, 1}}));
}

TYPED_TEST(CVectorOperationsTest, AdaptOfSparseDestinationThrows) {
  using T = TypeParam;
  CSparseVector<T> dst = makeSparse<T>(2, {{0, 1}});
  const CSparseVector<T> sparseSource = makeSparse<T>(2, {{1, 1}});
  const CDenseVector<T> denseSource = denseOf<T>({3, 4});
  for (const CVector<T>* src : {static_cast<const CVector<T>*>(&sparseSource),
                                static_cast<const CVector<T>*>(&denseSource)}) {
    std::string message;
    const std::string trace = captureStdout([&] {
      try {
        dst.adaptToVec(*src, 0.5f, 1.0f);
      } catch (const CException& e) {
        message = e.what();
      }
    });
    EXPECT_EQ(message, kSparseAdaptMessage);
    EXPECT_THAT(trace, HasSubstr("getting message"));
    EXPECT_THAT(trace, HasSubstr("destructor "));
  }
  EXPECT_EQ(entriesOf(dst), Entries<T>({{0, 1}}));
}

// ---- dispatch on other classes ---------------------------------------------

// A vector of neither kind that the dispatch knows.
template <typename T>
class COtherVector : public CVector<T> {
 public:
  CVector<T>* clone() const override { return new COtherVector<T>; }
  CVector<double>* toDouble() const override {
    return new COtherVector<double>;
  }
  CVector<float>* toFloat() const override { return new COtherVector<float>; }
  CDenseVector<int> sort() override { return CDenseVector<int>(); }
  CVector<T>& operator*=(const T&) override { return *this; }
  CVector<T>& operator/=(const T&) override { return *this; }
  int dimension() const override { return 0; }
  int getNumNonZero() const override { return 0; }
  bool isNaN() const override { return false; }
  T euclideanLength(bool) const override { return 0; }
  const T& operator[](int) const override { return zero; }
  T getElement(int) const override { return 0; }

 private:
  T zero = 0;
};

// Derived classes are not their base's kind: dispatch compares exact types.
template <typename T>
class CDerivedDenseVector : public CDenseVector<T> {
 public:
  using CDenseVector<T>::CDenseVector;
};

TYPED_TEST(CVectorOperationsTest, OtherClassesAreBadOperations) {
  using T = TypeParam;
  const CVectorOperations<T>& o = ops<T>();
  const COtherVector<T> other;
  const CDenseVector<T> dense(2);
  const CSparseVector<T> sparse(2, 0);
  const CDerivedDenseVector<T> derived(2);
  const std::string bad = "bad operation requested";
  EXPECT_EQ(thrownText([&] { o.getIndex(typeid(other), typeid(dense)); }), bad);
  EXPECT_EQ(thrownText([&] { o.getIndex(typeid(sparse), typeid(other)); }),
            bad);
  EXPECT_EQ(thrownText([&] { o.getIndex(typeid(derived), typeid(dense)); }),
            bad);
  EXPECT_EQ(thrownText([&] { o.getIndex(typeid(dense), typeid(CVector<T>)); }),
            bad);
  EXPECT_EQ(thrownText([&] { o.getScalarProduct(other, dense); }), bad);
  EXPECT_EQ(thrownText([&] { o.getElementAdapt(dense, other); }), bad);
  EXPECT_EQ(thrownText([&] { return dense * other; }), bad);
  EXPECT_EQ(thrownText([&] { return derived.euclideanDistance(sparse, true); }),
            bad);
}

// Table entries that record which of them was called.
int calledEntry = -1;

template <int N, typename T>
T scalarEntry(const CVector<T>&, const CVector<T>&) {
  calledEntry = N;
  return T(0);
}
template <int N, typename T>
void inplaceEntry(CVector<T>&, const CVector<T>&) {
  calledEntry = N;
}
template <int N, typename T>
void copyEntry(CDenseVector<T>&, const CVector<T>&, const CVector<T>&) {
  calledEntry = N;
}
template <int N, typename T>
void adaptEntry(CVector<T>&, const CVector<T>&, float, float) {
  calledEntry = N;
}

TYPED_TEST(CVectorOperationsTest, LookupsPickTheEntryOfTheKinds) {
  using T = TypeParam;
  using Ops = CVectorOperations<T>;
  const typename Ops::ScalarFunction scalars[] = {
      scalarEntry<0, T>, scalarEntry<1, T>, scalarEntry<2, T>,
      scalarEntry<3, T>};
  const typename Ops::InplaceFunction inplaces[] = {
      inplaceEntry<0, T>, inplaceEntry<1, T>, inplaceEntry<2, T>,
      inplaceEntry<3, T>};
  const typename Ops::CopyFunction copies[] = {
      copyEntry<0, T>, copyEntry<1, T>, copyEntry<2, T>, copyEntry<3, T>};
  const typename Ops::InplaceFunctionArg adapts[] = {
      adaptEntry<0, T>, adaptEntry<1, T>, adaptEntry<2, T>, adaptEntry<3, T>};
  CDenseVector<T> result(2);
  for (const KindPair& kinds : kKindPairs) {
    SCOPED_TRACE(kinds.name);
    const auto a = make<T>(kinds.first, {1, 2});
    const auto b = make<T>(kinds.second, {3, 4});
    calledEntry = -1;
    ops<T>().lookupScalarFunction(scalars, *a, *b)(*a, *b);
    EXPECT_EQ(calledEntry, kinds.index);
    calledEntry = -1;
    ops<T>().lookupInplaceFunction(inplaces, *a, *b)(*a, *b);
    EXPECT_EQ(calledEntry, kinds.index);
    calledEntry = -1;
    ops<T>().lookupCopyFunction(copies, *a, *b)(result, *a, *b);
    EXPECT_EQ(calledEntry, kinds.index);
    calledEntry = -1;
    ops<T>().lookupInplaceFunctionArg(adapts, *a, *b)(*a, *b, 1.0f, 1.0f);
    EXPECT_EQ(calledEntry, kinds.index);
  }
}

TYPED_TEST(CVectorOperationsTest, InstanceIsASingleton) {
  using T = TypeParam;
  EXPECT_EQ(&CVectorOperations<T>::getInstance(),
            &CVectorOperations<T>::getInstance());
}

}  // namespace
