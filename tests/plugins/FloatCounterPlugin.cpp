// SPDX-License-Identifier: MIT
// Test-only plug-in that shows when the factory loads, keeps and reloads it:
// create_float returns a CDenseVector<float> whose dimension is the number
// of create_float calls since this plug-in was loaded. It deliberately has
// no create_double entry point.
#include "vecml/vector/CDenseVector.h"

namespace {

int callsSinceLoad = 0;

}  // namespace

extern "C" VECML_API CObject<float>* create_float() {
  return new CDenseVector<float>(++callsSinceLoad);
}
