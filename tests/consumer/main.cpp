// Uses the installed vecml through its umbrella header and checks a few
// answers; exits non-zero on any mismatch.
#include <iostream>

#include "vecml/vecml.h"

int main() {
  CObject<double> object;
  const bool ok = object.className() == "CObject" && object.isA("CObject") &&
                  object.dataType() == DT_DOUBLE && object.verbose() == 3;
  std::cout << (ok ? "consumer: ok" : "consumer: FAILED") << std::endl;
  return ok ? 0 : 1;
}
