// Uses the installed vecml through its umbrella header and checks a few
// answers; exits non-zero on any mismatch. The factory finds the installed
// plug-in through libvecml.so's RUNPATH, without LD_LIBRARY_PATH.
#include <iostream>
#include <memory>

#include "vecml/vecml.h"

namespace {

bool objectModelWorks() {
  CObject<double> object;
  return object.className() == "CObject" && object.isA("CObject") &&
         object.dataType() == DT_DOUBLE && object.verbose() == 3;
}

bool factoryProducesADenseVector() {
  std::unique_ptr<CObject<float>> made(static_cast<CObject<float>*>(
      CObjectFactory::instance()->produceObject("CDenseVector", DT_FLOAT)));
  return made != nullptr && made->className() == "CDenseVector";
}

}  // namespace

int main() {
  const bool ok = objectModelWorks() && factoryProducesADenseVector();
  std::cout << (ok ? "consumer: ok" : "consumer: FAILED") << std::endl;
  return ok ? 0 : 1;
}
