#include "platform/kvmath/Interval.h"

#include <gtest/gtest.h>

namespace Kavrel {
namespace {

TEST(IntervalTest, SortOrdersTheBoundsAndKeepsTheFlags)
{
  EXPECT_EQ(Interval(2.0, 1.0, true, false).sort(), Interval(1.0, 2.0, true, false));
  EXPECT_EQ(Interval(-1.0, 2.0, false, true).sort(), Interval(-1.0, 2.0, false, true));
  Interval interval(5.0, -5.0, false, false);
  EXPECT_EQ(&interval.sort(), &interval);
  EXPECT_EQ(Interval(), Interval(0.0, 1.0, false, false));
}

} // namespace
} // namespace Kavrel
