// SPDX-License-Identifier: MIT
// Options of delimited-text exchange, and writing datasets as tables.
#include "vecml/dataset/CCsvFile.h"

#include <cmath>
#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

#include "vecml/dataset/CDatasetItem.h"
#include "vecml/dataset/detail/CsvText.h"

using vecml::detail::csvFileSuffix;
using vecml::detail::delimiterProblem;
using vecml::detail::formatNumber;
using vecml::detail::isPadding;
using vecml::detail::isUsableDelimiter;

namespace {

const char* const kWritePrefix = "CCsvFile::write(): ";

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
    error = kWritePrefix + problem + csvFileSuffix(fileName);
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
  if (!written) error += csvFileSuffix(fileName);
  return written;
}

VECML_FOR_FLOATING_TYPES(VECML_CSV_FILE_WRITE_INSTANTIATIONS, template)
