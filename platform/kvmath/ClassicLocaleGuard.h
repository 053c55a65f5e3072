#pragma once

#include <ios>
#include <locale>
#include <optional>

namespace Kavrel {

/// Gives a stream the classic locale for a scope, so that numbers read the same on every host.
class ClassicLocaleGuard
{
public:
  explicit ClassicLocaleGuard(std::basic_ios<char>& target) : stream(target)
  {
    if (stream.getloc() != std::locale::classic()) before = stream.imbue(std::locale::classic());
  }
  ~ClassicLocaleGuard()
  {
    if (before) stream.imbue(*before);
  }
  ClassicLocaleGuard(const ClassicLocaleGuard&) = delete;
  ClassicLocaleGuard& operator=(const ClassicLocaleGuard&) = delete;

private:
  std::basic_ios<char>& stream;
  std::optional<std::locale> before;
};

} // namespace Kavrel
