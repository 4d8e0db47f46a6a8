// SPDX-License-Identifier: MIT
// Dense column-major matrix with arithmetic, products, text and binary
// persistence, MAT-file exchange, and the index odometers.
#ifndef VECML_MATRIX_CMATRIX_H
#define VECML_MATRIX_CMATRIX_H

#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/core/detail/OutOfRange.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

/// Kinds of matrices that eig() may be told about; eig() ignores it.
enum TMatrixType { MT_GENERAL = 0, MT_SYMMETRIC = 1 };

/// rows x columns elements of T (int, float or double) in one owned array,
/// column-major: element (i, j) lives at _data()[i + j * rows()].
///
/// The array holds rows() * columns() elements when that product is
/// positive and is null otherwise; every array starts zero-filled. A shape
/// whose element count exceeds the int range cannot be allocated and throws
/// std::bad_array_new_length.
///
/// Nothing checks indices or the shapes of operands. Positions outside
/// 0 <= i < rows(), 0 <= j < columns() are a broken precondition that stays
/// memory-safe: reads give 0 and writes are dropped. Right-hand operands of
/// the element-wise operations must hold at least as many elements as this
/// matrix; missing elements count as 0.
///
/// \code
///   CMatrix<double> a(2, 2, true);
///   a.setDiagonal(2.0);
///   CMatrix<double> b = a * a;  // 4 on the diagonal
///   b.dump(std::cout);
/// \endcode
template <typename T>
class VECML_API CMatrix : public CObject<T> {
 public:
  /// A rows x columns matrix of zeros (whatever \p init says).
  explicit CMatrix(int rows = 0, int columns = 0, bool init = true);
  CMatrix(const CMatrix<T>& other);
  /// Takes the elements of \p other, leaving it 0 x 0.
  CMatrix(CMatrix<T>&& other) noexcept;
  ~CMatrix() override;

  /// Copies into the existing array when the shapes agree, else reallocates.
  CMatrix<T>& operator=(const CMatrix<T>& other);
  CMatrix<T>& operator=(CMatrix<T>&& other) noexcept;

  /// Writes: element-type code, rows, columns (32-bit each), then the
  /// elements raw in storage order. Reads any code 0, 1 or 2, converting
  /// the stored elements to T (truncating toward zero for int).
  /// A read whose header or element block the stream cannot supply in
  /// full, whose code is unknown, or whose shape holds more elements than
  /// an int counts, sets the stream's failbit and leaves the matrix
  /// unchanged; the stream need not be seekable.
  /// \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Stores rows, columns, then the elements row by row with a separator
  /// after each row; loads them in the same order.
  /// \return true.
  bool serialize2(CArchiv& archive) override;
  /// \return "CMatrix".
  std::string className() const override;

  /// Sets the shape; new elements are zero. With \p keep the elements of
  /// the block both shapes share stay at their (i, j).
  void resize(int rows, int columns, bool keep = false);
  int rows() const { return numRows; }
  int columns() const { return numColumns; }
  /// Raw element array in storage (column-major) order, owned by the matrix.
  T* _data() const { return data; }
  /// Copies rows() * columns() elements from \p source, which is
  /// column-major when \p columnMajor and row-major otherwise.
  /// requires: \p source holds that many elements.
  void setData(const T* source, bool columnMajor);
  void zeros();

  /// Unchecked read of (i, j). requires: (i, j) inside (otherwise 0).
  const T& getElement(int i, int j) const {
    return contains(i, j) ? data[i + j * numRows]
                          : vecml::detail::zeroElement<T>();
  }
  /// Unchecked access to (i, j). requires: (i, j) inside (otherwise the
  /// reference is to a scratch element and writes are dropped).
  T& operator()(int i, int j) {
    return contains(i, j) ? data[i + j * numRows]
                          : vecml::detail::discardedElement<T>();
  }
  /// Unchecked write of (i, j). requires: (i, j) inside (otherwise dropped).
  void setElement(int i, int j, const T& value) { (*this)(i, j) = value; }

  /// \return the nRows x nColumns block whose (i, j) is (r0 + i, c0 + j).
  CMatrix<T> operator()(int r0, int c0, int nRows, int nColumns) const;
  /// Copies \p block so that its (i, j) lands at (r0 + i, c0 + j).
  void insert(int r0, int c0, const CMatrix<T>& block);

