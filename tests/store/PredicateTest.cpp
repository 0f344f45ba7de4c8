#include <random>

#include "store/StoreFixture.h"

namespace sorn::store {

namespace {

using Comparison = Predicate::Comparison;
using Random = std::mt19937;

int below(Random& random, int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random); }

// Values of the attribute's own type that collide often; a third of them absent.
Cell randomText(Random& random) {
  static const char* const texts[] = {"", "a", "A", "b", "ab", "\xC3\xA4", "1", "a\nb"};
  return below(random, 3) == 0 ? Cell() : Cell(std::string(texts[below(random, 8)]));
}
Cell randomInteger(Random& random) {
  static constexpr std::int64_t integers[] = {
      -1, 0, 1, 2, 9'007'199'254'740'993, std::numeric_limits<std::int64_t>::min()};
  return below(random, 3) == 0 ? Cell() : Cell(integers[below(random, 6)]);
}
Cell randomReal(Random& random) {
  static constexpr double reals[] = {-0.5, 0.0, 1.0, 1.5, 1e300};
  return below(random, 3) == 0 ? Cell() : Cell(reals[below(random, 5)]);
}

struct Attributes {
  std::size_t column;
  Cell (*random)(Random&);
};
constexpr Attributes attributes[] = {{SNEvent::category.column, randomText},
                                     {SNEvent::campaignID.column, randomText},
                                     {SNEvent::campaignType.column, randomInteger},
                                     {SNEvent::status.column, randomInteger},
                                     {SNEvent::duration.column, randomReal}};

Predicate randomPredicate(Random& random, int depth) {
  const int kind = depth == 0 ? 0 : below(random, 5);
  if (kind == 1) return randomPredicate(random, depth - 1) && randomPredicate(random, depth - 1);
  if (kind == 2) return randomPredicate(random, depth - 1) || randomPredicate(random, depth - 1);
  if (kind == 3) return !randomPredicate(random, depth - 1);
  if (kind == 4) return Predicate::isNotRow(1 + below(random, 40));
  const Attributes& attribute = attributes[below(random, 5)];
  return Predicate::compare(attribute.column, static_cast<Comparison>(below(random, 6)),
                            attribute.random(random));
}

}  // namespace

using PredicateTest = StoreFixture;

TEST_F(PredicateTest, SqlAndMemoryAgreeOnRandomRecordsAndConditions) {
  Random random(20231114);
  std::vector<Ref<SNEvent>> events;
  for (int index = 0; index < 40; ++index) {
    events.push_back(addEvent(std::string(1, static_cast<char>('0' + index))));
    run([&] {
      for (const Attributes& each : attributes) events.back()->setCell(each.column, each.random(random));
    });
  }
  std::vector<Predicate> predicates;
  predicates.reserve(500);
  for (int index = 0; index < 500; ++index) predicates.push_back(randomPredicate(random, 3));
  std::vector<std::string> inMemory;
  std::size_t hits = 0;
  for (const Predicate& predicate : predicates) {
    inMemory.push_back(fetched(predicate));
    EXPECT_EQ(counted(predicate), inMemory.back().size());
    hits += inMemory.back().size();
  }
  EXPECT_GT(hits, 4000u) << "the conditions are worth comparing";
  ASSERT_TRUE(save());
  for (std::size_t index = 0; index < predicates.size(); ++index) {
    std::vector<const Cell*> values;
    const std::string sql = predicates[index].sql(SNEvent::columns, values);
    ASSERT_EQ(fetched(predicates[index]), inMemory[index]) << sql;
    ASSERT_EQ(counted(predicates[index]), inMemory[index].size()) << sql;
  }
}

TEST_F(PredicateTest, AbsentValuesEqualOnlyAbsentOnesAndHaveNoOrder) {
  using enum Comparison;
  const auto category = [](Comparison comparison, Cell value) {
    return Predicate::compare(SNEvent::category.column, comparison, std::move(value));
  };
  // Of the events "n" without a category, "a" and "b" with that category.
  const std::pair<Predicate, const char*> cases[] = {
      {category(equal, Cell()), "n"},
      {category(notEqual, Cell()), "ab"},
      {category(notEqual, Cell("a")), "nb"},
      {category(less, Cell("b")), "a"},
      {category(lessOrEqual, Cell("b")), "ab"},
      {category(greater, Cell("a")), "b"},
      {category(greaterOrEqual, Cell("a")), "ab"},
      {category(less, Cell()), ""},
      {category(greaterOrEqual, Cell()), ""},
      // An empty condition is neutral in a conjunction and holds in a disjunction.
      {Predicate() && SNEvent::action == "a", "a"},
      {SNEvent::action == "a" || Predicate(), "nab"},
      {!Predicate(), ""},
  };
  addEvent("n");
  for (const char* name : {"a", "b"}) {
    const auto event = addEvent(name);
    run([&] { event->set(SNEvent::category, name); });
  }
  for (const auto& [predicate, expected] : cases) EXPECT_EQ(fetched(predicate), expected) << "unsaved";
  ASSERT_TRUE(save());
  for (const auto& [predicate, expected] : cases) EXPECT_EQ(fetched(predicate), expected) << "saved";
}

}  // namespace sorn::store
