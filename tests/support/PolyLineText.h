#pragma once

#include "geometry/PolyLine.h"

#include <sstream>
#include <string>
#include <vector>

namespace Kavrel::Testing {

/// What polyLineFrom() reads, without normals.
template <class P>
std::string textOf(const PolyLine<P>& line)
{
  std::ostringstream text;
  text.precision(9);
  for (const P& point : line)
    for (unsigned i = 0; i < P::Dim; ++i)
      text << (i > 0 ? "," : text.tellp() > 0 ? " " : "") << static_cast<double>(point[i]) + 0.0;
  return text.str() + (line.isClosed() ? " closed" : "");
}

/// Of several lines or pointers to them.
template <class Lines>
std::vector<std::string> textsOf(const Lines& lines)
{
  std::vector<std::string> texts;
  for (const auto& line : lines)
    if constexpr (requires { *line; })
      texts.push_back(textOf(*line));
    else
      texts.push_back(textOf(line));
  return texts;
}

} // namespace Kavrel::Testing
