// SPDX-License-Identifier: MIT
// Dataset records on byte streams and gzip files, and the dataset's binary
// and archive serialization.
#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vecml/core/CArchiv.h"
#include "vecml/core/detail/BinaryIO.h"
#include "vecml/core/detail/Parallel.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/dataset/detail/BlockPipe.h"
#include "vecml/dataset/detail/Prefetch.h"
#include "vecml/stream/detail/GzipFileBuffer.h"
#include "vecml/stream/gzstream.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/detail/ExactKind.h"

namespace {

using vecml::detail::BlockPipe;
using vecml::detail::readValue;
using vecml::detail::ValueBlock;
using vecml::detail::writeValue;

// Items reserved before any of their data have arrived; a larger declared
// count is reserved in doubling steps as items are read.
constexpr std::size_t kInitialReserve = std::size_t(1) << 16;
// A file is trusted to expand by at most this factor when decompressed, to
// reserve a declared item count up front (zlib's limit is 1032; float data
// compress far less). Larger counts are reached by doubling as items come.
constexpr std::uint64_t kTrustedExpansion = 8;
// Element values moved per stream read or write (64 KiB of floats), few
// enough to stay in the cache between the stream and the items.
constexpr std::size_t kBlockFloats = std::size_t(1) << 14;
// Blocks the reading thread may run ahead of the thread building items.
constexpr std::size_t kPipeBlocks = 4;
// Items without elements consume no data, so nothing in a file bounds their
// number; the trusting reader makes at most this many.
constexpr std::size_t kMaxEmptyItems = std::size_t(1) << 16;
// Items ahead of the one being written whose vectors are fetched into the
// cache: objects at twice this distance, their elements at this distance.
constexpr std::size_t kPrefetchItems = 8;

const char* const kErrorPrefix = "CDataset::read(): ";

// Reserves room for `declared` items, at most kInitialReserve of them.
template <typename T>
void reserveBeforeData(std::vector<CDatasetItem<T>>& list,
                       std::size_t declared) {
  list.reserve(std::min(declared, kInitialReserve));
}

// Reserves room for the `declared` items of `width` values of a record.
// `fileBytes` is the size of the file the record comes from, 0 for a stream
// of unknown length. All items are reserved at once only when the file can
// hold their values at an expansion of kTrustedExpansion, so a hostile count
// costs memory only in proportion to the file; otherwise, or when that
// memory cannot be had, reserveBeforeData() decides.
template <typename T>
void reserveForRecord(std::vector<CDatasetItem<T>>& list, std::size_t declared,
                      std::size_t width, std::uint64_t fileBytes) {
  const std::uint64_t valueBytes = std::uint64_t(width) * sizeof(float);
  const bool fileHoldsAll =
      width == 0 || fileBytes / valueBytes >= declared / kTrustedExpansion;
  if (fileBytes > 0 && fileHoldsAll) {
    try {
      list.reserve(declared);
      return;
    } catch (const std::bad_alloc&) {
      // The reservation is only a guess; the items may still fit as they come.
    }
  }
  reserveBeforeData(list, declared);
}

// Makes room for one more item; when the storage is full it grows towards
// `declared` items by doubling, so a declared count costs memory only as
// items come.
template <typename T>
void growForAppend(std::vector<CDatasetItem<T>>& list, std::size_t declared) {
  if (list.size() == list.capacity())
    list.reserve(
        std::max(list.size() + 1, std::min(declared, 2 * list.capacity())));
}

// Reads up to `count` floats into the front of `values`, enlarging it only
// as far as data have arrived. \return the number of whole floats read.
std::size_t readFloats(std::istream& in, std::size_t count,
                       std::vector<float>& values) {
  std::size_t done = 0;
  while (done < count) {
    const std::size_t step = std::min(kBlockFloats, count - done);
    if (values.size() < done + step) values.resize(done + step);
    in.read(reinterpret_cast<char*>(values.data() + done),
            static_cast<std::streamsize>(step * sizeof(float)));
    const std::size_t got = static_cast<std::size_t>(in.gcount()) / 4;
    done += got;
    if (got < step) break;
  }
  return done;
}

// Reads up to `count` items of `width` float values each, in blocks of
// whole items into `block`, and calls deliver(block) for every block, in
// file order, until a block comes short or deliver() returns false. A
// stream that has already failed gives no blocks, not even ones of items
// without values. \return the number of complete items delivered.
template <typename Deliver>
std::size_t readItemBlocks(std::istream& in, std::size_t count,
                           std::size_t width, ValueBlock& block,
                           Deliver&& deliver) {
  const std::size_t perBlock =
      width == 0 ? count : std::max<std::size_t>(1, kBlockFloats / width);
  std::size_t done = 0;
  while (done < count && in) {
    const std::size_t wanted = std::min(perBlock, count - done);
    const std::size_t arrived = readFloats(in, wanted * width, block.values);
    block.records = width == 0 ? wanted : arrived / width;
    const bool cutShort = block.records < wanted;
    done += block.records;
    if (!deliver(block) || cutShort) break;
  }
  return done;
}

// Calls take(values, index) for every item of `block`, numbered from
// `first`.
template <typename Take>
void takeItems(const ValueBlock& block, std::size_t width, std::size_t first,
               Take& take) {
  for (std::size_t k = 0; k < block.records; ++k)
    take(block.values.data() + k * width, first + k);
}

// Reads up to `count` items of `width` float values each and calls
// take(values, index) for every complete item in file order, on the
// calling thread. A stream that has already failed gives no items.
// \return the number of complete items.
template <typename Take>
std::size_t readItemsSerially(std::istream& in, std::size_t count,
                              std::size_t width, Take& take) {
  ValueBlock block;
  std::size_t done = 0;
  return readItemBlocks(in, count, width, block, [&](const ValueBlock& full) {
    takeItems(full, width, done, take);
    done += full.records;
    return true;
  });
}

// As readItemsSerially(). With two threads, one reads (and inflates) the
// stream a few blocks ahead while the calling thread builds the items: the
// same blocks, read and taken in the same order.
template <typename Take>
std::size_t readItems(std::istream& in, std::size_t count, std::size_t width,
                      Take&& take) {
  const double values = double(count) * double(width);
  if (vecml::detail::threadsFor(values, 2) < 2)
    return readItemsSerially(in, count, width, take);
  BlockPipe pipe(kPipeBlocks);
  std::size_t done = 0;
  const auto send = [&] {
    ValueBlock block = pipe.spareBlock();
    readItemBlocks(in, count, width, block, [&](ValueBlock& full) {
      return pipe.send(std::exchange(full, pipe.spareBlock()));
    });
  };
  const auto receive = [&] {
    ValueBlock block;
    while (pipe.receive(block)) {
      takeItems(block, width, done, take);
      done += block.records;
      pipe.recycle(std::move(block));
    }
  };
  const auto alone = [&] { done = readItemsSerially(in, count, width, take); };
  vecml::detail::sendAndReceive(pipe, send, receive, alone);
  return done;
}

template <typename T>
std::unique_ptr<CDenseVector<T>> denseFrom(const float* values, int n) {
  auto vector = std::make_unique<CDenseVector<T>>(n);
  std::copy(values, values + n, vector->begin());
  return vector;
}

// Appends the item a record stores as `values` (inputs, then outputs),
// numbered `id`: two dense vectors, as if built from clones of filled
// buffers. The item is built in place; the vectors are owned by the item
// only once it exists.
template <typename T>
void appendItemFrom(std::vector<CDatasetItem<T>>& list, const float* values,
                    int inDim, int outDim, int id) {
  auto input = denseFrom<T>(values, inDim);
  auto output = denseFrom<T>(values + inDim, outDim);
  list.emplace_back(input.get(), output.get());
  input.release();
  output.release();
  list.back().setId(id);
}

// Reads the items of a record into `list`, reserving as reserveForRecord()
// says. \return the number read.
template <typename T>
std::size_t readRecordItems(std::istream& in, std::size_t count, int inDim,
                            int outDim, std::uint64_t fileBytes,
                            std::vector<CDatasetItem<T>>& list) {
  const std::size_t width = std::size_t(inDim) + std::size_t(outDim);
  reserveForRecord(list, count, width, fileBytes);
  return readItems(in, count, width, [&](const float* values, std::size_t i) {
    growForAppend(list, count);
    appendItemFrom(list, values, inDim, outDim, static_cast<int>(i));
  });
}

// Asks the cache for the vector objects of `item`.
template <typename T>
void prefetchVectors(const CDatasetItem<T>& item) {
  __builtin_prefetch(item.inputVector());
  __builtin_prefetch(item.outputVector());
}

// Asks the cache for the first elements of the dense vectors of `item`.
template <typename T>
void prefetchElements(const CDatasetItem<T>& item) {
  for (const CVector<T>* vector : {item.inputVector(), item.outputVector()})
    if (const CDenseVector<T>* dense = vecml::detail::exactlyDense(*vector))
      vecml::detail::prefetchLines(dense->begin(), sizeof(T), 1);
}

// Collects element values as floats and writes them in blocks.
class FloatBlockWriter {
 public:
  explicit FloatBlockWriter(std::ostream& out)
      : out(out), block(kBlockFloats) {}

