// SPDX-License-Identifier: MIT
#include "vecml/learning/CProjection.h"

template <typename T>
CProjection<T>::CProjection() : directionCount(0) {}

template <typename T>
CProjection<T>::~CProjection() = default;

template <typename T>
std::string CProjection<T>::className() const {
  return "CProjection";
}

VECML_FOR_FLOATING_TYPES(VECML_PROJECTION_INSTANTIATIONS, template)
