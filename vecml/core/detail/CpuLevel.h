// SPDX-License-Identifier: MIT
// Run-time choice of the vector instruction set for the library's hot
// kernels. libvecml.so is compiled for baseline x86-64; kernels that profit
// from wider registers are compiled a second and third time with the target
// attributes below and picked with cpuLevel(). Every path gives the same
// bits: the kernels only widen loops whose element operations are already
// independent and correctly rounded.
#ifndef VECML_CORE_DETAIL_CPULEVEL_H
#define VECML_CORE_DETAIL_CPULEVEL_H

#include "vecml/core/Export.h"

namespace vecml::detail {

enum class CpuLevel { baseline, avx2, avx512 };

/// The widest instruction set the kernels use in this process: detected
/// once from the processor (avx2 needs AVX2 and FMA; avx512 needs AVX-512
/// F, VL, DQ and BW as well) and lowered, never raised, by the environment
/// variable VECML_CPU ("baseline", "avx2" or "avx512") read at the first
/// call. Other values of VECML_CPU are ignored.
VECML_API CpuLevel cpuLevel();

/// \return the level VECML_CPU asks for given what the processor supports:
///         the lower of the two, or \p supported for a null or unknown
///         request.
VECML_API CpuLevel requestedCpuLevel(CpuLevel supported, const char* request);

/// \return the choice made for the widest instruction set that \p level
///         allows: \p avx512, \p avx2 or \p baseline.
template <typename Choice>
Choice choiceForCpu(CpuLevel level, Choice avx512, Choice avx2,
                    Choice baseline) {
  switch (level) {
    case CpuLevel::avx512:
      return avx512;
    case CpuLevel::avx2:
      return avx2;
    case CpuLevel::baseline:
      break;
  }
  return baseline;
}

}  // namespace vecml::detail

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define VECML_HAVE_X86_KERNELS 1
#define VECML_TARGET_AVX2 __attribute__((target("avx2,fma")))
#define VECML_TARGET_AVX512 \
  __attribute__((target("avx512f,avx512vl,avx512dq,avx512bw,avx2,fma")))
#else
#define VECML_HAVE_X86_KERNELS 0
#define VECML_TARGET_AVX2
#define VECML_TARGET_AVX512
#endif

#endif
