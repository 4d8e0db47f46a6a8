// SPDX-License-Identifier: MIT
// Delimited text tables to datasets and back.
#include "vecml/dataset/CCsvFile.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include "vecml/dataset/CDatasetItem.h"
#include "vecml/vector/CDenseVector.h"

#if !defined(__cpp_lib_to_chars)
#include <locale.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#endif

namespace {

const char* const kReadPrefix = "CCsvFile::read(): ";
const char* const kWritePrefix = "CCsvFile::write(): ";
// Field texts longer than this are cut in messages.
constexpr std::size_t kShownFieldLength = 40;

std::string fileSuffix(const char* fileName) {
  return std::string("; file: ") + fileName;
}

// A delimiter must not be able to occur inside a written number or name
// quote, else the written file would not read back.
bool isUsableDelimiter(char c) {
  const bool inNumbers = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
                         (c >= 'A' && c <= 'Z') || c == '+' || c == '-' ||
                         c == '.';
  return !inNumbers && c != '"' && c != '\r' && c != '\n' && c != '\0';
}

std::string delimiterProblem(char delimiter) {
  return "the delimiter '" + std::string(1, delimiter) +
         "' cannot separate numbers";
}

// Spaces and tabs around fields are dropped, unless one is the delimiter.
bool isPadding(char c, char delimiter) {
  return (c == ' ' || c == '\t') && c != delimiter;
}

bool isBlankLine(const std::string& line) {
  return line.find_first_not_of(" \t") == std::string::npos;
}

std::string position(long line, std::size_t column) {
  return "line " + std::to_string(line) + ", column " +
         std::to_string(column + 1);
}

std::string shown(const std::string& field) {
  if (field.size() <= kShownFieldLength) return "'" + field + "'";
  return "'" + field.substr(0, kShownFieldLength) + "...'";
}

// Splits `line` into `fields` (see the class comment for quoting).
// \return an empty string, or the problem with the column it is in.
std::string splitLine(const std::string& line, char delimiter, long lineNumber,
                      std::vector<std::string>& fields) {
  fields.clear();
  const std::size_t n = line.size();
  std::size_t at = 0;
  while (true) {
    while (at < n && isPadding(line[at], delimiter)) ++at;
    std::string field;
    if (at < n && line[at] == '"') {
      for (++at;; ++at) {
        if (at >= n)
          return position(lineNumber, fields.size()) + ": unterminated quote";
        if (line[at] == '"') {
          if (at + 1 >= n || line[at + 1] != '"') break;
          ++at;
        }
        field += line[at];
      }
      for (++at; at < n && isPadding(line[at], delimiter);) ++at;
      if (at < n && line[at] != delimiter)
        return position(lineNumber, fields.size()) +
               ": text after the closing quote";
    } else {
      std::size_t end = line.find(delimiter, at);
      if (end == std::string::npos) end = n;
      std::size_t last = end;
      while (last > at && isPadding(line[last - 1], delimiter)) --last;
      field = line.substr(at, last - at);
      at = end;
    }
    fields.push_back(std::move(field));
    if (at >= n) return "";
    ++at;
  }
}

enum class Parsed { kNumber, kNotANumber, kOutOfRange };

#if defined(__cpp_lib_to_chars)

// from_chars reads the C locale's number syntax without a leading '+',
// which is accepted here as strtod accepts it.
template <typename T>
Parsed parseNumber(const std::string& text, T& value) {
  const char* first = text.data();
  const char* const last = first + text.size();
  if (first != last && *first == '+' && ++first != last && *first == '-')
    return Parsed::kNotANumber;
  const std::from_chars_result result = std::from_chars(first, last, value);
  if (result.ptr != last) return Parsed::kNotANumber;
  if (result.ec == std::errc::result_out_of_range) return Parsed::kOutOfRange;
  return result.ec == std::errc() ? Parsed::kNumber : Parsed::kNotANumber;
}

template <typename T>
std::string formatNumber(T value) {
  char buffer[64];
  const std::to_chars_result result = std::to_chars(
      buffer, buffer + sizeof buffer, value, std::chars_format::general,
      std::numeric_limits<T>::max_digits10);
  return std::string(buffer, result.ptr);
}

#else

// Switches the calling thread to the C locale while it exists, so that the
// decimal point is '.' whatever the process locale is.
class CLocaleScope {
 public:
  CLocaleScope() : previous(uselocale(cLocale())) {}
  ~CLocaleScope() { uselocale(previous); }
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

