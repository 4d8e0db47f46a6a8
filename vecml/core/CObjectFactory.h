// SPDX-License-Identifier: MIT
// Creates library objects by class name from plug-in shared libraries.
#ifndef VECML_CORE_COBJECTFACTORY_H
#define VECML_CORE_COBJECTFACTORY_H

#include <mutex>
#include <string>

#include "vecml/core/Export.h"
#include "vecml/core/Types.h"

/// Creates objects by class name through plug-ins loaded at run time.
///
/// The plug-in of class C is the shared library "CFactory.so", looked up on
/// the dynamic loader's search path (which includes the vecml/ folder beside
/// libvecml.so). It exports, with C linkage, `CObject<float>* create_float()`
/// and `CObject<double>* create_double()`, each returning a new object of C.
///
/// Class names come from files, so only plain class names are looked up:
/// 1 to 245 ASCII letters, digits and underscores, not starting with a
/// digit (the plug-in file name then fits in 255 bytes). Any other name (a
/// path, "..", spaces, an embedded NUL, an empty or longer name) is never
/// passed to dlopen and fails exactly like a plug-in file that does not
/// exist.
///
/// One plug-in is held at a time: asking for another class first closes the
/// current one. The library's plug-ins carry no code of the classes they
/// create, so their objects stay usable after that. A failed load keeps the
/// name of the plug-in loaded before (with no plug-in held): canProduce()
/// then answers true for that class and produceObject() returns null.
///
/// Thread-safe: instance() creates the factory once, and every call of
/// produceObject() and canProduce() runs under one lock, from the name
/// check to the plug-in's entry point. Calls from several threads are
/// therefore served one after another, each exactly as if it were the only
/// caller (a thread asking for another class still closes the plug-in held
/// before); objects already produced stay usable.
///
/// \code
///   void* made = CObjectFactory::instance()->produceObject("CDenseVector",
///                                                          DT_FLOAT);
///   auto* vector = static_cast<CVector<float>*>(
///       static_cast<CObject<float>*>(made));  // null when it failed
/// \endcode
class VECML_API CObjectFactory {
 public:
  /// \return the process-wide factory, created on first use and never
  ///         destroyed.
  static CObjectFactory* instance();

  /// Holds no plug-in.
  CObjectFactory();
  /// Closes the held plug-in.
  ~CObjectFactory();
  CObjectFactory(const CObjectFactory&) = delete;
  CObjectFactory& operator=(const CObjectFactory&) = delete;

  /// Loads the plug-in of \p className (unless its file name is the stored
  /// one) and creates an object of it for \p type. A failed load closes the
  /// plug-in held before.
  /// requires: \p className is not null.
  /// \return the new object, owned by the caller, as a CObject<float>* for
  ///         DT_FLOAT and a CObject<double>* for DT_DOUBLE; null when the
  ///         name is refused or the plug-in cannot be loaded ("dlopen error:
  ///         Cannot open shared object <file>" on standard output), when it
  ///         lacks the entry point ("dlsym error: ..." on standard output) and,
  ///         silently, for any other type (the plug-in is loaded all the same).
  void* produceObject(const char* className, DATATYPE type);
  /// As above, but an unknown type writes "CObjectFactory: Unknown data
  /// type!" to standard output.
  void* produceObject(std::string className, DATATYPE type);

  /// Loads the plug-in of \p className unless its file name is the stored
  /// one; prints nothing. requires: \p className is not null.
  /// \return true when the plug-in was loaded now or its name is the stored
  ///         one (also after a failed load of another class, when no
  ///         plug-in is held); false when the name is refused or the
  ///         plug-in cannot be loaded, which leaves no plug-in held.
  bool canProduce(const char* className);
  bool canProduce(std::string className);

 private:
  // Makes the plug-in of `className` the held one. False when the name is
  // refused or dlopen fails, which leaves no plug-in held but keeps the
  // stored name.
  bool load(const std::string& className);
  void* produce(const std::string& className, DATATYPE type,
                bool reportUnknownType);
  void* create(DATATYPE type);

  static CObjectFactory* pinstance;

  std::string libraryName;
  void* handle;
  // Serialises the public calls; guards libraryName and handle.
  std::mutex guard;
};

#endif