  // Appends the first `n` elements of `vector` as getElement() gives them
  // (zero beyond a shorter vector's end), copying dense storage directly.
  template <typename T>
  void put(const CVector<T>& vector, int n) {
    int i = 0;
    if (const CDenseVector<T>* dense = vecml::detail::exactlyDense(vector)) {
      const int stored = std::min(n, vector.dimension());
      while (i < stored) {
        const int step = std::min(stored - i, room());
        const T* values = dense->begin() + i;
        float* to = block.data() + used;
        for (int k = 0; k < step; ++k) to[k] = static_cast<float>(values[k]);
        used += std::size_t(step);
        i += step;
        flushIfFull();
      }
    }
    for (; i < n; ++i) {
      block[used++] = static_cast<float>(vector.getElement(i));
      flushIfFull();
    }
  }

  void flush() {
    vecml::detail::writeElements(out, block.data(), static_cast<int>(used));
    used = 0;
  }

 private:
  int room() const { return static_cast<int>(kBlockFloats - used); }
  void flushIfFull() {
    if (used == kBlockFloats) flush();
  }

  std::ostream& out;
  std::vector<float> block;
  std::size_t used = 0;
};

// Writes the values of every item. The items' vectors live anywhere on the
// heap, so the loop fetches those of later items into the cache while it
// copies the current one.
template <typename T>
void writeItems(std::ostream& out, const std::vector<CDatasetItem<T>>& list,
                int inDim, int outDim) {
  FloatBlockWriter writer(out);
  const std::size_t count = list.size();
  for (std::size_t k = 0; k < count; ++k) {
    if (k + 2 * kPrefetchItems < count)
      prefetchVectors(list[k + 2 * kPrefetchItems]);
    if (k + kPrefetchItems < count) prefetchElements(list[k + kPrefetchItems]);
    writer.put(*list[k].inputVector(), inDim);
    writer.put(*list[k].outputVector(), outDim);
  }
  writer.flush();
}

// Writes `text` with its terminating NUL, preceded by that length.
void writeCString(std::ostream& out, const std::string& text) {
  writeValue(out, static_cast<std::int32_t>(text.size() + 1));
  out.write(text.c_str(), static_cast<std::streamsize>(text.size() + 1));
}

// Reads `length` bytes (none when negative) and returns their text up to
// the first NUL. Bytes that do not arrive are missing from the text.
std::string readText(std::istream& in, std::int32_t length) {
  std::string text;
  char chunk[4096];
  std::streamsize left = std::max(length, 0);
  while (left > 0 && in) {
    in.read(chunk, std::min<std::streamsize>(left, sizeof chunk));
    text.append(chunk, static_cast<std::size_t>(in.gcount()));
    left -= in.gcount();
  }
  return text.substr(0, text.find('\0'));
}

// Reads a tag of `length` bytes and tells whether its text (up to the first
// NUL, which must lie inside those bytes) equals `tag`. Only the first
// tag.size() + 1 bytes decide; the rest of a matching tag is skipped.
bool tagMatches(std::istream& in, std::int32_t length, const std::string& tag) {
  if (length <= 0) return false;
  std::string head(std::min<std::size_t>(std::size_t(length), tag.size() + 1),
                   '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(in.gcount()));
  const std::size_t end = head.find('\0');
  if (end == std::string::npos || head.compare(0, end, tag) != 0) return false;
  in.ignore(std::streamsize(length) - std::streamsize(head.size()));
  return true;
}

// Reads a record trusting its input (see CDataset::read(std::istream&))
// into the given parts of a dataset, which are left alone when the tag does
// not match. `fileBytes` sizes the reservation (see reserveForRecord()).
template <typename T>
bool readTrustedRecord(std::istream& in, const std::string& expectedTag,
                       std::uint64_t fileBytes,
                       std::vector<CDatasetItem<T>>& items, int& growSize,
                       std::string& info) {
  std::int32_t tagLength = 0;
  readValue(in, tagLength);
  if (!tagMatches(in, tagLength, expectedTag)) {
    std::cerr << "Wrong file type!" << std::endl;
    return false;
  }
  std::int32_t count = 0, inDim = 0, outDim = 0, infoLength = 0;
  readValue(in, count);
  readValue(in, growSize);
  readValue(in, inDim);
  readValue(in, outDim);
  readValue(in, infoLength);
  info = readText(in, infoLength);

  inDim = std::max(inDim, 0);
  outDim = std::max(outDim, 0);
  std::size_t declared = std::size_t(std::max(count, 0));
  if (inDim == 0 && outDim == 0) declared = std::min(declared, kMaxEmptyItems);
  items.clear();
  readRecordItems(in, declared, inDim, outDim, fileBytes, items);
  return true;
}

// The size of the file `fileName` when it can be opened, otherwise nullopt;
// 0 when its size cannot be told (a pipe, for instance).
std::optional<std::uint64_t> openableFileSize(const char* fileName) {
  std::ifstream file(fileName, std::ios::binary | std::ios::ate);
  if (!file.is_open()) return std::nullopt;
  const std::streamoff end = file.tellg();
  return std::uint64_t(std::max<std::streamoff>(end, 0));
}

// --- Validating reader ---------------------------------------------------

struct CheckedReader {
  std::istream& in;
  std::string& reason;

  bool fail(const std::string& why) {
    reason = why;
    return false;
  }

  bool field(std::int32_t& value, const char* name) {
    return readValue(in, value) ||
           fail(std::string("dataset file truncated in the ") + name);
  }

  bool count(std::int32_t& value, const char* name) {
    if (!field(value, name)) return false;
    return value >= 0 ||
           fail(std::string("negative ") + name + " " + std::to_string(value));
  }

  bool tag(const std::string& expected) {
    std::int32_t length = 0;
    if (!field(length, "tag length")) return false;
    const std::size_t wanted = expected.size() + 1;
    if (length != static_cast<std::int32_t>(wanted))
      return fail("wrong file type: tag length " + std::to_string(length) +
                  " instead of " + std::to_string(wanted));
    std::string stored(wanted, '\0');
    if (!in.read(stored.data(), static_cast<std::streamsize>(wanted)))
      return fail("dataset file truncated in the type tag");
    return stored == expected + '\0' ||
           fail("wrong file type: the tag is not \"" + expected + "\"");
  }

  bool info(std::string& text) {
    std::int32_t length = 0;
    if (!count(length, "info length")) return false;
    if (length == 0)
      return fail("info length 0 leaves no room for the terminating NUL");
    std::vector<char> bytes;
    if (!vecml::detail::readBytes(in, static_cast<std::size_t>(length), bytes))
      return fail("dataset file truncated in the info text");
    if (bytes.back() != '\0')
      return fail("the info text is not terminated by a NUL");
    text = bytes.data();  // ends at the first NUL, the last byte at most
    return true;
  }

  // Rejects shapes whose data no stream could hold or no data could bound.
  bool shape(std::int32_t items, std::int32_t inDim, std::int32_t outDim) {
    const std::uint64_t width = std::uint64_t(inDim) + std::uint64_t(outDim);
    if (items > 0 && width == 0)
      return fail("item count " + std::to_string(items) +
                  " with input and output dimension 0: items without values "
                  "cannot be checked against the data");
    const std::uint64_t maxValues =
        std::uint64_t(std::numeric_limits<std::streamsize>::max()) / 4;
    if (width != 0 && std::uint64_t(items) > maxValues / width)
      return fail("oversize data: " + std::to_string(items) + " items of " +
                  std::to_string(width) + " values exceed any stream");
    return true;
  }
};

// Reads and checks one record into the given parts of a fresh dataset.
template <typename T>
bool readCheckedRecord(std::istream& in, const std::string& expectedTag,
                       std::uint64_t fileBytes,
                       std::vector<CDatasetItem<T>>& items, int& growSize,
                       std::string& info, std::string& reason) {
  CheckedReader reader{in, reason};
  std::int32_t count = 0, grow = 0, inDim = 0, outDim = 0;
  if (!reader.tag(expectedTag) || !reader.count(count, "item count") ||
      !reader.field(grow, "grow size") ||
      !reader.count(inDim, "input dimension") ||
      !reader.count(outDim, "output dimension") ||
      !reader.shape(count, inDim, outDim) || !reader.info(info))
    return false;
  growSize = grow;
  const std::size_t read =
      readRecordItems(in, std::size_t(count), inDim, outDim, fileBytes, items);
  return read == std::size_t(count) ||
         reader.fail("dataset file truncated in item " + std::to_string(read) +
                     " of " + std::to_string(count));
}

// The reason to give when the file's data could not be read as they are,
// or nullptr when they could (bytes after the gzip member are no damage to
// the record). A broken compressed stream makes the record look damaged,
// mostly cut short, so it is named instead of the record's own fault.
const char* damagedData(vecml::detail::GzipFileBuffer::State state) {
  using State = vecml::detail::GzipFileBuffer::State;
  switch (state) {
    case State::broken:
      return "broken gzip stream (corrupt or cut-off data)";
    case State::readError:
      return "cannot read file";
    case State::noMemory:
      return "cannot open file as a gzip stream";
    default:
      return nullptr;
  }
}

// The reason openRegularFile() refused a file.
std::string openProblem(vecml::detail::OpenProblem problem) {
  switch (problem) {
    case vecml::detail::OpenProblem::directory:
      return "the file is a directory";
    case vecml::detail::OpenProblem::notRegularFile:
      return "not a regular file (a device, pipe or socket)";
    default:
      return "cannot open file";
  }
}

}  // namespace

// --- Record on streams ----------------------------------------------------

template <typename T>
bool CDataset<T>::write(std::ostream& out) const {
  const std::int32_t inDim = inputDimension();
  const std::int32_t outDim = outputDimension();
  writeCString(out, typeTag);
  writeValue(out, static_cast<std::int32_t>(items()));
  writeValue(out, static_cast<std::int32_t>(growBy));
  writeValue(out, inDim);
  writeValue(out, outDim);
  writeCString(out, infoText);
  writeItems(out, itemList, inDim, outDim);
  return true;
}

template <typename T>
bool CDataset<T>::read(std::istream& in) {
  return readTrustedRecord(in, typeTag, 0, itemList, growBy, infoText);
}

template <typename T>
bool CDataset<T>::read(std::istream& in, std::string& error) {
  CDataset<T> loaded(0, growBy);
  std::string reason;
  if (!readCheckedRecord(in, typeTag, 0, loaded.itemList, loaded.growBy,
                         loaded.infoText, reason)) {
    error = kErrorPrefix + reason;
    return false;
  }
  takeRecord(loaded);
  return true;
}

// --- Record in gzip files -------------------------------------------------

template <typename T>
bool CDataset<T>::write(const char* fileName) const {
  if (fileName == nullptr) return false;
  ogzstream out(fileName, std::ios::out);
  if (!out.good()) return false;
  write(out);
  out.close();
  return true;
}

// The file-name readers learn the file's size while checking that it opens;
// it lets them reserve a declared item count at once (see reserveForRecord()).

template <typename T>
bool CDataset<T>::read(const char* fileName) {
  if (fileName == nullptr) return false;
  const std::optional<std::uint64_t> fileBytes = openableFileSize(fileName);
  if (!fileBytes) return false;
  igzstream in(fileName, std::ios::in);
  if (!in.good()) return false;
  readTrustedRecord(in, typeTag, *fileBytes, itemList, growBy, infoText);
  in.close();
  return true;
}

// The validating file reader reads one open file in one pass: the checks,
// the message and the file's size all come from that same file, and it
// stops at the first fault, so its work is bounded by the bytes it has
// read. Only regular files are read: a device or a pipe may never end or
// never deliver.
template <typename T>
bool CDataset<T>::read(const char* fileName, std::string& error) {
  if (fileName == nullptr) {
    error = std::string(kErrorPrefix) + "no file name given";
    return false;
  }
  const auto failWith = [&](const std::string& reason) {
    error = kErrorPrefix + reason + "; file: " + fileName;
    return false;
  };
  vecml::detail::OpenProblem problem{};
  std::uint64_t fileBytes = 0;
  const int fd = vecml::detail::openRegularFile(fileName, problem, fileBytes);
  if (fd < 0) return failWith(openProblem(problem));
  vecml::detail::GzipFileBuffer buffer(fd);
  std::istream in(&buffer);

  CDataset<T> loaded(0, growBy);
  std::string reason;
  if (!readCheckedRecord(in, typeTag, fileBytes, loaded.itemList, loaded.growBy,
                         loaded.infoText, reason)) {
    const char* fault = damagedData(buffer.state());
    return failWith(fault != nullptr ? fault : reason);
  }
  if (in.peek() != std::char_traits<char>::eof())
    return failWith("data continue after the last item");
  if (buffer.state() == vecml::detail::GzipFileBuffer::State::trailingData)
    return failWith("data continue after the gzip stream");
  if (const char* fault = damagedData(buffer.state())) return failWith(fault);
  takeRecord(loaded);
  return true;
}

template <typename T>
void CDataset<T>::takeRecord(CDataset<T>& loaded) {
  itemList.swap(loaded.itemList);
  growBy = loaded.growBy;
  infoText.swap(loaded.infoText);
}

// --- Object serialization -------------------------------------------------

template <typename T>
bool CDataset<T>::serialize(std::fstream& stream, IO_MODE mode) {
  if (!CObject<T>::serialize(stream, mode)) return false;
  if (mode != IO_READ) {
    const auto infoLength = static_cast<std::int32_t>(infoText.size());
    writeValue(stream, static_cast<std::int32_t>(items()));
    writeValue(stream, infoLength);
    stream.write(infoText.data(), infoLength);
    const int written = std::min<int>(infoLength, items());
    for (int j = 0; j < written; ++j) {
      itemList[j].inputVector()->serialize(stream, mode);
      itemList[j].outputVector()->serialize(stream, mode);
    }
    return false;
  }
  std::int32_t count = 0, infoLength = 0;
  readValue(stream, count);
  reserveBeforeData(itemList, std::size_t(std::max(count, 0)));
  readValue(stream, infoLength);
  infoText = readText(stream, infoLength);
  for (std::int32_t j = 0; j < infoLength; ++j) {
    auto input = std::make_unique<CDenseVector<T>>();
    auto output = std::make_unique<CDenseVector<T>>();
    input->serialize(stream, IO_READ);
    output->serialize(stream, IO_READ);
    if (!stream) break;
    appendOwned(CDatasetItem<T>(input.release(), output.release()));
  }
  return false;
}

template <typename T>
bool CDataset<T>::serialize2(CArchiv& archive) {
  if (!CObject<T>::serialize2(archive)) return false;
  if (archive.isLoading()) {
    itemList.clear();
    unsigned int count = 0;
    archive.read(count);
    reserveBeforeData(itemList, count);
    for (unsigned int k = 0; k < count; ++k) {
      growForAppend(itemList, count);
      itemList.emplace_back();
      archive.read(itemList.back());
    }
    return true;
  }
  unsigned long count = itemList.size();
  archive.write(count);
  archive.writeSeparator();
  for (CDatasetItem<T>& item : itemList) archive.write(item);
  archive.writeSeparator();
  return true;
}

#define VECML_INSTANTIATE_DATASET_FILE(T)                       \
  template bool CDataset<T>::write(std::ostream&) const;        \
  template bool CDataset<T>::read(std::istream&);               \
  template bool CDataset<T>::write(const char*) const;          \
  template bool CDataset<T>::read(const char*);                 \
  template bool CDataset<T>::read(std::istream&, std::string&); \
  template bool CDataset<T>::read(const char*, std::string&);   \
  template void CDataset<T>::takeRecord(CDataset<T>&);          \
  template bool CDataset<T>::serialize(std::fstream&, IO_MODE); \
  template bool CDataset<T>::serialize2(CArchiv&);

VECML_INSTANTIATE_DATASET_FILE(float)
VECML_INSTANTIATE_DATASET_FILE(double)
