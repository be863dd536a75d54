// Tests of the UPnP value types: typed parsing, printing, list strings and escapers.
#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <tuple>
#include <vector>

#include "UpnpTypes.h"
#include "support/PlatformFixture.h"

using namespace ip_control;

namespace {

template <typename V>
std::string printed(const V& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

template <typename T>
void seed(T& value) {
    value = T(42);
}
void seed(std::string& value) {
    value = "seed";
}

// The value as printed after parsing the text; nullopt when refused, which must leave the
// target as it was.
template <typename V>
std::optional<std::string> parsed(const std::string& text) {
    V value{};
    seed(value.value);
    const std::string before = printed(value);
    if (!V::parse(text, value)) {
        EXPECT_EQ(printed(value), before) << "[" << text << "] changed the target";
        return std::nullopt;
    }
    return printed(value);
}

TEST(UpnpValueTypeTest, EachTypeTakesItsOwnTextsAndPrintsItsValue) {
    using Parse = std::optional<std::string> (*)(const std::string&);
    using Texts = std::vector<std::string>;
    // Accepted texts alternate with what the parsed value prints.
    const std::tuple<const char*, Parse, Texts, Texts> rows[] = {
        // Integers: an optional sign, then digits only, within the type's range.
        {"int",
         parsed<upnp_value_type<int>>,
         {"+7", "7", "-7", "-7", "2147483647", "2147483647"},
         {"", "-", " 5", "5 ", "0x10", "1e3", "2147483648", "+-1"}},
        {"short", parsed<upnp_value_type<short>>, {"-32768", "-32768"}, {"32768"}},
        {"unsigned",
         parsed<upnp_value_type<unsigned>>,
         {"+4294967295", "4294967295"},
         {"-1", "4294967296"}},
        {"unsigned short", parsed<upnp_value_type<unsigned short>>, {"65535", "65535"}, {"65536"}},
        // The char types parse a number but print one raw character.
        {"char", parsed<upnp_value_type<char>>, {"65", "A", "-128", "\x80"}, {"128", "A"}},
        {"unsigned char", parsed<upnp_value_type<unsigned char>>, {"66", "B"}, {"256"}},
        // Exactly six words, case-sensitive.
        {"bool",
         parsed<upnp_value_type<bool>>,
         {"1", "1", "yes", "1", "true", "1", "0", "0", "no", "0", "false", "0"},
         {"TRUE", "Yes", "", "on"}},
        // Floating point ignores trailing text.
        {"double",
         parsed<upnp_value_type<double>>,
         {"2.5abc", "2.5", "0.3333333333", "0.333333"},
         {"", "abc"}},
        {"float", parsed<upnp_value_type<float>>, {"-0.25", "-0.25"}, {"x1"}},
        {"upnp_char", parsed<upnp_char>, {"z", "z"}, {"ab", ""}},
        {"upnp_string", parsed<upnp_string>, {" a<b ", " a<b "}, {}}};
    for (const auto& [type, parse, accepted, refused] : rows) {
        SCOPED_TRACE(type);
        for (size_t i = 0; i + 1 < accepted.size(); i += 2) {
            EXPECT_EQ(parse(accepted[i]), accepted[i + 1]) << "[" << accepted[i] << "]";
        }
        for (const std::string& text : refused) {
            EXPECT_EQ(parse(text), std::nullopt) << "[" << text << "]";
        }
    }

    testsupport::LogCapture log;
    upnp_value_type<int> v;
    EXPECT_FALSE(upnp_value_type<int>::parse("1e3", v));
    EXPECT_TRUE(log.contains("IP_CONTROL_UPNP"));
    EXPECT_TRUE(log.contains("Failed to parse parameter [1e3]"));
}

// "\" escapes "," and "\"; a list written out reads back the same (the fuzz target checks
// that for any text).
TEST(UpnpListTest, CsvListKeepsEscapedCommasAndEmptyItems) {
    EXPECT_EQ(CSV_List("a\\,b,c").m_items, (std::vector<std::string>{"a,b", "c"}));
    EXPECT_EQ(CSV_List("a,").m_items, (std::vector<std::string>{"a", ""}));
    EXPECT_TRUE(CSV_List("").m_items.empty());
    EXPECT_EQ(CSV_List("x\\\\,y").m_items, (std::vector<std::string>{"x\\", "y"}));
    EXPECT_EQ(CSV_List::escaping("a,b\\c"), "a\\,b\\\\c");
    const std::pair<const char*, const char*> unescaped[] = {
        {"\\\\,", ","}, {"a\\,b", "a,b"}, {"a\\b", "a\\b"}, {"a\\", "a\\"}, {"\\\\", "\\"}};
    for (const auto& [in, out] : unescaped) {
        EXPECT_EQ(CSV_List::unescaping(in), out) << in;
    }
}

}  // namespace
