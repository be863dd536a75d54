// Value types of the UPnP layer: typed argument parsing, list strings, name/value map, escapers.
#include "UpnpTypes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <sstream>

#include <glib.h>

#include "Log.h"
#include "ucf_xml.h"

namespace ip_control {

namespace {

bool fail(const std::string& text) {
    LOGE("Failed to parse parameter [%s]", text.c_str());
    return false;
}

bool isDigits(const std::string& text, size_t from) {
    if (from >= text.size())
        return false;
    return text.find_first_not_of("0123456789", from) == std::string::npos;
}

// Optional sign, then digits only; read whole by a stream.
bool parseSigned(const std::string& text, int& value) {
    size_t from = (!text.empty() && (text[0] == '+' || text[0] == '-')) ? 1 : 0;
    if (!isDigits(text, from))
        return false;
    std::istringstream in(text);
    int v = 0;
    in >> v;
    if (in.fail())
        return false;
    value = v;
    return true;
}

// Optional "+", then digits only; read whole by a stream.
bool parseUnsigned(const std::string& text, unsigned int& value) {
    size_t from = (!text.empty() && text[0] == '+') ? 1 : 0;
    if (!isDigits(text, from))
        return false;
    std::istringstream in(text);
    unsigned int v = 0;
    in >> v;
    if (in.fail())
        return false;
    value = v;
    return true;
}

template <typename T>
bool parseSignedIn(const std::string& text, T& value) {
    int v = 0;
    if (!parseSigned(text, v) || v < std::numeric_limits<T>::min() ||
        v > std::numeric_limits<T>::max()) {
        return false;
    }
    value = static_cast<T>(v);
    return true;
}

template <typename T>
bool parseUnsignedIn(const std::string& text, T& value) {
    unsigned int v = 0;
    if (!parseUnsigned(text, v) || v > std::numeric_limits<T>::max())
        return false;
    value = static_cast<T>(v);
    return true;
}

template <typename T>
bool parseFloating(const std::string& text, T& value) {
    if (text.empty())
        return false;
    std::istringstream in(text);
    T v{};
    in >> v;
    if (in.fail() || in.bad())
        return false;
    value = v;
    return true;
}

bool parseText(const std::string& text, bool& value) {
    return convertStringTo<bool>(text, value);
}
bool parseText(const std::string& text, int& value) {
    return parseSigned(text, value);
}
bool parseText(const std::string& text, short& value) {
    return parseSignedIn(text, value);
}
bool parseText(const std::string& text, char& value) {
    signed char v = 0;
    if (!parseSignedIn(text, v))
        return false;
    value = static_cast<char>(v);
    return true;
}
bool parseText(const std::string& text, unsigned int& value) {
    return parseUnsigned(text, value);
}
bool parseText(const std::string& text, unsigned short& value) {
    return parseUnsignedIn(text, value);
}
bool parseText(const std::string& text, unsigned char& value) {
    return parseUnsignedIn(text, value);
}
bool parseText(const std::string& text, float& value) {
    return parseFloating(text, value);
}
bool parseText(const std::string& text, double& value) {
    return parseFloating(text, value);
}
bool parseText(const std::string& text, std::string& value) {
    value = text;
    return true;
}

std::string fromCString(char* allocated) {
    if (allocated == nullptr)
        return "";
    std::string result(allocated);
    free(allocated);
    return result;
}

}  // namespace

template <typename T>
bool upnp_value_type<T>::parse(const std::string& text, upnp_value_type<T>& out) {
    T v{};
    if (!parseText(text, v))
        return fail(text);
    out.value = v;
    return true;
}

template struct upnp_value_type<bool>;
template struct upnp_value_type<float>;
template struct upnp_value_type<double>;
template struct upnp_value_type<int>;
template struct upnp_value_type<short>;
template struct upnp_value_type<char>;
template struct upnp_value_type<unsigned int>;
template struct upnp_value_type<unsigned short>;
template struct upnp_value_type<unsigned char>;
template struct upnp_value_type<std::string>;

bool upnp_char::parse(const std::string& text, upnp_char& out) {
    if (text.size() != 1)
        return fail(text);
    out.value = text[0];
    return true;
}

std::ostream& operator<<(std::ostream& os, const upnp_char& v) {
    return os << v.value;
}

bool upnp_string::parse(const std::string& text, upnp_string& out) {
    out.value = text;
    return true;
}

std::ostream& operator<<(std::ostream& os, const upnp_string& v) {
    return os << v.value;
}

void SList::parse(SList& list, const std::string& text) {
    list.m_items.clear();
    std::string item;
    for (char c : text) {
        if (c != list.m_separator) {
            item += c;
        } else if (!item.empty()) {
            list.m_items.push_back(item);
            item.clear();
        }
    }
    if (!item.empty())
        list.m_items.push_back(item);
}

std::string SList::str() const {
    std::string out;
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (i > 0)
            out += m_separator;
        out += m_items[i];
    }
    return out;
}

