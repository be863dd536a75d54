// Value types of the UPnP layer: typed argument parsing, list strings, name/value map, escapers.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace ip_control {

// One typed SOAP argument value. Thread-safe: no state.
// parse() returns false and leaves the target untouched on failure. Instantiated for bool,
// float, double, int, short, char, unsigned int, unsigned short, unsigned char and std::string;
// char and unsigned char parse a number but print one raw character.
template <typename T>
struct upnp_value_type {
    T value{};

    upnp_value_type() = default;
    explicit upnp_value_type(const T& v) : value(v) {}

    static bool parse(const std::string& text, upnp_value_type<T>& out);
};

template <typename T>
std::ostream& operator<<(std::ostream& os, const upnp_value_type<T>& v) {
    return os << v.value;
}

// Exactly one character. Thread-safe: no state.
struct upnp_char {
    char value = '\0';
    static bool parse(const std::string& text, upnp_char& out);
};
std::ostream& operator<<(std::ostream& os, const upnp_char& v);

// Any text, as it is. Thread-safe: no state.
struct upnp_string {
    std::string value;
    static bool parse(const std::string& text, upnp_string& out);
};
std::ostream& operator<<(std::ostream& os, const upnp_string& v);

// Items joined by one separator character; empty items are dropped, no escaping.
// Thread-safe: no state.
class SList {
public:
    explicit SList(char separator) : m_separator(separator) {}

    static void parse(SList& list, const std::string& text);
    std::string str() const;
    bool isItem(const std::string& item) const;
    void remove(const std::string& item);

    std::vector<std::string> m_items;

private:
    char m_separator;
};

// Items joined by "," with "\" escaping "," and "\"; empty items are kept.
// Thread-safe: no state.
class CSV_List {
public:
    CSV_List() = default;
    explicit CSV_List(const std::string& text);

    std::string str() const;
    bool isItem(const std::string& item) const;
    void remove(const std::string& item);

    static std::string escaping(const std::string& text);
    // Drops a "\" before "\" or "," and examines that next character again.
    static std::string unescaping(const std::string& text);

    std::vector<std::string> m_items;
};

// Ordered name -> value map; an absent name reads as "". Thread-safe: no state.
class NamedValues {
public:
    std::string get(const std::string& name) const;
    void set(const std::string& name, const std::string& value);
    void clear() { m_values.clear(); }

private:
    std::map<std::string, std::string> m_values;
};

// The five XML special characters to entity references and back.
std::string escapeXml(const std::string& text);
std::string unescapeXml(const std::string& text);
// The text with what an XML 1.0 document cannot hold taken out, so that a name typed anywhere
// keeps the description well-formed: U+0000-U+001F other than tab, line feed and carriage
// return, U+007F, U+FFFE and U+FFFF are dropped; bytes that are not UTF-8 become U+FFFD.
std::string xmlCarriableText(const std::string& text);
// Blanks become "%20"; nothing else changes.
void escapeURI(const std::string& in, std::string& out);
// Always yields "" (the output is only cleared).
void unescapeURI(const std::string& in, std::string& out);
// "%.4f": four decimals always.
std::string convertToString(double value);

template <typename T>
bool convertStringTo(const std::string& text, T& value);
// The six words "1", "yes", "true", "0", "no", "false", case-sensitive.
template <>
bool convertStringTo<bool>(const std::string& text, bool& value);

}  // namespace ip_control