 private:
  static locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t(0));
    return locale;
  }
  locale_t previous;
};

template <typename T>
T strtoNumber(const char* text, char** end) {
  if constexpr (std::is_same_v<T, float>) return std::strtof(text, end);
  return std::strtod(text, end);
}

// strtod also skips leading white space and reads hexadecimal numbers;
// both are refused so that this path accepts what from_chars accepts.
template <typename T>
Parsed parseNumber(const std::string& text, T& value) {
  const std::size_t digits = text.find_first_not_of("+-");
  if (text.empty() || text[0] == ' ' || text[0] == '\t' ||
      (digits != std::string::npos &&
       text.compare(digits, 2, "0x") * text.compare(digits, 2, "0X") == 0))
    return Parsed::kNotANumber;
  CLocaleScope cLocale;
  char* end = nullptr;
  errno = 0;
  const T parsed = strtoNumber<T>(text.c_str(), &end);
  if (end != text.c_str() + text.size()) return Parsed::kNotANumber;
  if (errno == ERANGE && (std::isinf(parsed) || parsed == 0))
    return Parsed::kOutOfRange;
  value = parsed;
  return Parsed::kNumber;
}

template <typename T>
std::string formatNumber(T value) {
  CLocaleScope cLocale;
  char buffer[64];
  const int length =
      std::snprintf(buffer, sizeof buffer, "%.*g",
                    std::numeric_limits<T>::max_digits10, double(value));
  return std::string(buffer, std::size_t(length));
}

#endif

template <typename T>
const char* typeName() {
  return std::is_same_v<T, float> ? "float" : "double";
}

// The values of one read table: per record its input values, then its
// output values, then (with a label column) the label text.
template <typename T>
struct Table {
  std::vector<std::string> header;
  std::vector<int> inputs;
  std::vector<int> outputs;
  std::vector<T> values;
  std::vector<std::string> labels;
  long records = 0;
};

// Reads the lines of a table; every method returns an empty string or the
// first problem found.
template <typename T>
class TableReader {
 public:
  TableReader(const CCsvFile& options, Table<T>& table)
      : options(options), table(table) {}

  std::string read(std::istream& in) {
    std::string line;
    std::vector<std::string> fields;
    long lineNumber = 0;
    bool seenRecord = false;
    while (std::getline(in, line)) {
      ++lineNumber;
      if (lineNumber == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0)
        line.erase(0, 3);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (isBlankLine(line)) continue;
      std::string problem =
          splitLine(line, options.delimiter(), lineNumber, fields);
      if (problem.empty()) problem = take(fields, lineNumber, seenRecord);
      if (!problem.empty()) return problem;
      seenRecord = true;
    }
    if (in.bad()) return "the stream could not be read";
    if (!seenRecord) return "the file is empty";
    return "";
  }

 private:
  std::string take(const std::vector<std::string>& fields, long lineNumber,
                   bool seenRecord) {
    if (!seenRecord) {
      columns = fields.size();
      const std::string problem = selectColumns();
      if (!problem.empty()) return problem;
      if (options.header()) {
        table.header = fields;
        return "";
      }
    } else if (fields.size() != columns) {
      return "line " + std::to_string(lineNumber) + ": " +
             std::to_string(fields.size()) + " columns, expected " +
             std::to_string(columns);
    }
    if (table.records == INT_MAX) return "more than 2147483647 records";
    ++table.records;
    return takeValues(fields, lineNumber);
  }

  // Resolves the default input list and checks every selected column.
  std::string selectColumns() {
    table.outputs = options.outputColumns();
    table.inputs = options.inputColumns();
    const int label = options.labelColumn();
    const int last = static_cast<int>(std::min<std::size_t>(columns, INT_MAX));
    if (table.inputs.empty()) {
      for (int column = 0; column < last; ++column)
        if (column != label && !isOutput(column))
          table.inputs.push_back(column);
    }
    std::vector<int> selected = table.inputs;
    selected.insert(selected.end(), table.outputs.begin(), table.outputs.end());
    if (label != -1) selected.push_back(label);
    for (int column : selected)
      if (column < 0 || column >= last)
        return "column " + std::to_string(column) +
               " is selected, but lines have " + std::to_string(columns) +
               " columns";
    return "";
  }

  bool isOutput(int column) const {
    for (int output : table.outputs)
      if (output == column) return true;
    return false;
  }

