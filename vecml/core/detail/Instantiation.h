// SPDX-License-Identifier: MIT
// Explicit instantiation lists kept in one place. A header names each set
// of instantiations once, as a macro LIST(INSTANTIATE, T) that writes every
// declaration of the set for element type T with INSTANTIATE in front. The
// header declares the set with VECML_FOR_..._TYPES(LIST, extern template)
// and exactly one source file defines it with
// VECML_FOR_..._TYPES(LIST, template).
#ifndef VECML_CORE_DETAIL_INSTANTIATION_H
#define VECML_CORE_DETAIL_INSTANTIATION_H

// Vectors and matrices exist for int, float and double.
#define VECML_FOR_ELEMENT_TYPES(LIST, INSTANTIATE) \
  LIST(INSTANTIATE, int) LIST(INSTANTIATE, float) LIST(INSTANTIATE, double)

// Everything built on real-valued data exists for float and double.
#define VECML_FOR_FLOATING_TYPES(LIST, INSTANTIATE) \
  LIST(INSTANTIATE, float) LIST(INSTANTIATE, double)

#endif
