// SPDX-License-Identifier: MIT
// vecml-data: converts delimited text tables to dataset files and back, and
// prints the per-feature statistics of a dataset file.
#include <sys/stat.h>

#include <charconv>
#include <cstring>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "vecml/dataset/CCsvFile.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/CDatasetStatistic.h"

namespace {

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;
// Column lists name at most this column, so that a range cannot ask for
// more memory than any real table has columns.
constexpr int kMaxColumn = 1000000;

const char* const kUsage =
    "usage:\n"
    "  vecml-data csv2ds <in.csv> <out.gz> [--header] [--delimiter C]\n"
    "                    [--inputs LIST] [--outputs LIST] [--label COL]\n"
    "                    [--info TEXT]\n"
    "  vecml-data ds2csv <in.gz> <out.csv> [--header] [--delimiter C]\n"
    "  vecml-data stat <in.gz>\n"
    "\n"
    "csv2ds  reads a table (one item per line) into a dataset file.\n"
    "        --header     the first line names the columns\n"
    "        --delimiter  the field separator (default ','; 'tab' for a tab)\n"
    "        --inputs     input columns (default: all but outputs and label)\n"
    "        --outputs    output columns (default: none)\n"
    "        --label      a class-label column, appended to the outputs;\n"
    "                     names are numbered 0, 1, ... by first appearance\n"
    "        --info       the dataset's info text (default \"none\")\n"
    "ds2csv  writes a dataset file as a table: inputs, then outputs.\n"
    "        --header     write a first line x0,x1,...,y0,...\n"
    "stat    prints the per-feature statistics of a dataset file.\n"
    "\n"
    "Columns count from 0; LIST is a comma-separated list of columns and\n"
    "ranges, for example 0-3,5.\n";

// `text` with every byte outside printable ASCII written as \xHH (and a
// backslash as \\), so that a message quoting a file's bytes can neither
// end early at a NUL nor send control sequences to the terminal.
std::string printable(const std::string& text) {
  static const char hex[] = "0123456789abcdef";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == '\\') {
      out += "\\\\";
    } else if (byte >= 0x20 && byte < 0x7f) {
      out += c;
    } else {
      out += "\\x";
      out += hex[byte >> 4];
      out += hex[byte & 0xf];
    }
  }
  return out;
}

// A command line that does not fit the usage; main() prints the usage.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(const std::string& message)
      : std::runtime_error(printable(message)) {}
};

// A failure of the work itself (a bad file); main() prints the reason.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message)
      : std::runtime_error(printable(message)) {}
};

struct Arguments {
  std::vector<std::string> files;
  std::map<std::string, std::string> values;
  bool header = false;
};

// Splits `args` into file names, "--header" and options with one value;
// only options in `valueOptions` (and --header when `headerAllowed`) are
// accepted.
Arguments parseArguments(const std::vector<std::string>& args,
                         const std::set<std::string>& valueOptions,
                         bool headerAllowed) {
  Arguments parsed;
  for (std::size_t k = 0; k < args.size(); ++k) {
    const std::string& arg = args[k];
    if (arg.rfind("--", 0) != 0) {
      parsed.files.push_back(arg);
    } else if (arg == "--header" && headerAllowed) {
      parsed.header = true;
    } else if (valueOptions.count(arg) == 0) {
      throw UsageError("unknown option " + arg);
    } else if (k + 1 == args.size()) {
      throw UsageError(arg + " needs a value");
    } else {
      parsed.values[arg] = args[++k];
    }
  }
  return parsed;
}

int parseColumn(const std::string& text) {
  int column = -1;
  const char* last = text.data() + text.size();
  const auto result = std::from_chars(text.data(), last, column);
  if (text.empty() || result.ec != std::errc() || result.ptr != last ||
      column < 0 || column > kMaxColumn)
    throw UsageError("bad column '" + text + "' (0.." +
                     std::to_string(kMaxColumn) + ")");
  return column;
}

// "0-3,5" -> 0, 1, 2, 3, 5.
std::vector<int> parseColumnList(const std::string& text) {
  std::vector<int> columns;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    const std::string part = text.substr(start, comma - start);
    const std::size_t dash = part.find('-');
    const int first = parseColumn(part.substr(0, dash));
    const int last =
        dash == std::string::npos ? first : parseColumn(part.substr(dash + 1));
    if (last < first) throw UsageError("bad column range '" + part + "'");
    for (int column = first; column <= last; ++column)
      columns.push_back(column);
    if (comma == std::string::npos) return columns;
    start = comma + 1;
  }
}

