#pragma once

#include "geometry/PolyLine.h"

#include <charconv>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Kavrel::Testing {

/// One point from "x,y" or "x,y,z", with an optional normal behind a slash: "0,0,0/0,0,1".
template <class PointType>
PointType pointFrom(std::string_view text)
{
  using T = typename PointType::Scalar;
  const auto vectorFrom = [&text](std::string_view part) {
    Vector<T, PointType::Dim> v;
    const char* at = part.data();
    const char* const last = at + part.size();
    bool isPoint = true;
    for (unsigned i = 0; i < PointType::Dim && isPoint; ++i) {
      if (i > 0) isPoint = at != last && *at++ == ',';
      const auto [next, error] = std::from_chars(at, last, v[i]);
      isPoint = isPoint && error == std::errc();
      at = next;
    }
    if (!isPoint || at != last) throw std::invalid_argument("not a point: " + std::string(text));
    return v;
  };
  const std::size_t slash = text.find('/');
  PointType point{Point<T, PointType::Dim>(vectorFrom(text.substr(0, slash)))};
  if (slash != std::string_view::npos) {
    if constexpr (PointType::TypeHasNormal)
      point.setNormal(vectorFrom(text.substr(slash + 1)));
    else
      throw std::invalid_argument("no normals here: " + std::string(text));
  }
  return point;
}

/// A polyline from points separated by blanks; the word "closed" behind them closes it: "0,0 1,0 1,1 closed".
template <class PointType>
PolyLine<PointType> polyLineFrom(std::string_view text)
{
  PolyLine<PointType> polyline;
  std::size_t at = 0;
  while ((at = text.find_first_not_of(' ', at)) != std::string_view::npos) {
    const std::size_t stop = std::min(text.find(' ', at), text.size());
    const std::string_view word = text.substr(at, stop - at);
    if (word == "closed")
      polyline.setClosed(true);
    else
      polyline.addPoint(pointFrom<PointType>(word));
    at = stop;
  }
  return polyline;
}

} // namespace Kavrel::Testing
