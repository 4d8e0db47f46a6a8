// SPDX-License-Identifier: MIT
// Dataset: an ordered, growable collection of dataset items with a type tag,
// an info text and an opaque user pointer, and its gzip file format.
#ifndef VECML_DATASET_CDATASET_H
#define VECML_DATASET_CDATASET_H

#include <cstddef>
#include <fstream>
#include <istream>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/Macros.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDatasetItem.h"
#include "vecml/matrix/CMatrix.h"
#include "vecml/metric/CMetric.h"
#include "vecml/vector/CVector.h"

/// Ordered items (held by value, each owning its vectors), the type tag
/// "CDataset 0.1", an info text (default "none"), a grow size and a
/// meta-data pointer that the dataset never owns. Instantiated for float and
/// double.
///
/// The item accessors abort on an index outside 0..items()-1; members with
/// a bool result report bad indices with false; for the other index
/// arguments an index outside the items is a broken precondition that each
/// member documents. Best-match searches
/// require a non-empty dataset and call the metric as
/// distance(item vector, query); ties keep the earlier item.
///
/// The random members use the process-wide C generator (rand/srand), so a
/// caller who seeds it with srand() gets a reproducible sequence, except
/// from randomShuffle(), which reseeds with srand(time(0)) on every call.
///
/// Files: write(name) stores the record below gzip-compressed; read(name)
/// loads it and trusts its input. For files from elsewhere use
/// read(name, error), which checks every count and length against the data
/// that is actually there and leaves the dataset unchanged on failure.
///
/// Record (host byte order, 32-bit signed integers, no padding): tag length
/// (13), "CDataset 0.1" and a NUL, item count N, grow size, input dimension,
/// output dimension (both 0 when N is 0), info length L, the info text and a
/// NUL (L bytes), then per item its input and then its output elements as
/// 32-bit floats. Ids are not stored; loaded items are numbered 0..N-1.
///
/// \code
///   CDataset<float> data;
///   data.appendItem(CDatasetItem<float>(CDenseVector<float>(2, 1.0f),
///                                       CDenseVector<float>(1, 0.0f)));
///   data.write("points.gz");
///   CDataset<float> loaded;
///   std::string error;
///   if (!loaded.read("points.gz", error)) std::cerr << error << '\n';
/// \endcode
template <typename T>
class VECML_API CDataset : public CObject<T> {
 public:
  /// Reserves \p capacity item slots; \p growSize extra slots are reserved
  /// whenever an append or insert finds the storage full.
  explicit CDataset(int capacity = 1000, int growSize = 1000);
  /// Deep-copies the items and copies grow size, tag, info and meta data.
  CDataset(const CDataset<T>& other);
  /// Takes \p other's items, grow size, tag, info and meta data, leaving it
  /// without items.
  CDataset(CDataset<T>&& other) noexcept;
  ~CDataset() override;

  /// Replaces the items by deep copies of \p other's; keeps this dataset's
  /// own tag, info, grow size and meta data. Self-assignment does nothing.
  CDataset<T>& operator=(const CDataset<T>& other);
  /// Exchanges the items with \p other's (and nothing else, like the copy
  /// assignment).
  CDataset<T>& operator=(CDataset<T>&& other) noexcept;

  /// \return "CDataset".
  std::string className() const override;

  // --- Access ------------------------------------------------------------

  /// \return the number of items.
  int items() const { return static_cast<int>(itemList.size()); }
  /// \return item \p i. An index outside 0..items()-1 aborts with an
  ///         ML_GEQ_CHK or ML_LS_CHK report on "i".
  CDatasetItem<T>& getItem(int i) { return itemList[checked(i)]; }
  const CDatasetItem<T>& getItem(int i) const { return itemList[checked(i)]; }
  CDatasetItem<T>& item(int i) { return itemList[checked(i)]; }
  const CDatasetItem<T>& item(int i) const { return itemList[checked(i)]; }
  CDatasetItem<T>& operator[](int i) { return itemList[checked(i)]; }
  const CDatasetItem<T>& operator[](int i) const {
    return itemList[checked(i)];
  }
  CDatasetItem<T>& operator()(int i) { return itemList[checked(i)]; }
  const CDatasetItem<T>& operator()(int i) const {
    return itemList[checked(i)];
  }
  /// \return the last item; an empty dataset aborts as getItem(-1) does.
  CDatasetItem<T>& getLast() { return itemList[checked(items() - 1)]; }

  /// \return item floor((float)rand() * (float)items() * 2^-31), the
  ///         product of the two floats formed in float and scaled in double.
  ///         The few draws that (float)rand() rounds up to 2^31 would give
  ///         items() itself; they give the last item.
  ///         requires: items() > 0 (else aborts with an ML_GEQ_CHK report).
  const CDatasetItem<T>& getRandomItem() const;
  CDatasetItem<T>& randomItem();

