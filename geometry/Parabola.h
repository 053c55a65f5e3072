#pragma once

#include "geometry/ConicData.h"

namespace Kavrel {

/// The data of a parabola, which can't be evaluated.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Parabola : public ConicData<ParabolaType, T, dim>
{
public:
  /// Of type 0, with both parameters 0, at the identity placement.
  explicit Parabola(T chordTolerance = T(0.1));
  Parabola(ParabolaType type, T firstParameter, T secondParameter, const CoordinateSystem<T, dim>& placement,
           T chordTolerance);
  /// Copies everything, the identifier included.
  Parabola(const Parabola&) = default;
  Parabola& operator=(const Parabola&) = default;
  /// The source is left with the default interval, tolerance 0 and the invalid identifier.
  Parabola(Parabola&&) noexcept = default;
  Parabola& operator=(Parabola&&) noexcept = default;
  ~Parabola() override;

  void copy(const Curve<T, dim>& other) override;
  /// Takes over everything but the identifier, which stays.
  void copyParabola(const Parabola& other);

  /// The types 0 to 2 as they are; any other number gives type 3.
  void setType(int type);

  /// An empty parabola with the default tolerance.
  std::shared_ptr<Curve<T, dim>> create() const override;

private:
  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class Parabola<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