  /// \return row i (dimension columns()).
  CDenseVector<T> getRow(int i) const;
  /// \return column j (dimension rows()).
  CDenseVector<T> getColumn(int j) const;
  /// \return (k, k) for k below rows(); positions beyond the columns give 0.
  CDenseVector<T> getDiagonal() const;
  /// Sets (i, j) to v.getElement(j) for j below columns().
  void setRow(int i, const CDenseVector<T>& v);
  /// Sets (i, j) to v[i] for i below rows().
  /// requires: v.dimension() >= rows(), else the vector's index check
  /// aborts with its ML_LS_CHK report.
  void setColumn(int j, CDenseVector<T>& v);
  /// Sets (k, k) to \p value for k below rows().
  void setDiagonal(T value);
  /// Sets (k, k) to v[k] for k below rows().
  /// requires: v.dimension() >= rows(), else the vector's index check
  /// aborts with its ML_LS_CHK report.
  void setDiagonal(CDenseVector<T>& v);

  /// Sum of (k, k) for k below columns() (not rows()): on a matrix with
  /// fewer rows than columns the positions below the last row add 0.
  T trace() const;
  /// Sum of all elements, row by row, from 0 (int sums wrap).
  T sumElements() const;
  /// Smallest element; its first position in row-major order goes to
  /// \p row and \p column. requires: a non-empty matrix (else 0 at (0, 0)).
  T minElement(int& row, int& column) const;
  /// Largest element, as minElement().
  T maxElement(int& row, int& column) const;
  /// Square root of the sum of squares: float and double accumulate with
  /// fused multiply-add in storage order; int sums wrap and the root of
  /// the sum is taken in double and truncated toward zero.
  T frobeniusNorm() const;
  /// \return true when any element is NaN (never for int).
  bool isNaN() const;

  /// Scalar operations on every element; int wraps, and an int division
  /// by zero raises SIGFPE when the matrix has elements.
  CMatrix<T>& operator*=(T factor);
  CMatrix<T>& operator+=(T value);
  CMatrix<T>& operator-=(T value);
  CMatrix<T>& operator/=(T divisor);
  /// Element-wise over this matrix's elements in storage order.
  CMatrix<T>& operator+=(const CMatrix<T>& other);
  CMatrix<T>& operator-=(const CMatrix<T>& other);

  /// \return the columns() x rows() matrix whose (i, j) is this (j, i).
  CMatrix<T> transpose() const;
  /// Becomes an m x n tiling of \p block (this matrix may be the block).
  void replicateMatrix(int m, int n, const CMatrix<T>& block);

  /// Placeholder: \return a copy of this matrix, unchanged.
  /// For the inverse, see inverse() in LinearAlgebra.h.
  CMatrix<T> invert() const;
  /// Placeholder: computes nothing and touches no argument. \return false.
  /// For eigenvalues, see symmetricEigen() in LinearAlgebra.h.
  bool eig(CDenseVector<T>& values, CMatrix<T>& vectors, int count,
           TMatrixType type);
  /// Placeholder: leaves \p lower, \p upper and \p permutation exactly as
  /// passed. \return true.
  /// To solve with an LU factorization, see solve() in LinearAlgebra.h.
  bool calcLUFactorization(CMatrix<T>& lower, CMatrix<T>& upper,
                           CDenseVector<int>& permutation) const;
  /// Sign times the product of U(k, k) for k below rows(), from the
  /// placeholder factorization. Its U stays 0 x 0, so its diagonal reads 0:
  /// the result is 1 when rows() <= 0 and 0 otherwise.
  T determinant() const;

  /// Writes "<rows>x<columns> matrix:", then one line "[ e e ... ]" per row
  /// (each element followed by a blank; float and double written as
  /// double, with the stream's precision set to 5 and left so), then an
  /// empty line. Each line end is put and flushed.
  /// \return \p os.
  std::ostream& dump(std::ostream& os) const;

  // MAT files come in two layouts. exportToMatFile()/importFromMatFile()
  // use this library's own records, whose five header fields are 8 bytes
  // wide; only this library reads them back. exportToStandardMatFile()/
  // importFromStandardMatFile() use the standard Level 4 layout with 4-byte
  // header fields, which other numerical tools read and write: use those
  // to exchange matrices with other programs.

