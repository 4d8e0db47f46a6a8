// SPDX-License-Identifier: MIT
// Exchange of datasets with delimited text (CSV) files.
#ifndef VECML_DATASET_CCSVFILE_H
#define VECML_DATASET_CCSVFILE_H

#include <cstddef>
#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"

/// Reads delimited text tables into datasets and writes datasets back. The
/// object holds the options; read() and write() exist for float and double.
///
/// Reading. Each line is one record; a line of only spaces and tabs is
/// skipped, a line end may be "\n" or "\r\n", and a UTF-8 byte-order mark
/// at the start of the file is ignored. Each delimiter character ends a
/// field (so two delimiters in a row enclose an empty field, which is not a
/// number). Spaces and tabs around a field are dropped, except the
/// delimiter itself. A field may be enclosed in double quotes, which keep
/// its text as it is (delimiters and spaces included) and hold a quote
/// written twice (""); only spaces and tabs may follow the closing quote.
/// A quoted field cannot span lines. The first record (the header line
/// when there is one) fixes the number of columns; every line must have as
/// many. Values are decimal or scientific numbers with an optional sign,
/// or inf, infinity and nan in any case, read in the C locale whatever the
/// process locale is, and rounded to T once (a float column is not read
/// through double). Hexadecimal numbers are not accepted; a value too
/// large for T, or too small to be anything but 0 in T, is an error.
///
/// Columns are numbered from 0 in the options. Item i (ids 0..N-1 in file
/// order) gets a dense input vector of the input columns' values and a dense
/// output vector of the output columns' values followed, when a label column
/// is set, by the label. Columns may be listed in any order and more than
/// once. Without an explicit input list every column that is neither an
/// output nor the label is an input.
///
/// Labels. When every label field of the file is a number and no label
/// names were set, each label is its value. Otherwise every label is a name
/// (also those that look like numbers): the names set with setLabelNames()
/// keep their positions 0, 1, ..., and the others follow in order of first
/// appearance. labelNames() gives the mapping the last successful read used.
///
/// Errors leave the dataset unchanged and describe the first problem in
/// \p error as "CCsvFile::read(): <reason>", for example "line 7, column 3:
/// 'abc' is not a number" (lines and columns in messages count from 1, as
/// an editor shows them), "line 5: 3 columns, expected 5", "the file is
/// empty", or "column 9 is selected, but lines have 5 columns"; the
/// file-name forms add "; file: <name>".
///
/// Writing puts one line per item: its input values, then its output
/// values, separated by the delimiter, each with max_digits10 significant
/// digits of T so that reading gives the same value back. With a header,
/// the first line names the columns: inputNames() and outputNames() of the
/// last read when both fit the dataset's dimensions, else x0, x1, ... and
/// y0, y1, .... An empty dataset writes only the header line, if any. With a
/// label column set and labelNames() not empty, the last output value is
/// written as the name it stands for when it is one of
/// 0..labelNames().size()-1. Names holding the delimiter, a quote or
/// surrounding spaces are quoted.
///
/// \code
///   CCsvFile csv;
///   csv.setHeader(true);
///   csv.setLabelColumn(4);
///   CDataset<float> data;
///   std::string error;
///   if (!csv.read("iris.csv", data, error)) std::cerr << error << '\n';
/// \endcode
class VECML_API CCsvFile {
 public:
  /// Longest field text read (quotes and surrounding blanks not counted).
  static constexpr std::size_t kMaxFieldLength = 65536;
  /// Longest line read (its line end not counted).
  static constexpr std::size_t kMaxLineLength = std::size_t(1) << 27;

  /// Delimiter ',', no header, all columns inputs, no outputs, no label.
  CCsvFile();