  /// \return dimension() of the first item's input vector; 0 when empty.
  int inputDimension() const;
  /// \return dimension() of the first item's output vector; 0 when empty.
  int outputDimension() const;

  void setInfo(const std::string& info) { infoText = info; }
  std::string getInfo() const { return infoText; }
  /// \return the type tag, "CDataset 0.1".
  std::string getType() const { return typeTag; }
  void setGrowSize(int growSize) { growBy = growSize; }
  int growSize() const { return growBy; }
  void* metaData() const { return meta; }
  void setMetaData(void* data) { meta = data; }

  /// Reserves storage for \p n items (never shrinks; n <= 0 does nothing).
  void reserve(int n);
  /// \return the number of items the storage holds without growing.
  int capacity() const { return static_cast<int>(itemList.capacity()); }
  /// Destroys all items; the capacity is kept.
  void clear() { itemList.clear(); }
  /// Seeds the C generator with srand(time(0)).
  static void initRandomSeed();

  // --- Modification ------------------------------------------------------

  /// Appends a copy of \p item, first reserving capacity() + growSize()
  /// slots when the storage is full. With a grow size <= 0, or one whose
  /// slots cannot be had (a file may store any grow size, up to
  /// 2,147,483,647), the storage grows by its own doubling instead.
  /// insertItem() grows the same way. \return true.
  bool appendItem(const CDatasetItem<T>& item);
  /// Inserts a copy of \p item before position \p pos.
  /// \return false (and no change) unless 0 <= pos < items(): inserting at
  ///         the end is refused, appendItem() does that.
  bool insertItem(int pos, const CDatasetItem<T>& item);
  /// Assigns \p item to item \p i. \return false unless 0 <= i < items().
  bool setItem(int i, const CDatasetItem<T>& item);
  /// Removes item \p i, keeping the order of the rest.
  /// \return false unless 0 <= i < items().
  bool removeItem(int i);
  /// Removes the last item if there is one.
  void removeLastItem();
  /// Appends copies of all of \p other's items in order.
  void merge(const CDataset<T>& other);
  /// Reseeds with srand(time(0)), then for i = 1..items()-1 swaps item i
  /// with item j = trunc((double)((float)rand() * (float)(i + 1)) * 2^-31)
  /// by copying through a temporary item (so the swapped items get new
  /// vectors). A j of items() (a draw rounded up to 2^31 on the last step)
  /// is taken as the last item. Two shuffles within the same second give
  /// the same order.
  void randomShuffle();
  /// Sorts by the items' non-strict id comparison (operator<) with the
  /// introspective sort: quicksort with median-of-three pivots and a depth
  /// limit of 2 * floor(log2 n), heap sort below that depth, and a final
  /// insertion sort, guarded over the first 16 items and unguarded beyond.
  /// Equal ids end in the order this algorithm produces; the sort never
  /// leaves the item storage. Because equal ids compare as less, the time
  /// grows with the square of the size of each group of equal ids.
  void sortdata();
  /// The same sort with \p less, which receives copies of the items. Any
  /// comparison is memory-safe; the result is ordered when \p less is a
  /// strict or non-strict ordering. A null \p less leaves the items as
  /// they are.
  void sortdata(bool (*less)(CDatasetItem<T>, CDatasetItem<T>));

  // --- Best-match searches (meant for items() > 0) ------------------------
  // On an empty dataset, or with a range form's `from` outside
  // 0..items()-1, the index is -1 and the distance argument is left alone;
  // a `to` beyond the last item searches up to the last item. The whole
  // and range forms split a long search over several threads
  // (setNumThreads()), which call the metric's distance() at the same time:
  // a metric must not change state in it. The result is the same for any
  // thread count.

