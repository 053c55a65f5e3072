#include "platform/kvtranslate/Translator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Kavrel {
namespace {

TEST(TranslatorTest, CatalogueIsAskedWithTheWholeQuery)
{
  std::vector<std::string> queries;
  const auto before = Translator::setCatalogue([&](const Translator::Query& query) -> std::optional<std::string> {
    queries.push_back(std::string(query.context) + "/" + query.text + "/" + std::to_string(query.number));
    if (std::string(query.text) == "known") return "bekannt";
    return std::nullopt;
  });
  EXPECT_EQ(Translator::translate("Parser", "known"), "bekannt");
  EXPECT_EQ(Translator::translate("Parser", "unknown", "noun", 3), "unknown");
  EXPECT_EQ(queries, (std::vector<std::string>{"Parser/known/-1", "Parser/unknown/3"}));

  Translator::setCatalogue(before);
  EXPECT_EQ(Translator::translate(nullptr, nullptr), "");
  EXPECT_EQ(Translator::translate("Parser", "known"), "known");
}

} // namespace
} // namespace Kavrel
