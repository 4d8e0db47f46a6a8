// SPDX-License-Identifier: MIT
// Root of every numeric class: class name, element-type tag, verbosity and
// the two serialization hooks.
#ifndef VECML_CORE_COBJECT_H
#define VECML_CORE_COBJECT_H

#include <fstream>
#include <string>

#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/Types.h"
#include "vecml/core/detail/Instantiation.h"

/// Common base of all numeric objects, instantiated for int, float and double.
///
/// Derived classes keep this virtual-slot prefix and append their own slots.
/// A derived serialize()/serialize2() calls its base's version first and stops
/// when that returns false.
template <typename T>
class VECML_API CObject {
 public:
  CObject();
  virtual ~CObject();

  /// Reads (IO_READ) or writes (any other mode) the object as raw binary.
  /// The base writes and reads nothing.
  /// \return true.
  virtual bool serialize(std::fstream& stream, IO_MODE mode);

  /// Hands the object's fields to a client-implemented archive. The base
  /// touches nothing.
  /// \return true.
  virtual bool serialize2(CArchiv& archive);

  /// \return the class name without template arguments ("CObject" here).
  virtual std::string className() const;

  /// \return true exactly when \p name equals className(); a base class's
  ///         name does not match.
  virtual bool isA(const char* name) const;

  /// \return DT_INT, DT_FLOAT or DT_DOUBLE for int, float or double.
  DATATYPE dataType() const;

  void setVerbose(VERBOSE_LEVEL level);
  VERBOSE_LEVEL verbose() const;

 private:
  VERBOSE_LEVEL verboseLevel;
};

#define VECML_OBJECT_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CObject<T>;
VECML_FOR_ELEMENT_TYPES(VECML_OBJECT_INSTANTIATIONS, extern template)

#endif
