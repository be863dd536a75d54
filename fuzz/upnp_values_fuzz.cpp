// Fuzz target: the UPnP layer's value types, list strings and escapers.
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "UpnpTypes.h"

using namespace ip_control;

namespace {

template <typename T>
void parseAs(const std::string& text) {
    upnp_value_type<T> value;
    upnp_value_type<T>::parse(text, value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    parseAs<bool>(text);
    parseAs<float>(text);
    parseAs<double>(text);
    parseAs<int>(text);
    parseAs<short>(text);
    parseAs<char>(text);
    parseAs<unsigned int>(text);
    parseAs<unsigned short>(text);
    parseAs<unsigned char>(text);
    parseAs<std::string>(text);
    upnp_char oneChar;
    upnp_char::parse(text, oneChar);

    SList list(',');
    SList::parse(list, text);
    if (!list.m_items.empty()) {
        list.isItem(list.m_items.front());
        list.remove(list.m_items.front());
    }
    list.str();

    // A list written out reads back as the same items; one empty item is the exception, as it
    // is written as the empty text, which is the empty list.
    CSV_List csv(text);
    CSV_List again(csv.str());
    const bool oneEmptyItem = csv.m_items.size() == 1 && csv.m_items[0].empty();
    if (!oneEmptyItem && again.m_items != csv.m_items) {
        __builtin_trap();
    }
    CSV_List::unescaping(text);
    // The escapers work on C strings: the text up to its first NUL.
    const std::string cText = text.c_str();
    if (unescapeXml(escapeXml(cText)) != cText) {
        __builtin_trap();
    }
    std::string uri;
    escapeURI(text, uri);
    unescapeURI(text, uri);
    return 0;
}
