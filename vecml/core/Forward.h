// Forward declarations of the library's class templates.
//
// Every public header includes this first, so that each class is first
// declared here with its export attribute: compilers take a template's
// visibility from its first declaration.
#ifndef VECML_CORE_FORWARD_H
#define VECML_CORE_FORWARD_H

#include "vecml/core/Export.h"

class VECML_API CArchiv;

template <typename T>
class VECML_API CObject;
template <typename T>
class VECML_API CVector;
template <typename T>
class VECML_API CDenseVector;
template <typename T>
class VECML_API CSparseVector;
template <typename T>
class VECML_API CVectorOperations;
template <typename T>
class VECML_API CMatrix;

#endif
