#pragma once

#include "geometry/ConicData.h"

namespace Kavrel {

/// The data of a hyperbola, which can't be evaluated.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Hyperbola : public ConicData<HyperbolaType, T, dim>
{
public:
  /// Of type 5, with both parameters 0, at the identity placement.
  explicit Hyperbola(T chordTolerance = T(0.1));
  Hyperbola(HyperbolaType type, T firstParameter, T secondParameter, const CoordinateSystem<T, dim>& placement,
            T chordTolerance);
  /// Copies everything, the identifier included.
  Hyperbola(const Hyperbola&) = default;
  Hyperbola& operator=(const Hyperbola&) = default;
  /// The source is left with the default interval, tolerance 0 and the invalid identifier.
  Hyperbola(Hyperbola&&) noexcept = default;
  Hyperbola& operator=(Hyperbola&&) noexcept = default;
  ~Hyperbola() override;

  void copy(const Curve<T, dim>& other) override;
  /// Takes over everything but the identifier, which stays.
  void copyHyperbola(const Hyperbola& other);

  /// The types 5 to 7 as they are; any other number gives type 8.
  void setType(int type);

  /// An empty hyperbola with the tolerance of this one.
  std::shared_ptr<Curve<T, dim>> create() const override;

private:
  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class Hyperbola<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