  /// \return the index of the input closest to \p query.
  int getBestMatchIDInput(const CVector<T>& query,
                          const CMetric<T>& metric) const;
  int bestMatchIDInput(const CVector<T>& query, const CMetric<T>& metric) const;
  /// \return the index of the output closest to \p query.
  int getBestMatchIDOutput(const CVector<T>& query,
                           const CMetric<T>& metric) const;
  int bestMatchIDOutput(const CVector<T>& query,
                        const CMetric<T>& metric) const;
  /// Stores the index of the closest input in \p id and its distance in
  /// \p distance.
  void getBestMatchInput(const CVector<T>& query, const CMetric<T>& metric,
                         int& id, T& distance) const;
  void bestMatchInput(const CVector<T>& query, const CMetric<T>& metric,
                      int& id, T& distance) const;
  /// As getBestMatchInput() over the outputs.
  void getBestMatchOutput(const CVector<T>& query, const CMetric<T>& metric,
                          int& id, T& distance) const;
  void bestMatchOutput(const CVector<T>& query, const CMetric<T>& metric,
                       int& id, T& distance) const;
  /// \return the index of the closest input among items \p from..\p to
  ///         (both inclusive). requires: 0 <= from <= to < items().
  int bestMatchIDInput(const CVector<T>& query, const CMetric<T>& metric,
                       int from, int to) const;
  /// As the range form, skipping item \p exclude. The search starts from
  /// item \p from's distance even when \p from is excluded; the starting
  /// index is then from + 1, which is the result when no later item is
  /// strictly closer than item \p from (items() when \p from is the last
  /// item).
  int bestMatchIDInput(const CVector<T>& query, const CMetric<T>& metric,
                       int from, int to, int exclude) const;
  /// \return the index, among those listed in [first, last), of the closest
  ///         input; ties keep the earlier listed index.
  ///         requires: first != last; a listed index outside the items aborts
  ///         as getItem() does.
  template <typename IndexIterator,
            typename = std::enable_if_t<!std::is_integral_v<IndexIterator>>>
  int bestMatchIDInput(const CVector<T>& query, const CMetric<T>& metric,
                       IndexIterator first, IndexIterator last) const {
    int bestIndex = *first;
    T bestDistance = metric.distance(*item(bestIndex).inputVector(), query);
    for (++first; first != last; ++first) {
      const T distance = metric.distance(*item(*first).inputVector(), query);
      if (bestDistance > distance) {
        bestDistance = distance;
        bestIndex = *first;
      }
    }
    return bestIndex;
  }

  // --- Subsets and folds -------------------------------------------------

  /// Moves the last floor(items() * (percent / 100)) items, last item
  /// first, into the returned dataset (capacity items(), grow size 1000).
  /// A count below 0 or above items() is taken as 0 or items() (NaN as 0).
  CDataset<T> split(double percent);
  /// \return a uniform random sample of \p iNbItems items (reservoir
  ///         sampling with rand() % (t + 1)); a negative count samples 0
  ///         items. Aborts with an ML_LEQ_CHK report at
  ///         detail::kSubsetCountCheck when iNbItems > items().
  CDataset<T> subset(int iNbItems) const;
  /// \return \p k folds; item i goes to fold i % k, in item order. Each
  ///         fold has grow size 1000 and info "none"; k <= 0 gives no folds.
  std::vector<CDataset<T>> createFolds(int k) const;
  /// \return copies of items \p from..\p to (inclusive). With \p remove,
  ///         items from..to-1 are removed from this dataset, and item \p to
  ///         as well only when it is the last item.
  ///         requires: 0 <= from <= to < items(). A from below 0 is taken
  ///         as 0 and a to beyond the last item as the last item; when
  ///         from > to, the result is empty and nothing is removed.
  CDataset<T> extract(int from, int to, bool remove);

  // --- Flat arrays and matrices (row-major, one row per item) -------------

  /// Writes item i's input to buffer[(dIn + dOut) * i ...] followed by its
  /// output, with dIn/dOut the dataset's input/output dimension.
  /// requires: \p buffer holds items() * (dIn + dOut) elements.
  void setDataToVector(T* buffer) const;
  /// Replaces the items by \p n items read from \p buffer (inDim input and
  /// then outDim output values each, as dense vectors); ids 1..n. A
  /// negative dimension is taken as 0. The storage grows as in appendItem().
  /// requires: \p buffer holds n * (inDim + outDim) elements.
  void getDataFromVector(const T* buffer, int n, int inDim, int outDim);
  /// \return items() x inputDimension() matrix, row i = item i's input
  ///         (an item of another dimension is cut or padded with zeros).
  CMatrix<T> getInputMatrix() const;
  /// \return items() x outputDimension() matrix, row i = item i's output.
  CMatrix<T> getOutputMatrix() const;

  // --- File format -------------------------------------------------------

