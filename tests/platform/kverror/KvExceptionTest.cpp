#include "platform/kverror/KvException.h"
#include "platform/kvmath/MathException.h"

#include <gmock/gmock.h>

#include <string>

namespace Kavrel {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr unsigned lineOfRaise = __LINE__ + 1;
void raiseHere() { throw KvException("lost"); }

TEST(KvExceptionTest, LogTellsWhereItWasRaised)
{
  const std::string place = "KvExceptionTest.cpp:" + std::to_string(lineOfRaise) + ":";
  EXPECT_THAT(raiseHere, testing::Throws<KvException>(testing::Property(
                             &KvException::log, AllOf(StartsWith("lost"), HasSubstr(place), HasSubstr("void Kavrel::"),
                                                      HasSubstr("raiseHere()")))));
}

/// What is raised while the cause is being handled.
template <class Cause>
KvExceptionNested nestedIn(const Cause& cause)
{
  try {
    throw cause;
  } catch (...) {
    return KvExceptionNested("outer", "Mapper", "map", "geometry/Mapper.cpp", 17);
  }
}

TEST(KvExceptionTest, NestedFailureKeepsItsCause)
{
  const std::pair<KvExceptionNested, const char*> rows[] = {
      {nestedIn(MathException("parallel lines")), "parallel lines"}, {nestedIn(5), "unknown"}};
  for (const auto& [failure, cause] : rows) {
    EXPECT_STREQ(failure.what(), "outer");
    EXPECT_THAT(failure.log(), AllOf(StartsWith("outer"), HasSubstr("geometry/Mapper.cpp:17"), HasSubstr("Mapper::map"),
                                     HasSubstr(std::string("\n") + cause)));
  }
  EXPECT_THROW(rows[0].first.rethrow_nested(), MathException);
  const KvExceptionNested alone("outer", "Mapper", "map", "geometry/Mapper.cpp", 17);
  EXPECT_EQ(alone.log().find('\n'), std::string::npos);
}

} // namespace
} // namespace Kavrel