char parseDelimiter(const std::string& text) {
  if (text == "tab" || text == "\\t") return '\t';
  if (text.size() != 1)
    throw UsageError("the delimiter must be one character, not '" + text + "'");
  return text[0];
}

void expectFiles(const Arguments& arguments, std::size_t count) {
  if (arguments.files.size() != count)
    throw UsageError("expected " + std::to_string(count) + " file name" +
                     (count == 1 ? "" : "s") + ", got " +
                     std::to_string(arguments.files.size()));
}

CCsvFile csvOptions(const Arguments& arguments) {
  CCsvFile csv;
  csv.setHeader(arguments.header);
  for (const auto& [option, value] : arguments.values) {
    if (option == "--delimiter") csv.setDelimiter(parseDelimiter(value));
    if (option == "--inputs") csv.setInputColumns(parseColumnList(value));
    if (option == "--outputs") csv.setOutputColumns(parseColumnList(value));
    if (option == "--label") csv.setLabelColumn(parseColumn(value));
  }
  return csv;
}

// Reads a dataset file with the validating reader.
CDataset<float> readDataset(const std::string& fileName) {
  CDataset<float> data;
  std::string error;
  if (!data.read(fileName.c_str(), error)) throw Failure(error);
  return data;
}

// Names a directory given as the table as such, before the table reader
// meets it and reports a failed read. (The dataset reader names it itself.)
void expectNoDirectory(const std::string& fileName) {
  struct stat status {};
  if (stat(fileName.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
    throw Failure(fileName + " is a directory, not a file");
}

void csvToDataset(const std::vector<std::string>& args) {
  const Arguments arguments = parseArguments(
      args, {"--delimiter", "--inputs", "--outputs", "--label", "--info"},
      true);
  expectFiles(arguments, 2);
  expectNoDirectory(arguments.files[0]);
  const CCsvFile csv = csvOptions(arguments);
  CDataset<float> data;
  std::string error;
  if (!csv.read(arguments.files[0].c_str(), data, error)) throw Failure(error);
  const auto info = arguments.values.find("--info");
  if (info != arguments.values.end()) data.setInfo(info->second);
  if (!data.write(arguments.files[1].c_str()))
    throw Failure("cannot write the dataset file " + arguments.files[1]);
  std::cout << arguments.files[1] << ": " << data.items() << " items, "
            << data.inputDimension() << " inputs, " << data.outputDimension()
            << " outputs\n";
  for (std::size_t k = 0; k < csv.labelNames().size(); ++k)
    std::cout << "label " << k << ": " << csv.labelNames()[k] << '\n';
}

void datasetToCsv(const std::vector<std::string>& args) {
  const Arguments arguments = parseArguments(args, {"--delimiter"}, true);
  expectFiles(arguments, 2);
  const CDataset<float> data = readDataset(arguments.files[0]);
  std::string error;
  if (!csvOptions(arguments).write(arguments.files[1].c_str(), data, error))
    throw Failure(error);
}

void printStatistic(const std::vector<std::string>& args) {
  const Arguments arguments = parseArguments(args, {}, false);
  expectFiles(arguments, 1);
  CDataset<float> data = readDataset(arguments.files[0]);
  CDatasetStatistic<float>(&data).dumpStatistic();
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + std::min(argc, 2), argv + argc);
  const std::string command = argc > 1 ? argv[1] : "";
  const std::map<std::string, void (*)(const std::vector<std::string>&)>
      commands = {{"csv2ds", csvToDataset},
                  {"ds2csv", datasetToCsv},
                  {"stat", printStatistic}};
  if (command == "--help" || command == "-h") {
    std::cout << kUsage;
    return 0;
  }
  try {
    const auto found = commands.find(command);
    if (found == commands.end())
      throw UsageError(command.empty() ? "no command given"
                                       : "unknown command " + command);
    found->second(args);
    return 0;
  } catch (const UsageError& error) {
    std::cerr << "vecml-data: " << error.what() << "\n\n" << kUsage;
    return kBadUsage;
  } catch (const Failure& error) {
    std::cerr << "vecml-data: " << error.what() << '\n';
    return kFailed;
  }
}
