#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "documents/CampaignTexts.h"
#include "documents/JsonSchema.h"
#include "documents/SchemaChecker.h"
#include "documents/SornInAppCampaignDescription.h"
#include "support/json/Json.h"
#include "support/json/JsonWriter.h"

namespace sorn::documents {
namespace {

Value exampleOfEveryKey() {
  std::ifstream file(SORN_EXAMPLE_CAMPAIGNS "/every-key.json");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  return support::Document::parse(text)->root().toValue();
}

// Calls with each value of the document, which the visitor may change for the time of the call.
void eachValue(Value& value, const std::function<void(Value&)>& visit) {
  visit(value);
  if (auto* list = value.as<List>()) {
    for (Value& element : *list) eachValue(element, visit);
  }
  if (auto* dictionary = value.as<Dictionary>()) {
    for (auto& [key, member] : *dictionary) eachValue(member, visit);
  }
}

std::vector<Value> substitutes() {
  std::vector<Value> values{nullptr, true,  0,      -1,       1.5,    0x1p63, -0x1p64, 1e300,
                            "",      "all", "text", "dialog", "once", "=",    List{},  Dictionary{}};
  values.insert(values.end(),
                {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min(),
                 Decimal{"123456789012345678901234567890"}, List{nullptr}, List{1, 2.5}, List{"underline"},
                 List{Dictionary{}}, Dictionary{{"a", "b"}}, Dictionary{{"a", 1}},
                 Dictionary{{"type", "once"}}, Dictionary{{"url", "u"}, {"unknown", 1}}});
  return values;
}

class SchemaTest : public testing::Test {
 protected:
  SchemaTest()
      : text_(SchemaWriter::schemaText<Campaigns>("Campaigns")), schema_(*support::Document::parse(text_)) {}

  void expectAgreement(const Value& document, const Value& change = nullptr) {
    std::string text;
    ASSERT_TRUE(support::appendValue(text, document));
    const auto parsed = support::Document::parse(text, support::Fragments::yes);
    ASSERT_TRUE(parsed) << text;
    const auto campaigns = decodeCampaigns(text);
    const bool isDecoded = static_cast<bool>(campaigns);
    EXPECT_EQ(SchemaChecker(schema_.root()).accepts(parsed->root()), isDecoded)
        << (isDecoded ? "decoded" : campaigns.error().description()) << " with "
        << support::compactText(List{change}).value();
    ++(isDecoded ? decoded_ : refused_);
  }

  std::string text_;
  support::Document schema_;
  int decoded_ = 0;
  int refused_ = 0;
};

TEST_F(SchemaTest, AgreesWithTheDecoderAboutEveryValueReplaced) {
  Value document = exampleOfEveryKey();
  expectAgreement(document);
  ASSERT_EQ(decoded_, 1);
  eachValue(document, [&](Value& value) {
    Value kept = std::move(value);
    for (const Value& substitute : substitutes()) {
      value = substitute;
      expectAgreement(document, substitute);
    }
    value = std::move(kept);
  });
  // The example has 109 values, about half of them optional.
  EXPECT_GT(decoded_, 300);
  EXPECT_GT(refused_, 1500);
}

TEST_F(SchemaTest, AgreesWithTheDecoderAboutEveryKeyLeftOut) {
  Value document = exampleOfEveryKey();
  eachValue(document, [&](Value& value) {
    auto* dictionary = value.as<Dictionary>();
    if (!dictionary) return;
    const Dictionary kept = *dictionary;
    for (const auto& [key, member] : kept) {
      dictionary->erase(key);
      expectAgreement(document, key);
      *dictionary = kept;
    }
  });
  EXPECT_GT(decoded_, 40);
  EXPECT_GT(refused_, 20);
}

TEST_F(SchemaTest, NamesEveryRecordOnce) {
  std::multiset<std::string> names;
  for (const auto& [name, definition] : schema_.root().find("$defs")->members()) names.emplace(name);
  EXPECT_EQ(names.size(), 16u);
  EXPECT_EQ(std::set(names.begin(), names.end()).size(), 16u);
  EXPECT_EQ(schema_.root().find("$schema")->text(), "https://json-schema.org/draft/2020-12/schema");
}

}  // namespace
}  // namespace sorn::documents
