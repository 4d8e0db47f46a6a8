// SPDX-License-Identifier: MIT
// Base of projections: dimension reductions that map input vectors onto a
// number of learned directions.
#ifndef VECML_LEARNING_CPROJECTION_H
#define VECML_LEARNING_CPROJECTION_H

#include <string>

#include "vecml/core/CObject.h"
#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"
#include "vecml/core/detail/Instantiation.h"
#include "vecml/dataset/CDataset.h"
#include "vecml/vector/CDenseVector.h"
#include "vecml/vector/CVector.h"

/// Abstract projection, instantiated for float and double.
///
/// A derived projection (principal components, for instance) learns its
/// directions from the input vectors of a dataset with train(), records how
/// many it found with setDirections(), and then maps input vectors to
/// coordinates along those directions (project()) and back (reconstruct()).
/// Both serialization forms and isA are those of CObject: a derived projection
/// stores its own directions itself.
///
/// \code
///   CPrincipalComponents<float> pca(2);  // a class derived from CProjection
///   if (pca.train(data)) coordinates = pca.project(*data[0].inputVector());
/// \endcode
template <typename T>
class VECML_API CProjection : public CObject<T> {
 public:
  /// No directions yet (directions() is 0).
  CProjection();
  ~CProjection() override;

  /// \return "CProjection".
  std::string className() const override;

  /// Learns the directions from the input vectors of \p samples.
  /// requires: all inputs have one dimension.
  /// \return false when the inputs cannot define the directions (too few,
  ///         for instance); the projection is then left as it was.
  virtual bool train(const CDataset<T>& samples) = 0;
  /// The coordinates of \p x along the directions.
  /// requires: a successful train(); \p x has the samples' dimension.
  /// \return a vector of directions() elements.
  virtual CDenseVector<T> project(const CVector<T>& x) const = 0;
  /// The point of the input space whose coordinates are \p coordinates;
  /// reconstruct(project(x)) is x's part within the learned directions.
  /// requires: a successful train(); \p coordinates has directions()
  ///           elements.
  /// \return a vector of the samples' dimension.
  virtual CDenseVector<T> reconstruct(const CVector<T>& coordinates) const = 0;

  /// \return the number of projection directions.
  int directions() const { return directionCount; }

 protected:
  /// For the derived projection, once it knows how many directions it has.
  void setDirections(int count) { directionCount = count; }

 private:
  int directionCount;
};

#define VECML_PROJECTION_INSTANTIATIONS(INSTANTIATE, T) \
  INSTANTIATE class CProjection<T>;
VECML_FOR_FLOATING_TYPES(VECML_PROJECTION_INSTANTIATIONS, extern template)

#endif
