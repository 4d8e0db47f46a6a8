#include "vecml/core/CObjectFactory.h"

#include <dlfcn.h>

#include <iostream>

#include "vecml/core/CObject.h"

namespace {

const char* const kPluginSuffix = "Factory.so";

// Entry points are called through their exact types (the sanitizer build
// checks indirect calls).
using CreateFloat = CObject<float>* (*)();
using CreateDouble = CObject<double>* (*)();

}  // namespace

CObjectFactory* CObjectFactory::pinstance = nullptr;

CObjectFactory* CObjectFactory::instance() {
  if (pinstance == nullptr) pinstance = new CObjectFactory();
  return pinstance;
}

CObjectFactory::CObjectFactory() : handle(nullptr) {}

CObjectFactory::~CObjectFactory() {
  if (handle != nullptr) dlclose(handle);
}

void* CObjectFactory::produceObject(const char* className, DATATYPE type) {
  return produce(className, type, false);
}

void* CObjectFactory::produceObject(std::string className, DATATYPE type) {
  return produce(className, type, true);
}

bool CObjectFactory::canProduce(const char* className) {
  return load(className + std::string(kPluginSuffix));
}

bool CObjectFactory::canProduce(std::string className) {
  return load(className + kPluginSuffix);
}

bool CObjectFactory::load(const std::string& fileName) {
  if (fileName == libraryName) return true;
  if (handle != nullptr) {
    dlclose(handle);
    handle = nullptr;
  }
  handle = dlopen(fileName.c_str(), RTLD_LAZY);
  if (handle == nullptr) return false;
  libraryName = fileName;
  return true;
}

void* CObjectFactory::produce(const std::string& className, DATATYPE type,
                              bool reportUnknownType) {
  const std::string fileName = className + kPluginSuffix;
  if (!load(fileName)) {
    std::cout << "dlopen error: Cannot open shared object " << fileName
              << std::endl;
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
