// Kind tests and conversions of JsonValue: range edges and the exact failure texts.
#include <clocale>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "JsonExpect.h"
#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(JsonValueConversionTest, ValuesUpToTheEdgesOfEachRangeConvertAndAreOfTheirKind) {
    EXPECT_EQ(JsonValue(-2.9).asInt(), -2);
    EXPECT_EQ(JsonValue(2147483647.0).asInt(), INT_MAX);
    EXPECT_EQ(JsonValue(-2147483648.0).asInt(), INT_MIN);
    EXPECT_EQ(JsonValue(true).asInt(), 1);
    EXPECT_EQ(JsonValue().asInt(), 0);
    EXPECT_EQ(JsonValue(4294967295LL).asUInt(), UINT_MAX);
    EXPECT_EQ(JsonValue(4294967295.0).asUInt(), UINT_MAX);
    EXPECT_EQ(JsonValue(0.99).asUInt(), 0u);
    EXPECT_EQ(JsonValue(-9223372036854775808.0).asInt64(), LLONG_MIN);
    EXPECT_EQ(JsonValue(LLONG_MAX).asInt64(), LLONG_MAX);
    EXPECT_FALSE(JsonValue(kNaN).asBool());
    EXPECT_FALSE(JsonValue(-0.0).asBool());
    EXPECT_FALSE(JsonValue().asBool());
    EXPECT_TRUE(JsonValue(kInfinity).asBool());
    EXPECT_TRUE(JsonValue(0.001).asBool());
    EXPECT_EQ(JsonValue(2.5).asString(), "2.500000");
    EXPECT_EQ(JsonValue(LLONG_MIN).asString(), "-9223372036854775808");
    EXPECT_EQ(JsonValue(false).asString(), "false");
    EXPECT_EQ(JsonValue().asString(), "");
    EXPECT_EQ(JsonValue(1e300).asString().size(), 308u);  // no truncation of long numbers
    EXPECT_DOUBLE_EQ(JsonValue(true).asDouble(), 1.0);
    // isInt takes any double within the 64-bit range.
    EXPECT_TRUE(JsonValue(2.5).isInt());
    EXPECT_TRUE(JsonValue(9223372036854775808.0).isInt());
    EXPECT_TRUE(JsonValue(-9223372036854775808.0).isInt());
    EXPECT_FALSE(JsonValue(1e19).isInt());
    EXPECT_FALSE(JsonValue(kNaN).isInt());
    EXPECT_FALSE(JsonValue(true).isInt());
    EXPECT_TRUE(JsonValue(1).isDouble());
    EXPECT_FALSE(JsonValue("1").isDouble());
    // An unsigned long beyond the 64-bit signed range is kept as a double, still positive.
    EXPECT_EQ(JsonValue(42ul).type(), JsonType::intValue);
    EXPECT_GT(JsonValue(std::numeric_limits<unsigned long>::max()).asDouble(), 0.0);
}

TEST(JsonValueConversionTest, ValuesBeyondARangeOrOfAnotherKindThrowTheirText) {
    EXPECT_JSON_THROW(JsonValue(3000000000LL).asInt(), "int64_t value exceed int32_t range");
    EXPECT_JSON_THROW(JsonValue(2147483647.5).asInt(), "double value exceed int32_t range");
    EXPECT_JSON_THROW(JsonValue(kNaN).asInt(), "double value exceed int32_t range");
    EXPECT_JSON_THROW(JsonValue("1").asInt(), "cannot convert to int32_t type");
    EXPECT_JSON_THROW(JsonValue(4294967296LL).asUInt(), "int64_t value exceed uint32_t range");
    EXPECT_JSON_THROW(JsonValue(-1).asUInt(), "int64_t value exceed uint32_t range");
    EXPECT_JSON_THROW(JsonValue(-0.5).asUInt(), "int64_t value exceed uint32_t range");
    EXPECT_JSON_THROW(JsonValue(JsonType::arrayValue).asUInt(), "cannot convert to uint32_t type");
    EXPECT_JSON_THROW(JsonValue(9223372036854775808.0).asInt64(),
                      "double value exceed int64_t range");
    EXPECT_JSON_THROW(JsonValue(-kInfinity).asInt64(), "double value exceed int64_t range");
    EXPECT_JSON_THROW(JsonValue("9").asInt64(), "cannot convert to int64_t type");
    EXPECT_JSON_THROW(JsonValue("true").asBool(), "cannot convert to bool type");
    EXPECT_JSON_THROW(JsonValue(JsonType::objectValue).asString(), "cannot convert to string type");
    EXPECT_JSON_THROW(JsonValue("1.5").asDouble(), "cannot convert to double type");
}

TEST(JsonValueConversionTest, DoublesPrintWithAPointWhateverTheRegion) {
    const char* previous = setlocale(LC_NUMERIC, nullptr);
    std::string saved = previous != nullptr ? previous : "C";
    if (setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "the de_DE.UTF-8 locale is not installed";
    }
    EXPECT_EQ("2.500000", JsonValue(2.5).asString());
    setlocale(LC_NUMERIC, saved.c_str());
}

}  // namespace
