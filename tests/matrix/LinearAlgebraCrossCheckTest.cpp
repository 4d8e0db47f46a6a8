// SPDX-License-Identifier: MIT
// Cross-checks the linear-algebra functions against scipy.linalg on random
// and ill-conditioned matrices.
#include "vecml/matrix/LinearAlgebra.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <ios>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "matrix/LinearAlgebraTestSupport.h"
#include "matrix/MatrixTestSupport.h"
#include "support/Python.h"
#include "support/TempFile.h"

namespace {

// Reads each operand file "rows columns" + row-major hexadecimal elements,
// runs the named scipy.linalg routine in double precision and prints, per
// request, a line "<op> <2-norm condition of the operand>" and the results
// in the same text form, or "<op> failed" when scipy rejects the operand.
// Where scipy would call the same LAPACK driver as vecml, the reference uses
// another algorithm, so that the comparison is not of a routine with itself:
// the QR-iteration eigensolver and SVD, and a Cholesky
// factorization computed in long double.
constexpr const char* kScript = R"(import sys
import numpy as np
import scipy.linalg as la

def read(path):
    with open(path) as f:
        rows, columns = map(int, f.readline().split())
        values = [float.fromhex(t) for t in f.read().split()]
    return np.array(values, dtype=np.float64).reshape(rows, columns)

def cholesky(a):
    a = a.astype(np.longdouble)
    lower = np.zeros_like(a)
    for j in range(len(a)):
        d = a[j, j] - lower[j, :j] @ lower[j, :j]
        if not d > 0:
            raise la.LinAlgError('not positive definite')
        lower[j, j] = np.sqrt(d)
        lower[j + 1:, j] = (a[j + 1:, j] - lower[j + 1:, :j] @ lower[j, :j]) / lower[j, j]
    return lower.astype(np.float64)

def write(m):
    m = np.atleast_2d(m)
    print(m.shape[0], m.shape[1], ' '.join(float(x).hex() for x in m.ravel()))

arguments = sys.argv[1:]
while arguments:
    op, a = arguments[0], read(arguments[1])
    arguments = arguments[2:]
    results = []
    try:
        if op == 'eigh':
            w, v = la.eigh(a, lower=True, driver='ev')
            results = [w, v]
        elif op == 'svd':
            u, s, vt = la.svd(a, full_matrices=False, lapack_driver='gesvd')
            results = [u, s, vt]
        elif op == 'cholesky':
            results = [cholesky(a)]
        elif op == 'solve':
            results = [la.solve(a, read(arguments[0]))]
            arguments = arguments[1:]
        elif op == 'inv':
            results = [la.inv(a)]
    except la.LinAlgError:
        print(op, 'failed')
        continue
    print(op, float(np.linalg.cond(a)).hex())
    for r in results:
        write(r)
)";

// Tolerances. Every bound below is kSlack * n * eps(T) times the first-order
// sensitivity of the result, with n the largest dimension:
//   eigenvalues, singular values: |w - w_ref| <= c * max|w_ref|   (Weyl)
//   eigen- and singular vectors, up to sign:
//     max_i |v_ik - v_ref_ik| <= c * max|w_ref| / gap_k          (Davis-Kahan)
//     where gap_k is the distance from value k to the nearest other value
//     (for the singular vectors of a non-square matrix, to 0 as well)
//   cholesky, solve, inverse:
//     max |x - x_ref| <= c * cond(a) * max |x_ref|
// where c = kSlack * n * eps(T) and cond is the 2-norm condition number.
constexpr double kSlack = 8;

// One operand as the Python script reads it.
class OperandFile {
 public:
  explicit OperandFile(const CMatrix<double>& m) {
    std::ofstream out(file.path());
    out << m.rows() << ' ' << m.columns() << '\n' << std::hexfloat;
    for (int i = 0; i < m.rows(); ++i)
      for (int j = 0; j < m.columns(); ++j) out << m.getElement(i, j) << ' ';
  }
  std::string argument() const { return "'" + file.path() + "'"; }

 private:
  TempFile file;
};

