// SPDX-License-Identifier: MIT
// Reading delimited text tables into datasets. The table is parsed one
// character at a time, straight from the stream's buffer: a field's text is
// held only while it is taken, and a line's values only until its item is
// built, so memory follows what the dataset keeps rather than line lengths.
#include <algorithm>
#include <climits>
#include <cstddef>
#include <deque>
#include <fstream>
#include <istream>
#include <map>
#include <set>
#include <streambuf>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/detail/CsvText.h"
#include "vecml/vector/CDenseVector.h"

using vecml::detail::csvFileSuffix;
using vecml::detail::delimiterProblem;
using vecml::detail::isPadding;
using vecml::detail::isUsableDelimiter;
using vecml::detail::Parsed;
using vecml::detail::parseNumber;

namespace {

const char* const kReadPrefix = "CCsvFile::read(): ";
// Field texts longer than this are cut in messages.
constexpr std::size_t kShownFieldLength = 40;
// No number or label needs a longer field, and a line this long already
// holds millions of values. Both bounds, and the line count that line
// numbers in messages can show, keep an endless stream (a device, a pipe)
// from being read for ever or filling memory.
constexpr std::size_t kMaxFieldLength = CCsvFile::kMaxFieldLength;
constexpr std::size_t kMaxLineLength = CCsvFile::kMaxLineLength;
constexpr long kMaxLines = INT_MAX;

std::string position(long line, std::size_t column) {
  return "line " + std::to_string(line) + ", column " +
         std::to_string(column + 1);
}

std::string shown(const std::string& field) {
  if (field.size() <= kShownFieldLength) return "'" + field + "'";
  return "'" + field.substr(0, kShownFieldLength) + "...'";
}

template <typename T>
const char* typeName() {
  return std::is_same_v<T, float> ? "float" : "double";
}

// The characters of a stream, taken from its buffer a block at a time. A
// buffer that throws ends the input and counts as a read error.
class CharSource {
 public:
  static constexpr int kEnd = std::char_traits<char>::eof();

  explicit CharSource(std::streambuf* buffer)
      : buffer(buffer), block(kBlockBytes) {}

  int next() {
    if (at == end && !refill()) return kEnd;
    return static_cast<unsigned char>(block[at++]);
  }
  int peek() {
    if (at == end && !refill()) return kEnd;
    return static_cast<unsigned char>(block[at]);
  }
  // Drops a UTF-8 byte-order mark at the start of the input.
  void skipByteOrderMark() {
    static const char kMark[] = "\xEF\xBB\xBF";
    while (end < 3 && fill(end)) {
    }
    if (end >= 3 && std::equal(kMark, kMark + 3, block.begin())) at = 3;
  }
  bool failed() const { return broken; }

 private:
  static constexpr std::size_t kBlockBytes = 65536;

  bool refill() {
    at = end = 0;
    return fill(0);
  }
  // Appends what the buffer gives to the block from `from` on.
  bool fill(std::size_t from) {
    if (buffer == nullptr || broken) return false;
    std::streamsize got = 0;
    try {
      got = buffer->sgetn(block.data() + from,
                          static_cast<std::streamsize>(kBlockBytes - from));
    } catch (...) {
      broken = true;
    }
    end = from + static_cast<std::size_t>(std::max<std::streamsize>(got, 0));
    return got > 0;
  }

  std::streambuf* buffer;
  std::vector<char> block;
  std::size_t at = 0;
  std::size_t end = 0;
  bool broken = false;
};

// Labels as the file gives them: their values while every label is a
// number and no names are preset, and always their name numbers (preset
// names first, then new names in order of first appearance).
template <typename T>
class LabelColumn {
 public:
  explicit LabelColumn(const std::vector<std::string>& preset)
      : names(preset), numeric(preset.empty()) {
    for (std::size_t k = names.size(); k-- > 0;) index[names[k]] = k;
  }

  void take(const std::string& text) {
    T value = 0;
    if (numeric && parseNumber(text, value) != Parsed::kNumber) {
      numeric = false;
      values = std::vector<T>();
    }
    if (numeric) values.push_back(value);
    const auto found = index.emplace(text, names.size());
    if (found.second) names.push_back(text);
    numbers.push_back(found.first->second);
  }

  T valueOf(std::size_t record) const {
    return numeric ? values[record] : static_cast<T>(numbers[record]);
  }
  // The names the values stand for; none when the labels are numbers.
  std::vector<std::string> takeNames() {
    return numeric ? std::vector<std::string>() : std::move(names);
  }

