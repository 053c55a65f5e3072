#pragma once

namespace Kavrel {

// One numbering over the three kinds of conics, that of CAD records. The numbers are carried; nothing here reads them.

enum class ParabolaType : int
{
  Parabola0 = 0,
  Parabola1 = 1,
  Parabola2 = 2,
  Parabola3 = 3
};

enum class EllipseType : int
{
  Ellipse4 = 4
};

enum class HyperbolaType : int
{
  Hyperbola5 = 5,
  Hyperbola6 = 6,
  Hyperbola7 = 7,
  Hyperbola8 = 8
};

} // namespace Kavrel
