#include "vecml/core/Macros.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace vecml::detail {

void reportCriticalMessage(const char* file, int line, const char* message) {
  std::cerr << "ML_CRITICAL_MSG in File: " << file << " Line: " << line
            << std::endl
            << message << std::endl
            << std::endl;
  std::abort();
}

}  // namespace vecml::detail

namespace {

// Arrays are carved out of a plain array allocation one alignment step
// longer than needed: the elements start at the first 64-byte boundary
// past its first byte, and the byte just before them holds the distance
// back to the allocation (16 to 64 with malloc's 16-byte alignment).
// Unlike the aligned operator new, whose memalign path is several times
// slower and leaves holes between small blocks, this keeps allocating a
// dataset's many short vectors fast and their memory compact.
constexpr std::size_t kArrayAlignment = 64;

}  // namespace

template <typename T>
T* NEWARRAY(int n) {
  if (n < 0) throw std::bad_array_new_length();
  const std::size_t bytes = sizeof(T) * static_cast<std::size_t>(n);
  auto* block = static_cast<unsigned char*>(
      ::operator new[](bytes + kArrayAlignment, std::nothrow));
  if (block == nullptr) throw "Out of memory during allocation of CDenseVector";
  const std::size_t offset =
      kArrayAlignment -
      reinterpret_cast<std::uintptr_t>(block) % kArrayAlignment;
  unsigned char* start = block + offset;
  start[-1] = static_cast<unsigned char>(offset);
  T* array = ::new (static_cast<void*>(start)) T[static_cast<std::size_t>(n)];
  std::memset(array, 0, bytes);
  return array;
}

template <typename T>
void DELETEARRAY(T* array) noexcept {
  if (array == nullptr) return;
  auto* start = reinterpret_cast<unsigned char*>(array);
  ::operator delete[](start - start[-1]);
}

template int* NEWARRAY<int>(int);
template float* NEWARRAY<float>(int);
template double* NEWARRAY<double>(int);
template void DELETEARRAY<int>(int*) noexcept;
template void DELETEARRAY<float>(float*) noexcept;
template void DELETEARRAY<double>(double*) noexcept;
