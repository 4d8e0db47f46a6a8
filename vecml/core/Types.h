// SPDX-License-Identifier: MIT
// Enumerations shared by every numeric class.
#ifndef VECML_CORE_TYPES_H
#define VECML_CORE_TYPES_H

#include <cstdint>

/// Element-type tag, written as a 32-bit value before element blocks.
enum DATATYPE : std::int32_t { DT_INT = 0, DT_FLOAT = 1, DT_DOUBLE = 2 };

/// Direction of binary serialization.
enum IO_MODE : std::int32_t { IO_READ = 0, IO_WRITE = 1 };

/// Verbosity of an object, held in one byte. The library only stores and
/// returns it; VL_INFO (3) is the default of every object.
enum VERBOSE_LEVEL : std::uint8_t {
  VL_SILENT = 0,
  VL_ERROR = 1,
  VL_WARNING = 2,
  VL_INFO = 3,
  VL_DEBUG = 4
};

#endif