// The script's answer to one request.
struct Reference {
  std::string op;
  bool failed = false;
  double condition = 0;
  std::vector<CMatrix<double>> results;
};

CMatrix<double> parseMatrix(std::istringstream& in) {
  int rows = 0, columns = 0;
  in >> rows >> columns;
  CMatrix<double> m(rows, columns);
  std::string token;
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < columns; ++j) {
      in >> token;
      m(i, j) = std::strtod(token.c_str(), nullptr);
    }
  return m;
}

std::vector<Reference> parseReferences(const std::string& output) {
  const std::vector<std::pair<std::string, int>> resultCounts = {
      {"eigh", 2}, {"svd", 3}, {"cholesky", 1}, {"solve", 1}, {"inv", 1}};
  std::vector<Reference> references;
  std::istringstream in(output);
  Reference reference;
  std::string condition;
  while (in >> reference.op >> condition) {
    reference.failed = condition == "failed";
    reference.results.clear();
    if (!reference.failed) {
      reference.condition = std::strtod(condition.c_str(), nullptr);
      for (const auto& [op, count] : resultCounts)
        if (op == reference.op)
          for (int k = 0; k < count; ++k)
            reference.results.push_back(parseMatrix(in));
    }
    references.push_back(reference);
  }
  return references;
}

// \p m with its elements converted to To.
template <typename To, typename From>
CMatrix<To> convert(const CMatrix<From>& m) {
  CMatrix<To> result(m.rows(), m.columns());
  for (int k = 0; k < m.rows() * m.columns(); ++k)
    result._data()[k] = static_cast<To>(m._data()[k]);
  return result;
}

template <typename T>
CMatrix<double> widen(const CMatrix<T>& m) {
  return convert<double>(m);
}

template <typename T>
CMatrix<double> widen(const CDenseVector<T>& v) {
  CMatrix<double> wide(1, v.dimension());
  for (int k = 0; k < v.dimension(); ++k) wide(0, k) = v[k];
  return wide;
}

double maxDifference(const CMatrix<double>& a, const CMatrix<double>& b) {
  EXPECT_EQ(a.rows(), b.rows());
  EXPECT_EQ(a.columns(), b.columns());
  return maxAbs(CMatrix<double>(a - b));
}

// Per routine, the largest relative difference seen and its largest share of
// the bound, reported as properties of the test (in the XML output).
class Worst {
 public:
  void note(const std::string& what, double relative, double bound) {
    Seen& seen = values[what];
    seen.relative = std::max(seen.relative, relative);
    seen.ofBound = std::max(seen.ofBound, relative / bound);
  }
  void record() const {
    for (const auto& [what, seen] : values) {
      std::ostringstream text;
      text << std::setprecision(3) << seen.relative << " (" << seen.ofBound
           << " of the bound)";
      testing::Test::RecordProperty(what, text.str());
    }
  }

 private:
  struct Seen {
    double relative = 0, ofBound = 0;
  };
  std::map<std::string, Seen> values;
};

// gap_k of the bound above, for row 0 of \p values.
double gap(const CMatrix<double>& values, int k, bool withZero) {
  double nearest = withZero ? std::fabs(values.getElement(0, k))
                            : std::numeric_limits<double>::infinity();
  for (int j = 0; j < values.columns(); ++j)
    if (j != k)
      nearest = std::min(nearest, std::fabs(values.getElement(0, k) -
                                            values.getElement(0, j)));
  return nearest;
}

// Compares the columns of \p vectors with those of \p expected up to sign,
// each within c * scale / gap_k, noting the largest error relative to 1.
void expectVectors(const CMatrix<double>& vectors,
                   const CMatrix<double>& expected,
                   const CMatrix<double>& values, double c, bool withZero,
                   const std::string& what, Worst& worst) {
  const double scale = maxAbs(values);
  for (int k = 0; k < expected.columns(); ++k) {
    double dot = 0;
    for (int i = 0; i < expected.rows(); ++i)
      dot += vectors.getElement(i, k) * expected.getElement(i, k);
    const double sign = dot < 0 ? -1 : 1;
    double error = 0;
    for (int i = 0; i < expected.rows(); ++i)
      error = std::max(error, std::fabs(vectors.getElement(i, k) -
                                        sign * expected.getElement(i, k)));
    const double bound = c * scale / gap(values, k, withZero);
    worst.note(what, error, bound);
    EXPECT_LE(error, bound) << what << " column " << k;
  }
}