 private:
  std::vector<std::string> names;
  std::map<std::string, std::size_t> index;
  bool numeric;
  std::vector<T> values;
  std::vector<std::size_t> numbers;
};

// Reads a table into items; read() returns an empty string or the first
// problem. Within a line, a broken quote or an overlong field or line is
// reported at once, a wrong column count next, and only then the first bad
// value in the order the values are taken (inputs, then outputs).
template <typename T>
class TableReader {
 public:
  // \p presetLabels are the names set with setLabelNames().
  TableReader(const CCsvFile& options,
              const std::vector<std::string>& presetLabels)
      : options(options),
        delimiter(options.delimiter()),
        label(options.labelColumn()),
        defaultInputs(options.inputColumns().empty()),
        labels(presetLabels),
        loaded(0, 0) {
    indexColumns(options.inputColumns(), inputSlots);
    indexColumns(options.outputColumns(), outputSlots);
  }

  std::string read(std::istream& in) {
    std::istream::sentry ready(in, true);
    CharSource source(ready ? in.rdbuf() : nullptr);
    source.skipByteOrderMark();
    std::string problem;
    while (problem.empty() && source.peek() != CharSource::kEnd) {
      if (lineNumber == kMaxLines) return "more than 2147483647 lines";
      ++lineNumber;
      problem = readLine(source);
    }
    if (source.failed()) {
      in.setstate(std::ios::badbit);
      return "the stream could not be read";
    }
    if (!problem.empty()) return problem;
    in.setstate(std::ios::eofbit | std::ios::failbit);
    if (!seenRecord) return "the file is empty";
    return "";
  }

  // The items read, their labels filled in.
  CDataset<T> takeItems() {
    if (label != -1) {
      const int last = outputDimension() - 1;
      for (int i = 0; i < loaded.items(); ++i)
        static_cast<CDenseVector<T>&>(*loaded[i].outputVector())[last] =
            labels.valueOf(std::size_t(i));
    }
    return std::move(loaded);
  }
  std::vector<std::string> takeLabelNames() {
    return label != -1 ? labels.takeNames() : std::vector<std::string>();
  }
  std::vector<std::string> inputNames() const {
    if (header.empty()) return {};
    if (!defaultInputs) return namesOf(options.inputColumns());
    std::vector<std::string> names;
    for (std::size_t column = 0; column < header.size(); ++column)
      if (isDefaultInput(column)) names.push_back(header[column]);
    return names;
  }
  std::vector<std::string> outputNames() const {
    std::vector<int> columns = options.outputColumns();
    if (label != -1) columns.push_back(label);
    return header.empty() ? std::vector<std::string>() : namesOf(columns);
  }

 private:
  using Slots = std::map<int, std::vector<std::size_t>>;

  static void indexColumns(const std::vector<int>& columns, Slots& slots) {
    for (std::size_t slot = 0; slot < columns.size(); ++slot)
      slots[columns[slot]].push_back(slot);
  }

  bool isDefaultInput(std::size_t column) const {
    return defaultInputs && column != std::size_t(label) &&
           outputSlots.count(int(column)) == 0;
  }

  std::vector<std::string> namesOf(const std::vector<int>& columns) const {
    std::vector<std::string> names;
    for (int column : columns) names.push_back(header[std::size_t(column)]);
    return names;
  }

  int outputDimension() const {
    return int(options.outputColumns().size()) + (label != -1);
  }

  // --- One line ----------------------------------------------------------

  // True at a line end, which is then consumed: "\n", or a carriage return
  // right before "\n" or the end of the input.
  static bool takeLineEnd(CharSource& source, int c) {
    if (c == CharSource::kEnd || c == '\n') return true;
    if (c != '\r') return false;
    const int after = source.peek();
    if (after != '\n' && after != CharSource::kEnd) return false;
    source.next();
    return true;
  }

  // The next character of the line. Once the line holds the most bytes
  // allowed, only its line end may follow; anything else gives the end of
  // the input instead and marks the line too long (readField() reports it).
  int nextInLine(CharSource& source) {
    if (lineBytes >= kMaxLineLength) {
      const int c = source.peek();
      const bool lineEnd = c == '\n' || c == CharSource::kEnd ||
                           (c == '\r' && lineBytes == kMaxLineLength);
      if (!lineEnd) {
        lineTooLong = true;
        return CharSource::kEnd;
      }
    }
    ++lineBytes;
    return source.next();
  }

