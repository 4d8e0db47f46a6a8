// SPDX-License-Identifier: MIT
// Recognising a vector's exact class. A class derived from a concrete vector
// may change how elements are read or measured, so fast paths that work on
// the storage take only vectors of exactly the class they know.
#ifndef VECML_VECTOR_DETAIL_EXACTKIND_H
#define VECML_VECTOR_DETAIL_EXACTKIND_H

#include <typeinfo>

#include "vecml/vector/CDenseVector.h"

namespace vecml::detail {

/// \return \p vector as a Concrete when that is exactly its class, else null.
template <typename Concrete, typename T>
const Concrete* exactly(const CVector<T>& vector) {
  return typeid(vector) == typeid(Concrete)
             ? static_cast<const Concrete*>(&vector)
             : nullptr;
}

template <typename Concrete, typename T>
Concrete* exactly(CVector<T>& vector) {
  return typeid(vector) == typeid(Concrete) ? static_cast<Concrete*>(&vector)
                                            : nullptr;
}

/// \return \p vector as a dense vector when that is exactly its class, else
///         null.
template <typename T>
const CDenseVector<T>* exactlyDense(const CVector<T>& vector) {
  return exactly<CDenseVector<T>>(vector);
}

}  // namespace vecml::detail

#endif