  std::string takeValues(const std::vector<std::string>& fields,
                         long lineNumber) {
    for (const std::vector<int>* list : {&table.inputs, &table.outputs}) {
      for (int column : *list) {
        std::string problem = takeValue(fields, column, lineNumber);
        if (!problem.empty()) return problem;
      }
    }
    if (options.labelColumn() != -1)
      table.labels.push_back(fields[std::size_t(options.labelColumn())]);
    return "";
  }

  std::string takeValue(const std::vector<std::string>& fields, int column,
                        long lineNumber) {
    const std::string& field = fields[std::size_t(column)];
    T value = 0;
    switch (parseNumber(field, value)) {
      case Parsed::kNumber:
        table.values.push_back(value);
        return "";
      case Parsed::kOutOfRange:
        return position(lineNumber, std::size_t(column)) + ": " + shown(field) +
               " is out of range for " + typeName<T>();
      case Parsed::kNotANumber:
        break;
    }
    return position(lineNumber, std::size_t(column)) + ": " + shown(field) +
           " is not a number";
  }

  const CCsvFile& options;
  Table<T>& table;
  std::size_t columns = 0;
};

// Label values: the numbers themselves when every label is one and no names
// are preset, else name positions in `names` (preset first, then new names
// in order of first appearance).
template <typename T>
std::vector<T> labelValues(const std::vector<std::string>& labels,
                           std::vector<std::string>& names) {
  std::vector<T> values(labels.size());
  bool numeric = names.empty();
  for (std::size_t i = 0; numeric && i < labels.size(); ++i)
    numeric = parseNumber(labels[i], values[i]) == Parsed::kNumber;
  if (numeric) return values;
  std::map<std::string, std::size_t> index;
  for (std::size_t k = names.size(); k-- > 0;) index[names[k]] = k;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const auto found = index.emplace(labels[i], names.size());
    if (found.second) names.push_back(labels[i]);
    values[i] = static_cast<T>(found.first->second);
  }
  return values;
}

std::vector<std::string> namesOf(const std::vector<std::string>& header,
                                 const std::vector<int>& columns) {
  std::vector<std::string> names;
  if (header.empty()) return names;
  for (int column : columns) names.push_back(header[std::size_t(column)]);
  return names;
}

// Quotes a name that would otherwise not read back as it is.
std::string quotedIfNeeded(const std::string& name, char delimiter) {
  const bool padded = !name.empty() && (isPadding(name.front(), delimiter) ||
                                        isPadding(name.back(), delimiter));
  if (!padded && name.find(delimiter) == std::string::npos &&
      name.find('"') == std::string::npos)
    return name;
  std::string quoted = "\"";
  for (char c : name) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

// Writes `fields` as one line; numbers never need quotes, since the
// delimiter cannot occur in them.
void writeLine(std::ostream& out, const std::vector<std::string>& fields,
               char delimiter) {
  for (std::size_t k = 0; k < fields.size(); ++k) {
    if (k > 0) out << delimiter;
    out << quotedIfNeeded(fields[k], delimiter);
  }
  out << '\n';
}

template <typename T>
void appendFormatted(const CVector<T>& vector, int count,
                     std::vector<std::string>& fields) {
  for (int j = 0; j < count; ++j)
    fields.push_back(formatNumber(vector.getElement(j)));
}

// prefix0, prefix1, ... (count names).
std::vector<std::string> numberedNames(const char* prefix, int count) {
  std::vector<std::string> names;
  for (int k = 0; k < count; ++k) names.push_back(prefix + std::to_string(k));
  return names;
}

// \return an empty string when every item has the first item's dimensions.
template <typename T>
std::string shapeProblem(const CDataset<T>& data) {
  for (int i = 0; i < data.items(); ++i) {
    const CDatasetItem<T>& item = data[i];
    if (item.inputDimension() != data.inputDimension() ||
        item.outputDimension() != data.outputDimension())
      return "item " + std::to_string(i) + " has dimensions " +
             std::to_string(item.inputDimension()) + " and " +
             std::to_string(item.outputDimension()) + ", the first item " +
             std::to_string(data.inputDimension()) + " and " +
             std::to_string(data.outputDimension());
  }
  return "";
}

// \return why `data` cannot be written with `delimiter`, or an empty string.
template <typename T>
std::string writeProblem(char delimiter, const CDataset<T>& data) {
  return isUsableDelimiter(delimiter) ? shapeProblem(data)
                                      : delimiterProblem(delimiter);
}

}  // namespace

CCsvFile::CCsvFile() : separator(','), headerLine(false), label(-1) {}