  /// Writes this matrix as one MAT record named \p variableName, appended
  /// to \p fileName or replacing it.
  /// requires: \p variableName is a zero-terminated string.
  /// \return false when the file cannot be opened (nothing is written).
  bool exportToMatFile(const char* fileName, const char* variableName,
                       bool append) const;
  /// Reads the first MAT record named \p variableName, printing
  /// "Read variable <name>" for every record scanned and one final line
  /// with an empty name when the end of the file is reached. Name bytes
  /// that are not printable ASCII, and the backslash, are printed as \xNN.
  /// The scan ends, as at the end of the file, once the records passed over
  /// reach beyond the file's length when it was opened: a device such as
  /// /dev/zero gives one empty name and -3.
  /// Record sizes are taken from their low 32 bits. Data cut short by the
  /// end of the file leave the missing elements 0. A matching record with
  /// a negative row or column count, or whose elements would take more
  /// memory than the whole file holds, ends the scan with -3 and leaves
  /// the matrix unchanged. Names longer than 255 bytes never match; such
  /// a record prints an empty name and is skipped. A negative name length
  /// ends the scan with -3.
  /// \return 0 when read, -1 when the file cannot be opened, -3 when the
  ///         variable is not found.
  int importFromMatFile(const char* fileName, const char* variableName);

  /// Writes this matrix as one standard Level 4 MAT record named
  /// \p variableName (type 0: little-endian doubles, full numeric matrix,
  /// no imaginary part; 4-byte header fields), appended to \p fileName or
  /// replacing it. Elements are written column by column as doubles.
  /// requires: \p variableName is a zero-terminated string.
  /// \return false when the file cannot be opened (nothing is written).
  bool exportToStandardMatFile(const char* fileName, const char* variableName,
                               bool append) const;
  /// Reads the first standard Level 4 MAT record named \p variableName
  /// (names compare up to their first zero byte), printing nothing.
  /// Little-endian full numeric records of every precision (double, single,
  /// int32, int16, uint16, uint8) are read and converted to T: to float by
  /// rounding to nearest, to int by truncating toward zero. Records of
  /// other names are skipped whatever their class, imaginary parts
  /// included. No more is allocated than the record's data, which must be
  /// in the file in full; on any result but 0 the matrix is unchanged.
  /// \return 0 when read, -1 when the file cannot be opened, -3 when the
  ///         file ends after its last whole record without the variable,
  ///         -4 when the scan meets a record this library cannot read: the
  ///         variable has an imaginary part or is text or sparse, a type
  ///         is not little-endian numeric data of a known precision, a size
  ///         is negative or overflows, the imaginary flag is neither 0 nor
  ///         1, a name is empty or lacks its zero byte, or a record ends
  ///         early.
  int importFromStandardMatFile(const char* fileName, const char* variableName);

 private:
  // A negative row or column count contains no position.
  bool contains(int i, int j) const {
    return i >= 0 && i < numRows && j >= 0 && j < numColumns;
  }

  int numRows;
  int numColumns;
  T* data;
};

/// \return a new matrix of a's shape holding a + b (element-wise).
template <typename T>
VECML_API CMatrix<T> operator+(const CMatrix<T>& a, const CMatrix<T>& b);
/// \return a new matrix of a's shape holding a - b (element-wise).
template <typename T>
VECML_API CMatrix<T> operator-(const CMatrix<T>& a, const CMatrix<T>& b);
/// \return the element-wise product, in a's shape.
template <typename T>
VECML_API CMatrix<T> elementMul(const CMatrix<T>& a, const CMatrix<T>& b);
/// \return the element-wise quotient a / b, in a's shape.
template <typename T>
VECML_API CMatrix<T> elementDiv(const CMatrix<T>& a, const CMatrix<T>& b);
/// \return a copy of \p a with \p value added to every element.
template <typename T>
VECML_API CMatrix<T> operator+(const CMatrix<T>& a, const T& value);
template <typename T>
VECML_API CMatrix<T> operator-(const CMatrix<T>& a, const T& value);
template <typename T>
VECML_API CMatrix<T> operator*(const CMatrix<T>& a, const T& factor);
template <typename T>
VECML_API CMatrix<T> operator/(const CMatrix<T>& a, const T& divisor);

/// Matrix product, a.rows() x b.columns(): each element is accumulated
/// from 0 with std::fma over k = 0 .. a.columns() - 1 in ascending order,
/// so the result is bit-identical to that sequential sum.
/// requires: b.rows() >= a.columns() (missing rows of b count as 0).
template <typename T>
VECML_API CMatrix<T> operator*(const CMatrix<T>& a, const CMatrix<T>& b);
/// Matrix-by-vector product of dimension a.rows(); \p x may be sparse.
/// Element i accumulates a(i, j) * x[j] from 0 with std::fma, j ascending.
/// requires: x.dimension() >= a.columns() (missing elements count as 0).
template <typename T>
VECML_API CDenseVector<T> operator*(const CMatrix<T>& a, const CVector<T>& x);

