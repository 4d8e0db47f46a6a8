// SPDX-License-Identifier: MIT
// Whether a shared object is loaded in the test process.
#ifndef VECML_TESTS_SUPPORT_LOADEDLIBRARY_H
#define VECML_TESTS_SUPPORT_LOADEDLIBRARY_H

#include <dlfcn.h>

#include <string>

// True while the shared object is loaded in this process; never loads it.
inline bool isLoaded(const std::string& fileName) {
  void* probe = dlopen(fileName.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (probe == nullptr) return false;
  dlclose(probe);
  return true;
}

#endif
