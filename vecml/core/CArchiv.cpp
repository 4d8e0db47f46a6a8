// SPDX-License-Identifier: MIT
#include "vecml/core/CArchiv.h"

// Out of line so that the vtable and type_info live in libvecml.so only.
CArchiv::~CArchiv() = default;
