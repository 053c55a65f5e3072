#include "platform/kverror/KvException.h"
#include "platform/kvmath/MathException.h"

#include <gmock/gmock.h>

#include <stdexcept>
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
  try {
    raiseHere();
    FAIL();
  } catch (const std::exception& failure) {
    EXPECT_STREQ(failure.what(), "lost");
    const auto& full = dynamic_cast<const KvException&>(failure);
    const std::string place = "KvExceptionTest.cpp:" + std::to_string(lineOfRaise) + ":";
    EXPECT_THAT(full.log(),
                AllOf(StartsWith("lost"), HasSubstr(place), HasSubstr("void Kavrel::"), HasSubstr("raiseHere()")));
  }
}

template <class Cause>
std::string logOfNested(const Cause& cause)
{
  try {
    try {
      throw cause;
    } catch (...) {
      throw KvExceptionNested("outer", "Mapper", "map", "geometry/Mapper.cpp", 17);
    }
  } catch (const KvException& failure) {
    EXPECT_STREQ(failure.what(), "outer");
    return failure.log();
  }
}

TEST(KvExceptionTest, NestedFailureKeepsItsCause)
{
  struct Row
  {
    std::string log;
    const char* cause;
  };
  const Row rows[] = {{logOfNested(MathException("parallel lines")), "parallel lines"},
                      {logOfNested(std::length_error("vector too long")), "vector too long"},
                      {logOfNested(5), "unknown"}};
  for (const Row& row : rows) {
    EXPECT_THAT(row.log, AllOf(StartsWith("outer"), HasSubstr("geometry/Mapper.cpp:17"), HasSubstr("Mapper::map")));
    EXPECT_THAT(row.log, HasSubstr(std::string("\n") + row.cause));
  }
}

TEST(KvExceptionTest, NestedFailureBringsItsCauseBack)
{
  try {
    try {
      throw MathException("parallel lines");
    } catch (...) {
      throw KvExceptionNested("outer", "Mapper", "map", "geometry/Mapper.cpp", 17);
    }
  } catch (const KvExceptionNested& failure) {
    EXPECT_THROW(failure.rethrow_nested(), MathException);
  }
  const KvExceptionNested alone("outer", "Mapper", "map", "geometry/Mapper.cpp", 17);
  EXPECT_EQ(alone.log().find('\n'), std::string::npos);
}

} // namespace
} // namespace Kavrel
