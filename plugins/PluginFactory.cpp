// SPDX-License-Identifier: MIT
// Entry points of one factory plug-in. The build compiles this file once per
// producible class, defining VECML_PLUGIN_HEADER (the class's header),
// VECML_PLUGIN_CLASS (the class template) and VECML_PLUGIN_ARGS (constructor
// arguments, often none; they may name the element type as T). The class's
// code stays in libvecml.so, whose header declares the instantiations
// extern, so objects made here outlive a dlclose of the plug-in.
#include VECML_PLUGIN_HEADER

extern "C" {

/// \return a new float object of the plug-in's class, owned by the caller.
VECML_API CObject<float>* create_float() {
  using T = float;
  return new VECML_PLUGIN_CLASS<T>(VECML_PLUGIN_ARGS);
}

/// \return a new double object of the plug-in's class, owned by the caller.
VECML_API CObject<double>* create_double() {
  using T = double;
  return new VECML_PLUGIN_CLASS<T>(VECML_PLUGIN_ARGS);
}

}  // extern "C"
