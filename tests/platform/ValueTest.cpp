#include "platform/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace platform {
namespace {

TEST(Value, ReadsAsAnyKind) {
  constexpr std::int32_t kIntMax = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kIntMin = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t kLongMax = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kLongMin = std::numeric_limits<std::int64_t>::min();
  const auto object = std::make_shared<Object>();
  const struct {
    Value value;
    std::int32_t asInt;
    std::int64_t asLong;
    double asDouble;
    const char* description;  // null: not looked at
  } cases[] = {
      {{}, 0, 0, 0.0, "(null)"},
      {true, 1, 1, 1.0, "1"},
      {-7, -7, -7, -7.0, "-7"},
      {kLongMax, kIntMax, kLongMax, 9223372036854775807.0, "9223372036854775807"},
      {2.9, 2, 2, 2.9, "2.9"},
      {-2.9, -2, -2, -2.9, "-2.9"},
      {0.1F, 0, 0, static_cast<double>(0.1F), "0.1"},
      {1e300, kIntMax, kLongMax, 1e300, nullptr},
      {-1e300, kIntMin, kLongMin, -1e300, nullptr},
      {"12.5 apples", 12, 12, 12.5, "12.5 apples"},
      {" +4e2", 400, 400, 400.0, nullptr},
      {"-.5", 0, 0, -0.5, nullptr},
      {"0x10", 0, 0, 0.0, nullptr},
      {"nan", 0, 0, 0.0, nullptr},
      {"-", 0, 0, 0.0, nullptr},
      {"", 0, 0, 0.0, ""},
      {"9007199254740993", kIntMax, 9007199254740993, 9007199254740992.0, nullptr},
      {"1e999", kIntMax, kLongMax, std::numeric_limits<double>::max(), nullptr},
      {"1e-999", 0, 0, 0.0, nullptr},
      {object, 0, 0, 0.0, nullptr},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.value.description());
    EXPECT_EQ(row.value.intValue(), row.asInt);
    EXPECT_EQ(row.value.longValue(), row.asLong);
    EXPECT_EQ(row.value.doubleValue(), row.asDouble);
    EXPECT_EQ(row.value.boolValue(), row.asDouble != 0.0);
    if (row.description) {
      EXPECT_EQ(row.value.description(), row.description);
    }
  }
  EXPECT_EQ(Value(std::nan("")).longValue(), 0);
  EXPECT_EQ(Value(1e300).floatValue(), std::numeric_limits<float>::max());
}

TEST(Value, ComparesKindAndContentAndObjectsByIdentity) {
  const auto object = std::make_shared<Object>();
  EXPECT_EQ(Value(0.1F), Value(0.1F));
  EXPECT_EQ(Value(object), Value(object));
  EXPECT_NE(Value(object), Value(std::make_shared<Object>()));
  EXPECT_NE(Value(1), Value(true));
  EXPECT_NE(Value(1), Value("1"));
  EXPECT_NE(Value(0), Value());
  EXPECT_EQ(Value(object).description().rfind("<platform::Object: 0x", 0), 0U);
}

TEST(Dictionary, AnswersNilForWhatItDoesNotHold) {
  Dictionary dictionary{{"b", 2}, {"a", "text"}};
  dictionary.set("b", 3.5);
  EXPECT_TRUE(dictionary.get("c").isNil());
  EXPECT_FALSE(dictionary.contains("c"));
  EXPECT_EQ(dictionary.description(), "{a = text; b = 3.5;}");
}

}  // namespace
}  // namespace platform