  bool isDelimiter(int c) const {
    return c != CharSource::kEnd && char(c) == delimiter;
  }
  bool isPaddingChar(int c) const {
    return c != CharSource::kEnd && isPadding(char(c), delimiter);
  }

  std::string readLine(CharSource& source) {
    // Blank lines before the header line leave names behind.
    if (!seenRecord) header.clear();
    lineBytes = 0;
    lineTooLong = false;
    column = 0;
    blank = true;
    valueProblem.clear();
    problemRank = {2, 0};
    inputValues.clear();
    outputValues.assign(options.outputColumns().size(), T(0));
    if (!defaultInputs) inputValues.resize(options.inputColumns().size());
    int c = nextInLine(source);
    for (;;) {
      std::string problem = readField(source, c);
      if (!problem.empty()) return problem;
      if (takeLineEnd(source, c)) break;
      // c is the delimiter; a line of blanks may be split by one.
      if (c != ' ' && c != '\t') blank = false;
      ++column;
      c = nextInLine(source);
    }
    if (blank) return "";
    return endRecord();
  }

  // Reads the field starting with `c` into `text`, leaving `c` at the
  // delimiter or line end after it, and takes it.
  std::string readField(CharSource& source, int& c) {
    text.clear();
    while (isPaddingChar(c)) c = nextInLine(source);
    std::string problem =
        c == '"' ? readQuoted(source, c) : readPlain(source, c);
    if (lineTooLong)
      return "line " + std::to_string(lineNumber) + ": more than " +
             std::to_string(kMaxLineLength) + " bytes";
    if (problem.empty()) takeField();
    return problem;
  }

  std::string fieldTooLong() const {
    return position(lineNumber, column) + ": a field of more than " +
           std::to_string(kMaxFieldLength) + " bytes";
  }

  bool append(int c) {
    text += char(c);
    return text.size() <= kMaxFieldLength;
  }

  std::string readQuoted(CharSource& source, int& c) {
    blank = false;
    for (;;) {
      c = nextInLine(source);
      if (c == '\n' || c == CharSource::kEnd ||
          (c == '\r' && isLineEnd(source)))
        return position(lineNumber, column) + ": unterminated quote";
      if (c == '"') {
        if (source.peek() != '"') break;
        c = nextInLine(source);
      }
      if (!append(c)) return fieldTooLong();
    }
    do {
      c = nextInLine(source);
    } while (isPaddingChar(c));
    if (!isDelimiter(c) && !isLineEndChar(source, c))
      return position(lineNumber, column) + ": text after the closing quote";
    return "";
  }

  // Blanks inside the field are kept and count towards its length; those
  // at its end are dropped, so they are held back (and only up to the
  // length a field may have) until more text follows.
  std::string readPlain(CharSource& source, int& c) {
    std::string blanks;
    bool tooManyBlanks = false;
    while (!isDelimiter(c) && !isLineEndChar(source, c)) {
      if (isPaddingChar(c)) {
        if (text.size() + blanks.size() < kMaxFieldLength)
          blanks += char(c);
        else
          tooManyBlanks = true;
      } else {
        text += blanks;
        blanks.clear();
        if (tooManyBlanks || !append(c)) return fieldTooLong();
      }
      c = nextInLine(source);
    }
    if (!text.empty()) blank = false;
    return "";
  }

  // Whether a carriage return just read ends the line.
  static bool isLineEnd(CharSource& source) {
    const int after = source.peek();
    return after == '\n' || after == CharSource::kEnd;
  }
  static bool isLineEndChar(CharSource& source, int c) {
    return c == '\n' || c == CharSource::kEnd ||
           (c == '\r' && isLineEnd(source));
  }

  // --- Fields and records ------------------------------------------------

  void takeField() {
    if (!seenRecord && options.header()) {
      header.push_back(text);
      return;
    }
    // A line with more columns than the first is refused at its end.
    if (seenRecord && column >= columns) return;
    // Lines are far shorter than INT_MAX bytes, so every column fits.
    const int at = static_cast<int>(column);
    if (at == label) labelText = text;
    const auto inputs = inputSlots.find(at);
    const auto outputs = outputSlots.find(at);
    const bool defaultInput = isDefaultInput(column);
    if (inputs == inputSlots.end() && outputs == outputSlots.end() &&
        !defaultInput)
      return;
    T value = 0;
    const Parsed parsed = parseNumber(text, value);
    if (defaultInput) {
      note(parsed, 0, inputValues.size());
      inputValues.push_back(value);
    }
    if (inputs != inputSlots.end())
      for (std::size_t slot : inputs->second) {
        note(parsed, 0, slot);
        inputValues[slot] = value;
      }
    if (outputs != outputSlots.end())
      for (std::size_t slot : outputs->second) {
        note(parsed, 1, slot);
        outputValues[slot] = value;
      }
  }