/// \return the a.dimension() x b.dimension() matrix with (i, j) = a[i] * b[j].
template <typename T>
VECML_API CMatrix<T> outerProduct(const CDenseVector<T>& a,
                                  const CDenseVector<T>& b);

/// Writes "rows columns " and every element followed by a blank, in
/// storage order and default stream formatting, with no line end.
/// Failing to open \p path is not reported.
template <typename T>
VECML_API void save(const CMatrix<T>& m, const char* path);
/// Reads the form save() writes: the shape, then the elements in storage
/// order; values the file lacks or cannot be read stay 0. A file that
/// cannot be opened gives a 0 x 0 matrix. A shape that is not two numbers
/// (an unreadable or out-of-range number included), that is negative, or
/// that the file cannot back leaves \p m unchanged: every value, and also
/// each row and column of a matrix without elements, must be matched by
/// one character after the shape.
template <typename T>
VECML_API void load(CMatrix<T>& m, const char* path);
/// As above, but reports every failure: a file that cannot be opened, any
/// of the shape problems above, and a value that is missing or not a
/// number each give false with \p error set ("load(): <reason>; file:
/// <path>") and leave \p m unchanged.
/// \return true when the whole matrix was read.
template <typename T>
VECML_API bool load(CMatrix<T>& m, const char* path, std::string& error);

/// Steps \p counter through the box start..end (end inclusive), the last
/// dimension fastest; with \p init it copies \p start into \p counter. After
/// the last position it wraps to \p start without other signal.
/// requires: end and counter hold at least start.size() entries (only the
/// dimensions all three hold take part).
template <typename T>
VECML_API void nDimFor(const std::vector<T>& start, const std::vector<T>& end,
                       std::vector<T>& counter, bool init);
/// As nDimFor(), with the first dimension fastest.
template <typename T>
VECML_API void nDimForReverse(const std::vector<T>& start,
                              const std::vector<T>& end,
                              std::vector<T>& counter, bool init);

#define VECML_MATRIX_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CMatrix<T>;
VECML_FOR_ELEMENT_TYPES(VECML_MATRIX_INSTANTIATIONS, extern template)

#define VECML_MATRIX_OPERATOR_INSTANTIATIONS(INSTANTIATE, T)                   \
  INSTANTIATE CMatrix<T> operator+(const CMatrix<T>&, const CMatrix<T>&);      \
  INSTANTIATE CMatrix<T> operator-(const CMatrix<T>&, const CMatrix<T>&);      \
  INSTANTIATE CMatrix<T> elementMul(const CMatrix<T>&, const CMatrix<T>&);     \
  INSTANTIATE CMatrix<T> elementDiv(const CMatrix<T>&, const CMatrix<T>&);     \
  INSTANTIATE CMatrix<T> operator+(const CMatrix<T>&, const T&);               \
  INSTANTIATE CMatrix<T> operator-(const CMatrix<T>&, const T&);               \
  INSTANTIATE CMatrix<T> operator*(const CMatrix<T>&, const T&);               \
  INSTANTIATE CMatrix<T> operator/(const CMatrix<T>&, const T&);               \
  INSTANTIATE CMatrix<T> operator*(const CMatrix<T>&, const CMatrix<T>&);      \
  INSTANTIATE CDenseVector<T> operator*(const CMatrix<T>&, const CVector<T>&); \
  INSTANTIATE CMatrix<T> outerProduct(const CDenseVector<T>&,                  \
                                      const CDenseVector<T>&);
VECML_FOR_FLOATING_TYPES(VECML_MATRIX_OPERATOR_INSTANTIATIONS, extern template)

#define VECML_MATRIX_TEXT_FILE_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE void save(const CMatrix<T>&, const char*);      \
  INSTANTIATE void load(CMatrix<T>&, const char*);            \
  INSTANTIATE bool load(CMatrix<T>&, const char*, std::string&);
VECML_FOR_FLOATING_TYPES(VECML_MATRIX_TEXT_FILE_INSTANTIATIONS, extern template)

#define VECML_NDIMFOR_INSTANTIATIONS(INSTANTIATE, T)                     \
  INSTANTIATE void nDimFor(const std::vector<T>&, const std::vector<T>&, \
                           std::vector<T>&, bool);                       \
  INSTANTIATE void nDimForReverse(                                       \
      const std::vector<T>&, const std::vector<T>&, std::vector<T>&, bool);
VECML_FOR_ELEMENT_TYPES(VECML_NDIMFOR_INSTANTIATIONS, extern template)

#endif
