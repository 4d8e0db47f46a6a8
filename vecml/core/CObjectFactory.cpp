// SPDX-License-Identifier: MIT
#include "vecml/core/CObjectFactory.h"

#include <dlfcn.h>

#include <cstddef>
#include <iostream>
#include <mutex>

#include "vecml/core/CObject.h"

namespace {

constexpr char kPluginSuffix[] = "Factory.so";

// Longest class name whose plug-in file name still fits in one file-name
// component (NAME_MAX, 255 bytes).
constexpr std::size_t kMaxClassNameLength = 255 - (sizeof(kPluginSuffix) - 1);

bool isAsciiLetterOrUnderscore(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

// True for a non-empty identifier of ASCII letters, digits and underscores
// that does not start with a digit and is at most kMaxClassNameLength long.
// Class names arrive from files; anything else (a slash, "..", a space, an
// embedded NUL) would let a file choose which library dlopen maps into the
// process, so such names are never passed to it.
bool isPlainClassName(const std::string& name) {
  if (name.empty() || name.size() > kMaxClassNameLength) return false;
  if (!isAsciiLetterOrUnderscore(name[0])) return false;
  for (char c : name)
    if (!isAsciiLetterOrUnderscore(c) && !(c >= '0' && c <= '9')) return false;
  return true;
}

// Entry points are called through their exact types (the sanitizer build
// checks indirect calls).
using CreateFloat = CObject<float>* (*)();
using CreateDouble = CObject<double>* (*)();

}  // namespace

CObjectFactory* CObjectFactory::pinstance = nullptr;

CObjectFactory* CObjectFactory::instance() {
  // The language creates a function-local static exactly once, even when
  // several threads ask for it at the same time.
  static CObjectFactory* const created = pinstance = new CObjectFactory();
  return created;
}

CObjectFactory::CObjectFactory() : handle(nullptr) {}

CObjectFactory::~CObjectFactory() {
  if (handle != nullptr) dlclose(handle);
}

// Each public call holds the lock from the name check through dlopen,
// dlsym and the plug-in's entry point, so another thread cannot close or
// switch the plug-in in between.

void* CObjectFactory::produceObject(const char* className, DATATYPE type) {
  const std::lock_guard<std::mutex> lock(guard);
  return produce(className, type, false);
}

void* CObjectFactory::produceObject(std::string className, DATATYPE type) {
  const std::lock_guard<std::mutex> lock(guard);
  return produce(className, type, true);
}

bool CObjectFactory::canProduce(const char* className) {
  const std::lock_guard<std::mutex> lock(guard);
  return load(className);
}

bool CObjectFactory::canProduce(std::string className) {
  const std::lock_guard<std::mutex> lock(guard);
  return load(className);
}

bool CObjectFactory::load(const std::string& className) {
  const std::string fileName = className + kPluginSuffix;
  if (fileName == libraryName) return true;
  if (handle != nullptr) {
    dlclose(handle);
    handle = nullptr;
  }
  // A refused name fails like a plug-in file that does not exist.
  if (isPlainClassName(className)) handle = dlopen(fileName.c_str(), RTLD_LAZY);
  if (handle == nullptr) return false;
  libraryName = fileName;
  return true;
}

void* CObjectFactory::produce(const std::string& className, DATATYPE type,
                              bool reportUnknownType) {
  if (!load(className)) {
    std::cout << "dlopen error: Cannot open shared object " << className
              << kPluginSuffix << std::endl;
    return nullptr;
  }
  if (type == DT_FLOAT || type == DT_DOUBLE) return create(type);
  if (reportUnknownType)
    std::cout << "CObjectFactory: Unknown data type!" << std::endl;
  return nullptr;
}

void* CObjectFactory::create(DATATYPE type) {
  const char* entryPoint = type == DT_DOUBLE ? "create_double" : "create_float";
  // No plug-in is held after a failed load of another class; a null handle
  // would make dlsym search the whole process instead.
  void* symbol = handle != nullptr ? dlsym(handle, entryPoint) : nullptr;
  if (symbol == nullptr) {
    std::cout << "dlsym error: Cannot find " << entryPoint << " in "
              << libraryName << std::endl;
    return nullptr;
  }
  if (type == DT_DOUBLE) return reinterpret_cast<CreateDouble>(symbol)();
  return reinterpret_cast<CreateFloat>(symbol)();
}
