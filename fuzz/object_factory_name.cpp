// SPDX-License-Identifier: MIT
// Hands arbitrary bytes to the object factory as a class name, through
// both overloads of canProduce and produceObject. A name that is not a
// plain class name (1 to 245 ASCII letters, digits and underscores, not
// starting with a digit) must fail without a library being mapped into
// the process; an object produced for any name is deleted again.
#include <link.h>

#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "vecml/core/CObject.h"
#include "vecml/core/CObjectFactory.h"

namespace {

bool isPlainClassName(const std::string& name) {
  if (name.empty() || name.size() > 245) return false;
  if (name[0] >= '0' && name[0] <= '9') return false;
  for (char c : name) {
    const bool word = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                      (c >= '0' && c <= '9') || c == '_';
    if (!word) return false;
  }
  return true;
}

int mappedObjects() {
  int count = 0;
  dl_iterate_phdr(
      [](dl_phdr_info*, std::size_t, void* total) {
        ++*static_cast<int*>(total);
        return 0;
      },
      &count);
  return count;
}

void deleteProduced(void* made, DATATYPE type) {
  if (type == DT_DOUBLE)
    delete static_cast<CObject<double>*>(made);
  else
    delete static_cast<CObject<float>*>(made);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  if (size == 0) return 0;
  // The first byte picks the element type; the rest is the name, embedded
  // zero bytes included.
  const DATATYPE type = static_cast<DATATYPE>(data[0] % 3);
  const std::string name(reinterpret_cast<const char*>(data) + 1, size - 1);
  CObjectFactory factory;
  const int mappedBefore = mappedObjects();
  bool byString = factory.canProduce(name);
  bool byCString = factory.canProduce(name.c_str());
  void* made = factory.produceObject(name, type);
  byString |= made != nullptr;
  deleteProduced(made, type);
  made = factory.produceObject(name.c_str(), type);
  byCString |= made != nullptr;
  deleteProduced(made, type);
  // The C-string overloads see the name up to its first zero byte only.
  const bool plain = isPlainClassName(name);
  const bool plainPrefix = isPlainClassName(name.c_str());
  if ((byString && !plain) || (byCString && !plainPrefix)) std::abort();
  if (!plain && !plainPrefix && mappedObjects() != mappedBefore) std::abort();
  return 0;
}