// Compares \p actual with \p expected within c * factor * max|expected|.
void expectClose(const CMatrix<double>& actual, const CMatrix<double>& expected,
                 double bound, const std::string& what, Worst& worst) {
  const double error = maxDifference(actual, expected);
  worst.note(what, error / maxAbs(expected), bound);
  EXPECT_LE(error, bound * maxAbs(expected)) << what;
}

// The operands of one case: a general matrix (svd, solve, inverse), a
// symmetric one (eigen) and a positive definite one (cholesky), each already
// rounded to T, and the right-hand sides of solve.
struct Operands {
  CMatrix<double> general, symmetric, positiveDefinite, rightHandSides;
};

template <typename T>
Operands roundedTo(const Operands& operands) {
  return {widen(convert<T>(operands.general)),
          widen(convert<T>(operands.symmetric)),
          widen(convert<T>(operands.positiveDefinite)),
          widen(convert<T>(operands.rightHandSides))};
}

// Runs every routine on \p operands in T and in scipy and compares them.
template <typename T>
void crossCheck(const Operands& exact, const std::string& name) {
  SCOPED_TRACE(name);
  const Operands operands = roundedTo<T>(exact);
  const OperandFile general(operands.general), symmetric(operands.symmetric),
      positiveDefinite(operands.positiveDefinite),
      rightHandSides(operands.rightHandSides);
  const bool square = operands.general.rows() == operands.general.columns();
  std::string requests = "eigh " + symmetric.argument() + " svd " +
                         general.argument() + " cholesky " +
                         positiveDefinite.argument();
  if (square)
    requests += " solve " + general.argument() + " " +
                rightHandSides.argument() + " inv " + general.argument();
  const std::string output = runPython(kScript, requests);
  const std::vector<Reference> references = parseReferences(output);
  ASSERT_EQ(references.size(), square ? 5u : 3u) << output;
  // Only cholesky may be refused: rounding to float can leave an
  // ill-conditioned matrix indefinite.
  for (const Reference& reference : references)
    EXPECT_TRUE(reference.op == "cholesky" || !reference.failed) << output;
  if (testing::Test::HasFailure()) return;

  const int n = std::max(operands.general.rows(), operands.general.columns());
  const double c = kSlack * n * std::numeric_limits<T>::epsilon();
  Worst worst;

  CDenseVector<T> values;
  CMatrix<T> vectors;
  ASSERT_TRUE(symmetricEigen(convert<T>(operands.symmetric), values, vectors));
  const Reference& eigh = references[0];
  expectClose(widen(values), eigh.results[0], c, "eigenvalues", worst);
  expectVectors(widen(vectors), eigh.results[1], eigh.results[0], c, false,
                "eigenvectors", worst);

  CMatrix<T> u, vt;
  CDenseVector<T> singular;
  ASSERT_TRUE(svd(convert<T>(operands.general), u, singular, vt));
  const Reference& svdReference = references[1];
  expectClose(widen(singular), svdReference.results[1], c, "singular values",
              worst);
  expectVectors(widen(u), svdReference.results[0], svdReference.results[1], c,
                !square, "left singular vectors", worst);
  expectVectors(widen(vt).transpose(), svdReference.results[2].transpose(),
                svdReference.results[1], c, !square, "right singular vectors",
                worst);

  CMatrix<T> lower;
  const CLinearAlgebraResult factored =
      cholesky(convert<T>(operands.positiveDefinite), lower);
  const Reference& choleskyReference = references[2];
  if (choleskyReference.failed) {
    EXPECT_EQ(factored.status(), LA_NOT_POSITIVE_DEFINITE);
  } else {
    ASSERT_TRUE(factored) << factored.message();
    expectClose(widen(lower), choleskyReference.results[0],
                c * choleskyReference.condition, "cholesky", worst);
  }

  if (square) {
    CMatrix<T> x, inverted;
    ASSERT_TRUE(solve(convert<T>(operands.general),
                      convert<T>(operands.rightHandSides), x));
    expectClose(widen(x), references[3].results[0], c * references[3].condition,
                "solve", worst);
    ASSERT_TRUE(inverse(convert<T>(operands.general), inverted));
    expectClose(widen(inverted), references[4].results[0],
                c * references[4].condition, "inverse", worst);
  }
  worst.record();
}