  /// requires: \p delimiter is none of the characters that appear in
  /// numbers (letters, digits, '+', '-', '.'), nor '"', carriage return, line
  /// feed or NUL; read() and write() refuse such a delimiter with an error.
  void setDelimiter(char delimiter) { separator = delimiter; }
  char delimiter() const { return separator; }
  /// Whether the first line holds column names rather than values.
  void setHeader(bool header) { headerLine = header; }
  bool header() const { return headerLine; }
  /// The input columns; an empty list means every column that is neither
  /// an output nor the label.
  void setInputColumns(const std::vector<int>& columns) { inputs = columns; }
  const std::vector<int>& inputColumns() const { return inputs; }
  /// The output columns (default none).
  void setOutputColumns(const std::vector<int>& columns) { outputs = columns; }
  const std::vector<int>& outputColumns() const { return outputs; }
  /// The class-label column, or -1 (the default) for none.
  void setLabelColumn(int column) { label = column; }
  int labelColumn() const { return label; }
  /// Label names that keep the values 0, 1, ... in every read, so that
  /// several files get the same numbering; reading adds new names after
  /// them.
  void setLabelNames(const std::vector<std::string>& names) {
    presetLabels = names;
  }

  /// The label names of the last successful read, name k standing for the
  /// value k; empty after a read whose labels were numbers.
  const std::vector<std::string>& labelNames() const { return labelList; }
  /// The header names of the input columns in the last successful read
  /// (empty without a header).
  const std::vector<std::string>& inputNames() const { return inputList; }
  /// The header names of the output columns (and the label column, last)
  /// in the last successful read (empty without a header).
  const std::vector<std::string>& outputNames() const { return outputList; }

  /// Reads the table in \p in into \p data (items replaced; the info text,
  /// grow size and meta data are kept). On success records labelNames(),
  /// inputNames() and outputNames().
  /// \return true on success; false with \p error set and \p data and the
  ///         recorded names unchanged otherwise.
  template <typename T>
  bool read(std::istream& in, CDataset<T>& data, std::string& error) const;
  /// As above from the file \p fileName.
  template <typename T>
  bool read(const char* fileName, CDataset<T>& data, std::string& error) const;

  /// Writes \p data to \p out as described in the class comment.
  /// \return false with \p error set ("CCsvFile::write(): <reason>") when
  ///         the delimiter is refused, an item's dimensions differ from the
  ///         first item's (nothing is written then), or the stream fails.
  template <typename T>
  bool write(std::ostream& out, const CDataset<T>& data,
             std::string& error) const;
  /// As above into the file \p fileName (created or truncated; untouched
  /// when the dataset is refused).
  template <typename T>
  bool write(const char* fileName, const CDataset<T>& data,
             std::string& error) const;

 private:
  char separator;
  bool headerLine;
  std::vector<int> inputs;
  std::vector<int> outputs;
  int label;
  std::vector<std::string> presetLabels;
  // What the last successful read found; a read is const towards the
  // options and only records its findings here.
  mutable std::vector<std::string> labelList;
  mutable std::vector<std::string> inputList;
  mutable std::vector<std::string> outputList;
};

#define VECML_CSV_FILE_READ_INSTANTIATIONS(INSTANTIATE, T)                    \
  INSTANTIATE bool CCsvFile::read<T>(std::istream&, CDataset<T>&,             \
                                     std::string&) const;                     \
  INSTANTIATE bool CCsvFile::read<T>(const char*, CDataset<T>&, std::string&) \
      const;
#define VECML_CSV_FILE_WRITE_INSTANTIATIONS(INSTANTIATE, T)              \
  INSTANTIATE bool CCsvFile::write<T>(std::ostream&, const CDataset<T>&, \
                                      std::string&) const;               \
  INSTANTIATE bool CCsvFile::write<T>(const char*, const CDataset<T>&,   \
                                      std::string&) const;
VECML_FOR_FLOATING_TYPES(VECML_CSV_FILE_READ_INSTANTIATIONS, extern template)
VECML_FOR_FLOATING_TYPES(VECML_CSV_FILE_WRITE_INSTANTIATIONS, extern template)

#endif
