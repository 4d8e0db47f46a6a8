// SPDX-License-Identifier: MIT
// Uses the installed vecml through its umbrella header and checks a few
// answers; exits non-zero on any mismatch. The factory finds the installed
// plug-in through libvecml.so's RUNPATH, without LD_LIBRARY_PATH.
#include <iostream>
#include <memory>
#include <string>

#include "vecml/vecml.h"

bool oldIncludePathsWork();  // old_paths.cpp

namespace {

bool versionHeaderMatchesThePackage() {
  return VECML_VERSION == VECML_VERSION_MAJOR * 10000 +
                              VECML_VERSION_MINOR * 100 + VECML_VERSION_PATCH &&
         std::string(VECML_VERSION_STRING) ==
             std::to_string(VECML_VERSION_MAJOR) + "." +
                 std::to_string(VECML_VERSION_MINOR) + "." +
                 std::to_string(VECML_VERSION_PATCH);
}

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

// libvecml.so brings its own LAPACK: the consumer links nothing more.
bool linearAlgebraRuns() {
  CMatrix<double> a(2, 2);
  a(0, 0) = 4;
  a(1, 0) = 2;
  a(1, 1) = 5;
  CMatrix<double> lower;
  return cholesky(a, lower).ok() && lower(0, 0) == 2 && lower(1, 0) == 1 &&
         lower(1, 1) == 2 && lower(0, 1) == 0;
}

}  // namespace

int main() {
  const bool ok = objectModelWorks() && factoryProducesADenseVector() &&
                  versionHeaderMatchesThePackage() && oldIncludePathsWork() &&
                  linearAlgebraRuns();
  std::cout << (ok ? "consumer: ok" : "consumer: FAILED") << std::endl;
  return ok ? 0 : 1;
}
