// Tests of the UPnP value types: typed parsing, printing, list strings and escapers.
#include <gtest/gtest.h>

#include <sstream>

#include "UpnpTypes.h"
#include "support/PlatformFixture.h"

using namespace ip_control;

namespace {

template <typename T>
struct ParseRow {
    const char* text;
    bool ok;
    T value;
};

template <typename T>
void checkParse(const std::vector<ParseRow<T>>& rows) {
    for (const auto& row : rows) {
        upnp_value_type<T> v(T(42));
        EXPECT_EQ(upnp_value_type<T>::parse(row.text, v), row.ok) << "[" << row.text << "]";
        EXPECT_EQ(v.value, row.ok ? row.value : T(42)) << "[" << row.text << "]";
    }
}

template <typename T>
std::string printed(const T& v) {
    std::ostringstream out;
    out << v;
    return out.str();
}

}  // namespace

TEST(UpnpValueTypeTest, SignedIntegersTakeSignAndDigitsOnlyWithinRange) {
    checkParse<int>({{"+7", true, 7},
                     {"-7", true, -7},
                     {"2147483647", true, 2147483647},
                     {"", false, 0},
                     {"-", false, 0},
                     {"+", false, 0},
                     {" 5", false, 0},
                     {"5 ", false, 0},
                     {"0x10", false, 0},
                     {"1e3", false, 0},
                     {"2147483648", false, 0},
                     {"+-1", false, 0}});
    checkParse<short>({{"-32768", true, -32768}, {"32767", true, 32767}, {"32768", false, 0}});
    checkParse<char>({{"-128", true, -128}, {"65", true, 'A'}, {"128", false, 0}, {"A", false, 0}});
}

TEST(UpnpValueTypeTest, UnsignedIntegersRefuseMinusAndOverflow) {
    checkParse<unsigned int>({{"+4294967295", true, 4294967295u},
                              {"-1", false, 0},
                              {"4294967296", false, 0},
                              {"", false, 0}});
    checkParse<unsigned short>({{"65535", true, 65535}, {"65536", false, 0}});
    checkParse<unsigned char>({{"255", true, 255}, {"256", false, 0}});
}

TEST(UpnpValueTypeTest, BoolTakesExactlySixWords) {
    checkParse<bool>({{"1", true, true},
                      {"yes", true, true},
                      {"true", true, true},
                      {"0", true, false},
                      {"no", true, false},
                      {"false", true, false},
                      {"TRUE", false, false},
                      {"", false, false},
                      {"on", false, false}});
    bool b = true;
    EXPECT_TRUE(convertStringTo<bool>("no", b));
    EXPECT_FALSE(b);
    EXPECT_FALSE(convertStringTo<bool>("Yes", b));
    EXPECT_FALSE(convertStringTo<bool>("", b));
}

TEST(UpnpValueTypeTest, FloatingIgnoresTrailingTextAndFailuresAreLogged) {
    checkParse<double>(
        {{"1.5", true, 1.5}, {"2.5abc", true, 2.5}, {"", false, 0}, {"abc", false, 0}});
    checkParse<float>({{"-0.25", true, -0.25f}, {"x1", false, 0}});
    testsupport::LogCapture log;
    upnp_value_type<int> v;
    EXPECT_FALSE(upnp_value_type<int>::parse("1e3", v));
    EXPECT_TRUE(log.contains("IP_CONTROL_UPNP"));
    EXPECT_TRUE(log.contains("Failed to parse parameter [1e3]"));
}

TEST(UpnpValueTypeTest, CharTypesPrintOneRawCharacter) {
    EXPECT_EQ(printed(upnp_value_type<char>('A')), "A");
    EXPECT_EQ(printed(upnp_value_type<unsigned char>(66)), "B");
    EXPECT_EQ(printed(upnp_value_type<bool>(true)), "1");
    EXPECT_EQ(printed(upnp_value_type<double>(1.0 / 3)), "0.333333");
    upnp_char c;
    EXPECT_FALSE(upnp_char::parse("ab", c));
    EXPECT_FALSE(upnp_char::parse("", c));
    ASSERT_TRUE(upnp_char::parse("z", c));
    EXPECT_EQ(printed(c), "z");
    upnp_string s;
    ASSERT_TRUE(upnp_string::parse(" a<b ", s));
    EXPECT_EQ(printed(s), " a<b ");
}

TEST(UpnpListTest, SListDropsEmptyItems) {
    SList list(',');
    list.m_items = {"stale"};
    SList::parse(list, ",a,,b,");
    EXPECT_EQ(list.m_items, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(list.str(), "a,b");
    EXPECT_TRUE(list.isItem("a"));
    EXPECT_FALSE(list.isItem("A"));
    list.remove("a");
    EXPECT_EQ(list.str(), "b");
    SList::parse(list, ",,");
    EXPECT_EQ(list.str(), "");
}

TEST(UpnpListTest, CsvListKeepsEscapedCommasAndEmptyItems) {
    const std::string text = "a\\,b,c";
    CSV_List list(text);
    EXPECT_EQ(list.m_items, (std::vector<std::string>{"a,b", "c"}));
    EXPECT_EQ(list.str(), text);
    EXPECT_EQ(CSV_List("a,").m_items, (std::vector<std::string>{"a", ""}));
    EXPECT_TRUE(CSV_List("").m_items.empty());
    EXPECT_EQ(CSV_List("x\\\\,y").m_items, (std::vector<std::string>{"x\\", "y"}));
    list.remove("a,b");
    EXPECT_FALSE(list.isItem("a,b"));
    EXPECT_EQ(list.str(), "c");
}

TEST(UpnpListTest, CsvEscapingAndRescanningUnescaping) {
    EXPECT_EQ(CSV_List::escaping("a,b\\c"), "a\\,b\\\\c");
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"\\\\,", ","}, {"a\\,b", "a,b"}, {"a\\b", "a\\b"}, {"a\\", "a\\"}, {"\\\\", "\\"}};
    for (const auto& [in, out] : rows)
        EXPECT_EQ(CSV_List::unescaping(in), out) << in;
}

TEST(UpnpEscapeTest, XmlEscapingRoundTrips) {
    EXPECT_EQ(escapeXml("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c&apos;");
    EXPECT_EQ(unescapeXml("&lt;&amp;lt;&gt;&quot;&apos;&amp"), "<&lt;>\"'&amp");
    for (const std::string s : {"", "plain", "<x a=\"1\">&amp;</x>", "'&&'"}) {
        EXPECT_EQ(unescapeXml(escapeXml(s)), s);
    }
}

TEST(UpnpHelpersTest, UriNumbersAndNamedValues) {
    std::string out = "old";
    escapeURI("a b c", out);
    EXPECT_EQ(out, "a%20b%20c");
    unescapeURI("a%20b", out);
    EXPECT_EQ(out, "");
    EXPECT_EQ(convertToString(2.0), "2.0000");
    EXPECT_EQ(convertToString(-0.00004), "-0.0000");
    EXPECT_EQ(convertToString(1.23456), "1.2346");
    NamedValues values;
    values.set("k", "v1");
    values.set("k", "v2");
    EXPECT_EQ(values.get("k"), "v2");
    EXPECT_EQ(values.get("K"), "");
}
