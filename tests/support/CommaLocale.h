#pragma once

#include <locale>
#include <string>

namespace Kavrel::Testing {

/// For a scope, the host's locale writes 1234.5 as 1.234,5, whatever locales the machine has.
class CommaLocale
{
public:
  CommaLocale() : before(std::locale::global({std::locale::classic(), new Punctuation})) {}
  ~CommaLocale() { std::locale::global(before); }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

private:
  struct Punctuation : std::numpunct<char>
  {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  std::locale before;
};

} // namespace Kavrel::Testing
