// Quick start: create a vecml object and ask it what it is.
#include <iostream>

#include "vecml/vecml.h"

int main() {
  CObject<float> object;
  std::cout << "vecml object: " << object.className() << ", element type tag "
            << object.dataType() << ", verbosity " << int(object.verbose())
            << '\n';
  return object.isA("CObject") ? 0 : 1;
}
