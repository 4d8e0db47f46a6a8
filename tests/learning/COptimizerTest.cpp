// SPDX-License-Identifier: MIT
#include "vecml/learning/COptimizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/MemoryArchive.h"
#include "support/RecordingArchive.h"
#include "support/TempFile.h"

namespace {

// Gradient descent on the bowl curvature * |x - centre|^2: a minimum for a
// positive curvature, a maximum for a negative one.
template <typename T>
class CQuadraticDescent : public COptimizer<T> {
 public:
  CQuadraticDescent(std::vector<T> centre, T curvature, T stepSize)
      : centre(std::move(centre)), curvature(curvature), stepSize(stepSize) {}

  std::string className() const override { return "CQuadraticDescent"; }

  T evaluate(const CDenseVector<T>& x) override {
    T sum = 0;
    for (int i = 0; i < x.dimension(); ++i)
      sum += (x[i] - centre[i]) * (x[i] - centre[i]);
    return curvature * sum;
  }

  // Steps against the gradient of sign() * evaluate().
  bool step() override {
    CDenseVector<T>& x = this->position();
    bool moved = false;
    for (int i = 0; i < x.dimension(); ++i) {
      const T gradient = this->sign() * curvature * T(2) * (x[i] - centre[i]);
      const T next = x[i] - stepSize * gradient;
      moved = moved || next != x[i];
      x[i] = next;
    }
    return moved;
  }

  T optimize(int maxSteps) override {
    for (int k = 0; k < maxSteps && step(); ++k) {
    }
    return evaluate(this->position());
  }

