// SPDX-License-Identifier: MIT
// Dataset item: an owned input vector, an owned output vector and an id.
#ifndef VECML_DATASET_CDATASETITEM_H
#define VECML_DATASET_CDATASETITEM_H

#include <fstream>
#include <string>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/vector/CVector.h"

/// One record of a dataset: an input vector, an output (target) vector and
/// an integer id (-1 when unset). Instantiated for float and double.
///
/// The item owns both vectors (any kind, dense or sparse) and deletes them
/// when destroyed or assigned to. Copies clone the vectors, so each copy
/// keeps the kinds of the original.
///
/// Comparisons look at the ids only, and < and > are deliberately
/// non-strict: two items with equal ids are each less and greater than the
/// other.
///
/// \code
///   CDenseVector<float> in(3, 1.0f), out(1, 0.0f);
///   CDatasetItem<float> item(in, out, 7);
///   float x = item.inputComponent(2);  // 1
/// \endcode
template <typename T>
class VECML_API CDatasetItem : public CObject<T> {
 public:
  /// Dense input and output vectors of dimension 1; id -1.
  CDatasetItem();
  /// Dense zero vectors of the given dimensions; id -1.
  CDatasetItem(int inputDimension, int outputDimension);
  /// Clones of \p in and \p out (their kinds are kept); id -1.
  CDatasetItem(const CVector<T>& in, const CVector<T>& out);
  /// Clones of \p in and \p out with the id \p id.
  CDatasetItem(const CVector<T>& in, const CVector<T>& out, int id);
  /// Adopts both pointers without copying (null is stored as given); id -1.
  CDatasetItem(CVector<T>* in, CVector<T>* out);
  CDatasetItem(const CDatasetItem<T>& other);
  /// Takes \p other's vectors and id, leaving it with null vectors (only
  /// destruction and assignment remain valid on it).
  CDatasetItem(CDatasetItem<T>&& other) noexcept;
  ~CDatasetItem() override;

  /// Replaces both vectors by clones of \p other's and copies its id;
  /// self-assignment changes nothing.
  CDatasetItem<T>& operator=(const CDatasetItem<T>& other);
  /// Swaps vectors and ids with \p other.
  CDatasetItem<T>& operator=(CDatasetItem<T>&& other) noexcept;

  /// Writes the id (4 bytes), then for the input and the output vector its
  /// className() and a newline followed by the vector's own serialize().
  /// Reading (IO_READ) reads the same and creates each vector through
  /// CObjectFactory from the stored class name, so reading needs the
  /// vector's plug-in. It trusts its input: an unknown class name leaves a
  /// null vector. The vectors held before reading are not released; a
  /// pointer obtained from the item earlier stays valid and becomes the
  /// caller's to delete. \return true.
  bool serialize(std::fstream& stream, IO_MODE mode) override;
  /// Field order: id, input class name, input vector, output class name,
  /// output vector (with separators before names and vectors on storing).
  /// Loading deletes both vectors and creates them through CObjectFactory;
  /// a class it cannot produce prints "Unable to produce CVector object"
  /// through ML_CRITICAL_MSG (at detail::kItemInputProduction for the
  /// input, detail::kItemOutputProduction for the output) and aborts.
  /// \return true.
  bool serialize2(CArchiv& archive) override;
  /// \return "CDatasetItem".
  std::string className() const override;

  CVector<T>* getInputVector() { return input; }
  CVector<T>* inputVector() { return input; }
  const CVector<T>* inputVector() const { return input; }
  CVector<T>* inputVectorPtr() const { return input; }
  CVector<T>* getOutputVector() { return output; }
  CVector<T>* outputVector() { return output; }
  const CVector<T>* outputVector() const { return output; }
  CVector<T>* outputVectorPtr() const { return output; }

  /// \return getElement(i) of the input vector.
  T getInputComponent(int i) const { return input->getElement(i); }
  T inputComponent(int i) const { return input->getElement(i); }
  /// \return getElement(i) of the output vector.
  T getOutputComponent(int i) const { return output->getElement(i); }
  T outputComponent(int i) const { return output->getElement(i); }
  int inputDimension() const { return input->dimension(); }
  int outputDimension() const { return output->dimension(); }

  int id() const { return itemId; }
  void setId(int id) { itemId = id; }
  /// Deletes the held vector (if any) and stores a clone of \p in.
  void setInputVector(const CVector<T>& in);
  /// Deletes the held vector (if any) and stores a clone of \p out.
  void setOutputVector(const CVector<T>& out);

  /// Id equality.
  bool operator==(const CDatasetItem<T>& other) const {
    return itemId == other.itemId;
  }
  bool operator!=(const CDatasetItem<T>& other) const {
    return !(*this == other);
  }
  /// Non-strict: id <= other's id.
  bool operator<(const CDatasetItem<T>& other) const {
    return itemId <= other.itemId;
  }
  /// Non-strict: id >= other's id.
  bool operator>(const CDatasetItem<T>& other) const {
    return itemId >= other.itemId;
  }

  /// \return a new float item owned by the caller: for a float item a copy
  ///         with the same id, for a double item the vectors' toFloat()
  ///         with id -1.
  CDatasetItem<float>* convertToFloat() const;
  /// \return a new double item owned by the caller: for a double item a
  ///         copy with the same id, for a float item the vectors' toDouble()
  ///         with id -1.
  CDatasetItem<double>* convertToDouble() const;

 private:
  CVector<T>* input;
  CVector<T>* output;
  int itemId;
};

#define VECML_DATASET_ITEM_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CDatasetItem<T>;
VECML_FOR_FLOATING_TYPES(VECML_DATASET_ITEM_INSTANTIATIONS, extern template)

#endif
