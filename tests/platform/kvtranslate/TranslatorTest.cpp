#include "platform/kvtranslate/Translator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Kavrel {
namespace {

std::string shown(const char* text) { return text != nullptr ? text : "(none)"; }

TEST(TranslatorTest, TextsStayWithoutACatalogue)
{
  EXPECT_EQ(Translator::translate("Parser", "Mesh too damaged"), "Mesh too damaged");
  EXPECT_EQ(Translator::translate(nullptr, nullptr), "");
}

TEST(TranslatorTest, CatalogueIsAskedWithTheWholeQuery)
{
  std::vector<std::string> queries;
  const auto before = Translator::setCatalogue([&](const Translator::Query& query) -> std::optional<std::string> {
    queries.push_back(shown(query.context) + "/" + shown(query.text) + "/" + shown(query.disambiguation) + "/" +
                      std::to_string(query.number));
    if (std::string(query.text) == "known") return "bekannt";
    return std::nullopt;
  });
  EXPECT_EQ(Translator::translate("Parser", "known"), "bekannt");
  EXPECT_EQ(Translator::translate("Parser", "unknown", "noun", 3), "unknown");
  EXPECT_EQ(queries, (std::vector<std::string>{"Parser/known/(none)/-1", "Parser/unknown/noun/3"}));

  Translator::setCatalogue(before);
  EXPECT_EQ(Translator::translate("Parser", "known"), "known");
  EXPECT_EQ(queries.size(), 2U);
}

} // namespace
} // namespace Kavrel