 private:
  std::vector<T> centre;
  T curvature;
  T stepSize;
};

template <typename T>
class COptimizerTest : public testing::Test {
 protected:
  CQuadraticDescent<T> bowl{{T(1), T(-2)}, T(1), T(0.25)};
};
using ElementTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(COptimizerTest, ElementTypes);

TYPED_TEST(COptimizerTest, NewOptimizerMinimisesFromAnEmptyPosition) {
  EXPECT_FALSE(this->bowl.isMaximize());
  EXPECT_EQ(this->bowl.sign(), TypeParam(1));
  EXPECT_EQ(this->bowl.position().dimension(), 0);
  EXPECT_EQ(this->bowl.getPosition().dimension(), 0);
  EXPECT_EQ(this->bowl.verbose(), 3);
}

TYPED_TEST(COptimizerTest, SetMaximizeSetsTheSign) {
  this->bowl.setMaximize(true);
  EXPECT_TRUE(this->bowl.isMaximize());
  EXPECT_EQ(this->bowl.sign(), TypeParam(-1));
  this->bowl.setMaximize(false);
  EXPECT_FALSE(this->bowl.isMaximize());
  EXPECT_EQ(this->bowl.sign(), TypeParam(1));
}

TYPED_TEST(COptimizerTest, PositionIsHeldByValue) {
  using T = TypeParam;
  CDenseVector<T> start(std::vector<T>{T(3), T(4)});
  this->bowl.setPosition(start);
  start[0] = T(9);
  EXPECT_EQ(this->bowl.position().toSTL(), (std::vector<T>{T(3), T(4)}));
  CDenseVector<T> copy = this->bowl.getPosition();
  copy[1] = T(9);
  EXPECT_EQ(this->bowl.position()[1], T(4));
  this->bowl.position()[1] = T(5);
  EXPECT_EQ(this->bowl.getPosition().toSTL(), (std::vector<T>{T(3), T(5)}));
}

TYPED_TEST(COptimizerTest, GradientDescentFindsTheMinimum) {
  using T = TypeParam;
  this->bowl.setPosition(CDenseVector<T>(2, T(0)));
  // A step of 1/4 halves the distance to the centre each time.
  EXPECT_TRUE(this->bowl.step());
  EXPECT_EQ(this->bowl.position().toSTL(), (std::vector<T>{T(0.5), T(-1)}));
  EXPECT_EQ(this->bowl.optimize(1000), T(0));
  EXPECT_EQ(this->bowl.position().toSTL(), (std::vector<T>{T(1), T(-2)}));
  EXPECT_FALSE(this->bowl.step());
}

TYPED_TEST(COptimizerTest, SignTurnsTheSameSearchIntoMaximisation) {
  using T = TypeParam;
  CQuadraticDescent<T> dome({T(1), T(-2)}, T(-1), T(0.25));
  dome.setMaximize(true);
  dome.setPosition(CDenseVector<T>(2, T(0)));
  EXPECT_EQ(dome.optimize(1000), T(0));
  EXPECT_EQ(dome.position().toSTL(), (std::vector<T>{T(1), T(-2)}));
  // Minimising the dome runs away from its top.
  CQuadraticDescent<T> away({T(1), T(-2)}, T(-1), T(0.25));
  away.setPosition(CDenseVector<T>(2, T(0)));
  EXPECT_LT(away.optimize(10), dome.evaluate(CDenseVector<T>(2, T(0))));
}

TYPED_TEST(COptimizerTest, IsAMatchesOnlyTheMostDerivedName) {
  EXPECT_EQ(this->bowl.className(), "CQuadraticDescent");
  EXPECT_TRUE(this->bowl.isA("CQuadraticDescent"));
  EXPECT_FALSE(this->bowl.isA("COptimizer"));
  EXPECT_FALSE(this->bowl.isA("CObject"));
  EXPECT_FALSE(this->bowl.isA(""));
  EXPECT_EQ(this->bowl.COptimizer<TypeParam>::className(), "COptimizer");
}

TYPED_TEST(COptimizerTest, StoringWritesFlagSignAndPosition) {
  using T = TypeParam;
  const std::string type = std::is_same_v<T, float> ? "float" : "double";
  this->bowl.setMaximize(true);
  this->bowl.setPosition(CDenseVector<T>(1, T(2)));
  RecordingArchive archive(false);
  EXPECT_TRUE(this->bowl.serialize2(archive));
  EXPECT_EQ(archive.calls,
            (std::vector<std::string>{
                "isLoading", "write(bool) 1", "writeSeparator",
                "write(" + type + ") -1", "writeSeparator",
                "write(CObject<" + type + ">)", "writeSeparator"}));
}

TYPED_TEST(COptimizerTest, LoadingReadsFlagSignAndPositionWithoutSeparators) {
  using T = TypeParam;
  const std::string type = std::is_same_v<T, float> ? "float" : "double";
  RecordingArchive archive(true);
  archive.numbers = {1, 1};  // maximize, but a sign of +1
  EXPECT_TRUE(this->bowl.serialize2(archive));
  EXPECT_EQ(archive.calls, (std::vector<std::string>{
                               "isLoading", "read(bool)", "read(" + type + ")",
                               "read(CObject<" + type + ">)"}));
  // The stored sign wins over the flag.
  EXPECT_TRUE(this->bowl.isMaximize());
  EXPECT_EQ(this->bowl.sign(), T(1));
}

TYPED_TEST(COptimizerTest, ArchiveRoundTripRestoresEverything) {
  using T = TypeParam;
  this->bowl.setMaximize(true);
  this->bowl.setPosition(
      CDenseVector<T>(std::vector<T>{T(1.5), T(-0.1), T(3e-7)}));
  MemoryArchive archive;
  EXPECT_TRUE(this->bowl.serialize2(archive));
  EXPECT_EQ(archive.separators, 3 + 2);  // own three, the vector's two

  CQuadraticDescent<T> restored({T(0), T(0)}, T(1), T(0.5));
  archive.loading = true;
  EXPECT_TRUE(restored.serialize2(archive));
  EXPECT_TRUE(restored.isMaximize());
  EXPECT_EQ(restored.sign(), T(-1));
  EXPECT_EQ(restored.position().toSTL(),
            (std::vector<T>{T(1.5), T(-0.1), T(3e-7)}));
}

TYPED_TEST(COptimizerTest, BinaryFormIsEmpty) {
  TempFile file;
  {
    std::fstream out(file.path(), std::ios::out | std::ios::binary);
    EXPECT_TRUE(this->bowl.serialize(out, IO_WRITE));
  }
  EXPECT_EQ(file.contents(), "");
  std::fstream in(file.path(), std::ios::in | std::ios::binary);
  EXPECT_TRUE(this->bowl.serialize(in, IO_READ));
  EXPECT_TRUE(in.good());
}

}  // namespace
