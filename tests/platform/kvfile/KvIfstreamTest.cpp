#include "platform/kvfile/KvIfstream.h"
#include "support/CommaLocale.h"
#include "support/TextFile.h"

#include <gtest/gtest.h>

#include <tuple>

namespace Kavrel {
namespace {

TEST(KvIfstreamTest, ReadsNumbersTheSameOnEveryHost)
{
  const Testing::TextFile file("1234.5 -0.25 1e3 7");
  const Testing::CommaLocale host;
  KvIfstream direct(file.getName()), later;
  later.open(file.getName());
  for (KvIfstream* stream : {&direct, &later}) {
    double a = 0, b = 0, c = 0;
    int d = 0;
    *stream >> a >> b >> c >> d;
    EXPECT_EQ(std::tuple(a, b, c, d), std::tuple(1234.5, -0.25, 1000.0, 7));
  }
}

} // namespace
} // namespace Kavrel
