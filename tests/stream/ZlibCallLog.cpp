// SPDX-License-Identifier: MIT
#include "stream/ZlibCallLog.h"

#include <dlfcn.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>

namespace {

ZlibCallLog* active = nullptr;

// zlib.h may rename its functions (gzopen64); look up the name it uses.
#define ZLIB_SYMBOL_NAME(function) ZLIB_SYMBOL_STRING(function)
#define ZLIB_SYMBOL_STRING(function) #function

// The real zlib function, found after this program in the search order.
template <typename Function>
Function* realFunction(const char* name) {
  void* symbol = dlsym(RTLD_NEXT, name);
  if (symbol == nullptr) std::abort();
  return reinterpret_cast<Function*>(symbol);
}

}  // namespace

ZlibCallLog::ZlibCallLog() {
  if (active != nullptr) std::abort();
  active = this;
}

ZlibCallLog::~ZlibCallLog() { active = nullptr; }

void ZlibCallLog::clear() {
  openModes.clear();
  readLengths.clear();
  readTargets.clear();
  writeLengths.clear();
  closeCalls = 0;
}

gzFile gzopen(const char* path, const char* mode) {
  static const auto real =
      realFunction<decltype(gzopen)>(ZLIB_SYMBOL_NAME(gzopen));
  if (active != nullptr) active->openModes.push_back(mode);
  return real(path, mode);
}

int gzread(gzFile file, voidp buf, unsigned len) {
  static const auto real =
      realFunction<decltype(gzread)>(ZLIB_SYMBOL_NAME(gzread));
  if (active == nullptr) return real(file, buf, len);
  active->readLengths.push_back(len);
  active->readTargets.push_back(buf);
  return real(file, buf, std::min(len, active->readLimit));
}

int gzwrite(gzFile file, voidpc buf, unsigned len) {
  static const auto real =
      realFunction<decltype(gzwrite)>(ZLIB_SYMBOL_NAME(gzwrite));
  if (active == nullptr) return real(file, buf, len);
  active->writeLengths.push_back(len);
  if (active->failingWrites > 0) {
    --active->failingWrites;
    return 0;
  }
  return real(file, buf, len);
}

int gzclose(gzFile file) {
  static const auto real =
      realFunction<decltype(gzclose)>(ZLIB_SYMBOL_NAME(gzclose));
  const int status = real(file);
  if (active == nullptr) return status;
  ++active->closeCalls;
  return active->failClose ? Z_ERRNO : status;
}