  /// Writes the record (see the class comment) to \p out; stream failures
  /// are not checked. Values are narrowed to float; every item is written
  /// with the first item's dimensions. requires: all items share them (a
  /// shorter vector gives zeros past its end, a longer one is cut).
  /// \return true.
  bool write(std::ostream& out) const;
  /// Reads a record, trusting its input. On a wrong tag writes
  /// "Wrong file type!" to the error stream and returns false with the
  /// dataset unchanged; otherwise replaces the items (ids 0..N-1), the grow
  /// size and the info and returns true. Damage after the tag is not
  /// reported, and costs no more memory than the data that are there:
  /// - the tag matches when its bytes hold a NUL and the text before it is
  ///   the type tag, so a negative or too short tag length never matches;
  /// - fields the data do not reach read as 0 (the grow size keeps its
  ///   value); an info text cut short keeps the bytes that arrived;
  /// - a negative item count reads no items, a negative dimension counts
  ///   as 0;
  /// - items are made only as their values arrive: reading stops before
  ///   the first item that the data do not complete, and a record cut
  ///   before its items gives none;
  /// - items without elements (both dimensions 0) take no data, and at most
  ///   65,536 of them are made.
  /// The stream is left right after the record. With more than one thread
  /// (setNumThreads()), the values of a long record are read from \p in on
  /// a second thread while this one builds the items; the stream is used by
  /// one thread at a time.
  bool read(std::istream& in);
  /// Writes the record gzip-compressed to \p fileName.
  /// \return false when the file cannot be opened for writing.
  bool write(const char* fileName) const;
  /// Reads a gzip-compressed record with read(std::istream&). When the file
  /// is large enough to hold the declared items' values (at up to 8x
  /// compression), the item slots are reserved at once.
  /// \return false when the file cannot be opened; true otherwise, also
  ///         when the tag was wrong (the message is the only sign of it).
  bool read(const char* fileName);
  /// Validating reader for untrusted data. Rejects, with a message in
  /// \p error of the form "CDataset::read(): <reason>": a tag other than
  /// the type tag and its NUL; a negative item count, dimension or info
  /// length; an info text without its terminating NUL; items without values
  /// (a positive count with both dimensions 0), which no data could bound;
  /// a count and dimensions whose values exceed any stream; and data that
  /// end early ("dataset file truncated in item 12 of 100", items numbered
  /// from 0 like the loaded ids). Memory grows only with data actually
  /// read. The stream is left right after the record, so further data may
  /// follow it.
  /// \return true on success; on failure the dataset is unchanged.
  bool read(std::istream& in, std::string& error);
  /// Validating reader of a gzip-compressed file, as above, with
  /// "; file: <name>" at the end of the message. Also rejects a file that
  /// cannot be opened, a directory ("the file is a directory"), anything
  /// but a regular file ("not a regular file (a device, pipe or socket)",
  /// without waiting for a FIFO's writer), a broken gzip stream (corrupt or
  /// cut-off compressed data, a wrong CRC or length), any data after the
  /// record ("data continue after the last item") and any byte after the
  /// gzip member ("data continue after the gzip stream"): the file holds
  /// exactly one record in one gzip member. A file that does not start
  /// with the gzip magic bytes is read as it stands.
  /// The file is opened once and read in one pass that stops at the first
  /// fault, so the work done is bounded by the data read up to it; memory
  /// beyond the items read is fixed (about 200 KiB). Item slots are
  /// reserved as in read(const char*).
  bool read(const char* fileName, std::string& error);

  /// Writing (any mode but IO_READ): item count, info length K, the K info
  /// bytes, then for the first K items (not items()) each vector's own
  /// serialize(). Reading: count (reserved), K and the info text, then K
  /// dense input/output pairs appended with id -1 (items already present
  /// are kept); at most 65,536 items are reserved in advance, and reading
  /// stops at the first pair the stream cannot supply.
  /// requires for writing: items() >= K (only the items there are written).
  /// \return false, always, after doing its work.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Storing: count as unsigned long, separator, each item, separator.
  /// Loading: count as unsigned int, then that many default items, each
  /// made just before the archive fills it.
  /// requires for loading: the archive holds that many items. \return true.
  bool serialize2(CArchiv& archive) override;

 private:
  // \p i after checking that it indexes an item.
  std::size_t checked(int i) const {
    ML_GEQ_CHK(i, 0);
    ML_LS_CHK(i, items());
    return static_cast<std::size_t>(i);
  }
  // Closest input (onInputs) or output among items from..to, skipping item
  // `exclude`; writes the starting index and distance before the search and
  // the final ones after it. A `from` outside the items gives id -1 and
  // leaves `distance` alone; `to` is cut at the last item.
  void bestMatch(const CVector<T>& query, const CMetric<T>& metric,
                 bool onInputs, int from, int to, int exclude, int& id,
                 T& distance) const;
  int bestMatchID(const CVector<T>& query, const CMetric<T>& metric,
                  bool onInputs, int from, int to, int exclude) const;
  // Index from the rand() formula of getRandomItem().
  int randomIndex() const;
  // Reserves growBy more slots when the storage is full.
  void growIfFull();
  // Takes the items, grow size and info of a dataset read into \p loaded.
  void takeRecord(CDataset<T>& loaded);
  // Appends an item this dataset takes over, growing like appendItem().
  void appendOwned(CDatasetItem<T>&& item);

  std::vector<CDatasetItem<T>> itemList;
  std::string typeTag;
  std::string infoText;
  int growBy;
  void* meta;
};

#define VECML_DATASET_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CDataset<T>;
VECML_FOR_FLOATING_TYPES(VECML_DATASET_INSTANTIATIONS, extern template)

#endif