template <typename T>
bool CCsvFile::read(std::istream& in, CDataset<T>& data,
                    std::string& error) const {
  Table<T> table;
  std::string problem = isUsableDelimiter(separator)
                            ? TableReader<T>(*this, table).read(in)
                            : delimiterProblem(separator);
  if (!problem.empty()) {
    error = kReadPrefix + problem;
    return false;
  }
  std::vector<std::string> names = presetLabels;
  std::vector<T> labels;
  if (label != -1) labels = labelValues<T>(table.labels, names);

  const int inDim = static_cast<int>(table.inputs.size());
  const int outDim = static_cast<int>(table.outputs.size()) + (label != -1);
  const int count = static_cast<int>(table.records);
  const std::size_t width = table.inputs.size() + table.outputs.size();
  CDataset<T> loaded(count, data.growSize());
  for (int i = 0; i < count; ++i) {
    const T* values = table.values.data() + std::size_t(i) * width;
    // The record holds the output columns only; the label slot is filled
    // below, so only those are copied.
    CDenseVector<T> output(outDim);
    std::copy(values + inDim, values + width, output.begin());
    if (label != -1) output[outDim - 1] = labels[std::size_t(i)];
    loaded.appendItem(
        CDatasetItem<T>(CDenseVector<T>(inDim, values), output, i));
  }
  data = std::move(loaded);

  labelList = label != -1 ? names : std::vector<std::string>();
  inputList = namesOf(table.header, table.inputs);
  std::vector<int> outputColumns = table.outputs;
  if (label != -1) outputColumns.push_back(label);
  outputList = namesOf(table.header, outputColumns);
  return true;
}

template <typename T>
bool CCsvFile::read(const char* fileName, CDataset<T>& data,
                    std::string& error) const {
  std::ifstream in(fileName, std::ios::in | std::ios::binary);
  if (!in) {
    error = kReadPrefix + std::string("cannot open the file") +
            fileSuffix(fileName);
    return false;
  }
  if (read(in, data, error)) return true;
  error += fileSuffix(fileName);
  return false;
}

template <typename T>
bool CCsvFile::write(std::ostream& out, const CDataset<T>& data,
                     std::string& error) const {
  const std::string problem = writeProblem(separator, data);
  if (!problem.empty()) {
    error = kWritePrefix + problem;
    return false;
  }
  const int inDim = data.inputDimension();
  const int outDim = data.outputDimension();
  if (headerLine) {
    const bool readNamesFit = inputList.size() == std::size_t(inDim) &&
                              outputList.size() == std::size_t(outDim);
    std::vector<std::string> names =
        readNamesFit ? inputList : numberedNames("x", inDim);
    for (const std::string& name :
         readNamesFit ? outputList : numberedNames("y", outDim))
      names.push_back(name);
    writeLine(out, names, separator);
  }
  const bool namedLabels = label != -1 && !labelList.empty() && outDim > 0;
  std::vector<std::string> fields;
  for (int i = 0; i < data.items(); ++i) {
    fields.clear();
    appendFormatted(*data[i].inputVector(), inDim, fields);
    appendFormatted(*data[i].outputVector(), outDim, fields);
    const T lastOutput = outDim > 0 ? data[i].outputComponent(outDim - 1) : 0;
    if (namedLabels && lastOutput >= 0 && lastOutput < T(labelList.size()) &&
        lastOutput == std::floor(lastOutput))
      fields.back() = labelList[std::size_t(lastOutput)];
    writeLine(out, fields, separator);
  }
  out.flush();
  if (out) return true;
  error = kWritePrefix + std::string("the stream could not be written");
  return false;
}

template <typename T>
bool CCsvFile::write(const char* fileName, const CDataset<T>& data,
                     std::string& error) const {
  const std::string problem = writeProblem(separator, data);
  if (!problem.empty()) {
    error = kWritePrefix + problem + fileSuffix(fileName);
    return false;
  }
  std::ofstream out(fileName,
                    std::ios::out | std::ios::binary | std::ios::trunc);
  bool written = false;
  if (!out)
    error = kWritePrefix + std::string("cannot open the file for writing");
  else
    written = write(out, data, error);
  out.close();
  if (written && !out) {
    error = kWritePrefix + std::string("the stream could not be written");
    written = false;
  }
  if (!written) error += fileSuffix(fileName);
  return written;
}

VECML_FOR_FLOATING_TYPES(VECML_CSV_FILE_INSTANTIATIONS, template)
