// SPDX-License-Identifier: MIT
#include "vecml/learning/COptimizer.h"

#include "vecml/core/CArchiv.h"

template <typename T>
COptimizer<T>::COptimizer()
    : maximizing(false), currentPosition(), objectiveSign(1) {}

template <typename T>
COptimizer<T>::~COptimizer() = default;

template <typename T>
bool COptimizer<T>::serialize2(CArchiv& archive) {
  CObject<T>& positionObject = currentPosition;
  if (archive.isLoading()) {
    archive.read(maximizing);
    archive.read(objectiveSign);
    archive.read(positionObject);
    return true;
  }
  archive.write(maximizing);
  archive.writeSeparator();
  archive.write(objectiveSign);
  archive.writeSeparator();
  archive.write(positionObject);
  archive.writeSeparator();
  return true;
}

template <typename T>
std::string COptimizer<T>::className() const {
  return "COptimizer";
}

// Each level of the isA chain compares with the virtual className(), so the
// chain matches the most-derived name only.
template <typename T>
bool COptimizer<T>::isA(const char* name) const {
  return className() == std::string(name) || CObject<T>::isA(name);
}

template <typename T>
void COptimizer<T>::setMaximize(bool maximize) {
  maximizing = maximize;
  objectiveSign = maximize ? T(-1) : T(1);
}

template <typename T>
void COptimizer<T>::setPosition(CDenseVector<T> position) {
  currentPosition = position;
}

VECML_FOR_FLOATING_TYPES(VECML_OPTIMIZER_INSTANTIATIONS, template)
