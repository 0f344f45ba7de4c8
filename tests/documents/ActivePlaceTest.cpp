#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "documents/ActivePlace.h"

namespace sorn::documents {
namespace {

TEST(ActivePlace, StandsAsFiveIntegersLongitudeFirst) {
  const auto places = decodePlaces("[[7,11575000,48137000,150,3],[-1,-180000000,2.0,32767,-32768]]");
  ASSERT_TRUE(places);
  ASSERT_EQ(places->size(), 2u);
  EXPECT_EQ(places->front(),
            (ActivePlace{.placeID = 7, .lat = 48137000, .long_ = 11575000, .radius = 150, .direction = 3}));
  EXPECT_EQ(places->back(), (ActivePlace{-1, 2, -180000000, 32767, -32768}));
  EXPECT_EQ(decodePlaces("[]")->size(), 0u);
}

TEST(ActivePlace, AnythingElseFailsTheDocument) {
  const std::pair<const char*, const char*> cases[] = {
      {"[[1,2,3,4,1],[1,2,3,4]]", "[1]: expected a list of 5 values, found 4"},
      {"[[1,2,3,4,1,0]]", "[0]: expected a list of 5 values, found 6"},
      {"[[1,2,3,32768,1]]", "[0][3]: the number is out of range or not a short integer"},
      {"[[1,2,3,4,-32769]]", "[0][4]: the number is out of range or not a short integer"},
      {"[[1,2.5,3,4,1]]", "[0][1]: the number is out of range or not an integer"},
      {"[[1,2,null,4,1]]", "[0][2]: expected an integer, found null"},
      {"[[1,2,3,4,true]]", "[0][4]: expected a short integer, found a boolean"},
      {"[{\"placeID\":1}]", "[0]: expected a list, found an object"},
      {"{}", "$: expected a list, found an object"},
  };
  for (const auto& [text, expected] : cases) {
    const auto places = decodePlaces(text);
    ASSERT_FALSE(places) << text;
    EXPECT_EQ(places.error().description(), expected);
  }
}

}  // namespace
}  // namespace sorn::documents