  // Keeps the message of a bad value when it comes first in the order the
  // values are taken: inputs (group 0) before outputs, by position.
  void note(Parsed parsed, int group, std::size_t slot) {
    const std::pair<int, std::size_t> rank(group, slot);
    if (parsed == Parsed::kNumber || !(rank < problemRank)) return;
    problemRank = rank;
    valueProblem = position(lineNumber, column) + ": " + shown(text) +
                   (parsed == Parsed::kOutOfRange
                        ? std::string(" is out of range for ") + typeName<T>()
                        : std::string(" is not a number"));
  }

  std::string endRecord() {
    const std::size_t fields = column + 1;
    if (!seenRecord) {
      seenRecord = true;
      columns = fields;
      const std::string problem = selectionProblem();
      if (!problem.empty() || options.header()) return problem;
    } else if (fields != columns) {
      return "line " + std::to_string(lineNumber) + ": " +
             std::to_string(fields) + " columns, expected " +
             std::to_string(columns);
    }
    if (loaded.items() == INT_MAX) return "more than 2147483647 records";
    if (!valueProblem.empty()) return valueProblem;
    appendRecord();
    return "";
  }

  // \return why a selected column lies outside the lines, or "".
  std::string selectionProblem() const {
    std::vector<int> selected = options.inputColumns();
    const std::vector<int>& outputs = options.outputColumns();
    selected.insert(selected.end(), outputs.begin(), outputs.end());
    if (label != -1) selected.push_back(label);
    for (int at : selected)
      if (at < 0 || std::size_t(at) >= columns)
        return "column " + std::to_string(at) +
               " is selected, but lines have " + std::to_string(columns) +
               " columns";
    return "";
  }

  void appendRecord() {
    const int id = loaded.items();
    CDenseVector<T>* input = new CDenseVector<T>(int(inputValues.size()));
    std::copy(inputValues.begin(), inputValues.end(), input->begin());
    CDenseVector<T>* output = new CDenseVector<T>(outputDimension());
    std::copy(outputValues.begin(), outputValues.end(), output->begin());
    CDatasetItem<T> item(input, output);
    item.setId(id);
    // Appending copies its argument, so a small item is appended and the
    // record moved over it, which spares copying a long line's values.
    loaded.appendItem(placeholder);
    loaded.getLast() = std::move(item);
    if (label != -1) labels.take(labelText);
  }

  const CCsvFile& options;
  const char delimiter;
  const int label;
  const bool defaultInputs;
  Slots inputSlots;
  Slots outputSlots;
  LabelColumn<T> labels;
  CDataset<T> loaded;
  const CDatasetItem<T> placeholder{0, 0};

  std::vector<std::string> header;
  bool seenRecord = false;
  std::size_t columns = 0;
  long lineNumber = 0;

  // The line being read.
  std::size_t lineBytes = 0;
  bool lineTooLong = false;
  std::size_t column = 0;
  bool blank = true;
  std::string text;
  std::string labelText;
  std::deque<T> inputValues;
  std::vector<T> outputValues;
  std::string valueProblem;
  std::pair<int, std::size_t> problemRank;
};

}  // namespace

template <typename T>
bool CCsvFile::read(std::istream& in, CDataset<T>& data,
                    std::string& error) const {
  if (!isUsableDelimiter(separator)) {
    error = kReadPrefix + delimiterProblem(separator);
    return false;
  }
  TableReader<T> reader(*this, presetLabels);
  const std::string problem = reader.read(in);
  if (!problem.empty()) {
    error = kReadPrefix + problem;
    return false;
  }
  data = reader.takeItems();
  labelList = reader.takeLabelNames();
  inputList = reader.inputNames();
  outputList = reader.outputNames();
  return true;
}

template <typename T>
bool CCsvFile::read(const char* fileName, CDataset<T>& data,
                    std::string& error) const {
  std::ifstream in(fileName, std::ios::in | std::ios::binary);
  if (!in) {
    error = kReadPrefix + std::string("cannot open the file") +
            csvFileSuffix(fileName);
    return false;
  }
  if (read(in, data, error)) return true;
  error += csvFileSuffix(fileName);
  return false;
}

VECML_FOR_FLOATING_TYPES(VECML_CSV_FILE_READ_INSTANTIATIONS, template)