// Elements uniform in [-1, 1) from a fixed seed.
Operands randomOperands(int rows, int columns, unsigned seed) {
  std::mt19937 random(seed);
  const CMatrix<double> g = randomMatrix<double>(rows, columns, random);
  const CMatrix<double> s = randomMatrix<double>(rows, rows, random);
  return {g, s + s.transpose(),
          s.transpose() * s + identity<double>(rows) * double(rows),
          randomMatrix<double>(rows, 3, random)};
}

// The same symmetric positive definite matrix in every role.
Operands fromSymmetric(const CMatrix<double>& a) {
  std::mt19937 random(a.rows());
  return {a, a, a, randomMatrix<double>(a.rows(), 2, random)};
}

// (i, j) = 1 / (i + j + 1): condition about 1.5e7 for n = 6, 1.6e13 for 10.
CMatrix<double> hilbert(int n) {
  CMatrix<double> h(n, n);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) h(i, j) = 1.0 / (i + j + 1);
  return h;
}

// Q diag(1, ..., 1e-8) Q^T with Q a Householder reflection of a random
// vector: symmetric positive definite with condition 1e8.
CMatrix<double> conditioned(int n) {
  std::mt19937 random(n);
  const CMatrix<double> v = randomMatrix<double>(n, 1, random);
  const CMatrix<double> vtv = v.transpose() * v;
  const CMatrix<double> q =
      identity<double>(n) - v * v.transpose() * (2 / vtv.getElement(0, 0));
  CMatrix<double> d(n, n);
  for (int k = 0; k < n; ++k) d(k, k) = std::pow(10.0, -8.0 * k / (n - 1));
  const CMatrix<double> a = q * d * q.transpose();
  return (a + a.transpose()) * 0.5;  // exactly symmetric
}

template <typename T>
class LinearAlgebraCrossCheckTest : public testing::Test {
 protected:
  void SetUp() override {
    VECML_REQUIRE_PYTHON_MODULE("scipy.linalg", "python3-scipy");
  }
};
TYPED_TEST_SUITE(LinearAlgebraCrossCheckTest, FloatingTypes);

TYPED_TEST(LinearAlgebraCrossCheckTest, RandomSquareMatrices) {
  for (const int n : {1, 4, 17, 60})
    crossCheck<TypeParam>(randomOperands(n, n, 1000 + n),
                          "random " + std::to_string(n));
}

TYPED_TEST(LinearAlgebraCrossCheckTest, RandomRectangularMatrices) {
  struct Shape {
    int rows, columns;
  };
  for (const Shape shape : {Shape{7, 3}, Shape{3, 7}, Shape{40, 25}})
    crossCheck<TypeParam>(
        randomOperands(shape.rows, shape.columns, shape.rows + shape.columns),
        "random " + std::to_string(shape.rows) + " x " +
            std::to_string(shape.columns));
}

TYPED_TEST(LinearAlgebraCrossCheckTest, Hilbert6) {
  crossCheck<TypeParam>(fromSymmetric(hilbert(6)), "Hilbert 6");
}

// Beyond float's precision: the matrices are checked in double only.
TEST(LinearAlgebraDoubleCrossCheckTest, Hilbert10) {
  VECML_REQUIRE_PYTHON_MODULE("scipy.linalg", "python3-scipy");
  crossCheck<double>(fromSymmetric(hilbert(10)), "Hilbert 10");
}

TEST(LinearAlgebraDoubleCrossCheckTest, ConditionOneE8) {
  VECML_REQUIRE_PYTHON_MODULE("scipy.linalg", "python3-scipy");
  crossCheck<double>(fromSymmetric(conditioned(12)), "condition 1e8");
}

}  // namespace
