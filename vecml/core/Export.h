// SPDX-License-Identifier: MIT
// Symbol visibility for libvecml.so.
//
// The library is built with hidden visibility; everything marked VECML_API
// keeps default visibility so that clients and dlopen'ed plug-ins share one
// copy of every exported function, vtable and type_info.
#ifndef VECML_CORE_EXPORT_H
#define VECML_CORE_EXPORT_H

#define VECML_API __attribute__((visibility("default")))

#endif