bool SList::isItem(const std::string& item) const {
    return std::find(m_items.begin(), m_items.end(), item) != m_items.end();
}

void SList::remove(const std::string& item) {
    m_items.erase(std::remove(m_items.begin(), m_items.end(), item), m_items.end());
}

CSV_List::CSV_List(const std::string& text) {
    if (text.empty())
        return;
    std::string item;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            item += text[++i];
        } else if (text[i] == '\\') {
            // A trailing backslash escapes nothing and is dropped.
        } else if (text[i] == ',') {
            m_items.push_back(item);
            item.clear();
        } else {
            item += text[i];
        }
    }
    m_items.push_back(item);
}

std::string CSV_List::str() const {
    std::string out;
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (i > 0)
            out += ',';
        out += escaping(m_items[i]);
    }
    return out;
}

bool CSV_List::isItem(const std::string& item) const {
    return std::find(m_items.begin(), m_items.end(), item) != m_items.end();
}

void CSV_List::remove(const std::string& item) {
    m_items.erase(std::remove(m_items.begin(), m_items.end(), item), m_items.end());
}

std::string CSV_List::escaping(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == ',' || c == '\\')
            out += '\\';
        out += c;
    }
    return out;
}

std::string CSV_List::unescaping(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        bool escape =
            text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '\\' || text[i + 1] == ',');
        if (!escape)
            out += text[i];
    }
    return out;
}

std::string NamedValues::get(const std::string& name) const {
    auto it = m_values.find(name);
    return it == m_values.end() ? std::string() : it->second;
}

void NamedValues::set(const std::string& name, const std::string& value) {
    m_values[name] = value;
}

std::string xmlCarriableText(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    const char* p = text.data();
    const char* end = p + text.size();
    while (p < end) {
        if (*p == '\0') {
            ++p;
            continue;
        }
        const gunichar c = g_utf8_get_char_validated(p, end - p);
        if (c == static_cast<gunichar>(-1) || c == static_cast<gunichar>(-2)) {
            out += "\xEF\xBF\xBD";  // U+FFFD
            ++p;
            continue;
        }
        const char* next = g_utf8_next_char(p);
        const bool allowed = c == 0x9 || c == 0xA || c == 0xD ||
                             (c >= 0x20 && c != 0x7F && c != 0xFFFE && c != 0xFFFF);
        if (allowed) {
            out.append(p, next);
        }
        p = next;
    }
    return out;
}

std::string escapeXml(const std::string& text) {
    return fromCString(ucf_xml_escape_value(text.c_str()));
}

std::string unescapeXml(const std::string& text) {
    return fromCString(ucf_xml_unescape_value(text.c_str()));
}

void escapeURI(const std::string& in, std::string& out) {
    out.clear();
    for (char c : in) {
        if (c == ' ') {
            out += "%20";
        } else {
            out += c;
        }
    }
}

void unescapeURI(const std::string& /*in*/, std::string& out) {
    out.clear();
}

std::string convertToString(double value) {
    char buffer[64];
    snprintf(buffer, sizeof(buffer), "%.4f", value);
    return buffer;
}

template <>
bool convertStringTo<bool>(const std::string& text, bool& value) {
    if (text == "1" || text == "yes" || text == "true") {
        value = true;
        return true;
    }
    if (text == "0" || text == "no" || text == "false") {
        value = false;
        return true;
    }
    return false;
}

}  // namespace ip_control
