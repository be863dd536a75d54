// One-pass reader of the plain JSON texts that requests are made of.
#include "PlainJsonReader.h"

#include <json-glib/json-glib.h>

namespace common::json {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// json-glib's parser links every member and element to its container; adding one does not.
void adopt(JsonNode* container, JsonNode* child) {
    json_node_set_parent(child, container);
}

}  // namespace

JsonNode* PlainJsonReader::read(std::string_view text) {
    m_text.assign(text);
    m_at = 0;
    _blanks();
    JsonNode* root = nullptr;
    if (m_at < m_text.size() && m_text[m_at] == '{') {
        root = _container(0, '}');
    } else if (m_at < m_text.size() && m_text[m_at] == '[') {
        root = _container(0, ']');
    }
    if (root != nullptr) {
        _blanks();
        if (m_at != m_text.size()) {
            json_node_unref(root);
            root = nullptr;
        }
    }
    return root;
}

void PlainJsonReader::_blanks() {
    while (m_at < m_text.size() && isBlank(m_text[m_at])) {
        ++m_at;
    }
}

bool PlainJsonReader::_word(std::string_view word) {
    if (m_text.compare(m_at, word.size(), word) != 0) {
        return false;
    }
    m_at += word.size();
    return true;
}

JsonNode* PlainJsonReader::_value(int depth) {
    if (m_at >= m_text.size()) {
        return nullptr;
    }
    switch (m_text[m_at]) {
        case '{':
            return _container(depth + 1, '}');
        case '[':
            return _container(depth + 1, ']');
        case '"': {
            const char* value = _string();
            return value != nullptr ? json_node_init_string(json_node_alloc(), value) : nullptr;
        }
        case 't':
            return _word("true") ? json_node_init_boolean(json_node_alloc(), TRUE) : nullptr;
        case 'f':
            return _word("false") ? json_node_init_boolean(json_node_alloc(), FALSE) : nullptr;
        case 'n':
            return _word("null") ? json_node_init_null(json_node_alloc()) : nullptr;
        default:
            return _integer();
    }
}

JsonNode* PlainJsonReader::_container(int depth, char close) {
    if (depth >= kMaxDepth) {
        return nullptr;
    }
    ++m_at;  // the opening bracket
    JsonNode* node = nullptr;
    if (close == '}') {
        node = json_node_init(json_node_alloc(), JSON_NODE_OBJECT);
        json_node_take_object(node, json_object_new());
    } else {
        node = json_node_init(json_node_alloc(), JSON_NODE_ARRAY);
        json_node_take_array(node, json_array_new());
    }
    _blanks();
    if (m_at < m_text.size() && m_text[m_at] == close) {
        ++m_at;
        return node;
    }
    for (;;) {
        _blanks();
        if (!(close == '}' ? _member(node, depth) : _element(node, depth))) {
            break;
        }
        _blanks();
        if (m_at >= m_text.size()) {
            break;
        }
        const char next = m_text[m_at++];
        if (next == close) {
            return node;
        }
        if (next != ',') {
            break;
        }
    }
    json_node_unref(node);
    return nullptr;
}

bool PlainJsonReader::_member(JsonNode* object, int depth) {
    const char* name = m_at < m_text.size() && m_text[m_at] == '"' ? _string() : nullptr;
    if (name == nullptr) {
        return false;
    }
    _blanks();
    if (m_at >= m_text.size() || m_text[m_at] != ':') {
        return false;
    }
    ++m_at;
    _blanks();
    JsonNode* member = _value(depth);
    if (member == nullptr) {
        return false;
    }
    // A repeated name keeps its place and takes the new value, as in json-glib's parser.
    json_object_set_member(json_node_get_object(object), name, member);
    adopt(object, member);
    return true;
}

bool PlainJsonReader::_element(JsonNode* array, int depth) {
    JsonNode* element = _value(depth);
    if (element == nullptr) {
        return false;
    }
    json_array_add_element(json_node_get_array(array), element);
    adopt(array, element);
    return true;
}

// The string at the opening quote, NUL-terminated in place; nullptr on an escape, a control
// character, bytes that are not UTF-8 or a missing closing quote.
const char* PlainJsonReader::_string() {
    const size_t from = ++m_at;
    bool ascii = true;
    while (m_at < m_text.size()) {
        const unsigned char c = static_cast<unsigned char>(m_text[m_at]);
        if (c == '"') {
            const size_t length = m_at - from;
            if (!ascii &&
                !g_utf8_validate(m_text.data() + from, static_cast<gssize>(length), nullptr)) {
                return nullptr;
            }
            m_text[m_at++] = '\0';
            return m_text.data() + from;
        }
        if (c < 0x20 || c == '\\') {
            return nullptr;
        }
        ascii = ascii && c < 0x80;
        ++m_at;
    }
    return nullptr;
}

// An integer without fraction or exponent, of at most kMaxDigits digits, with JSON's rules:
// an optional minus, no leading zero, at least one digit.
JsonNode* PlainJsonReader::_integer() {
    const bool negative = m_text[m_at] == '-';
    if (negative) {
        ++m_at;
    }
    const size_t from = m_at;
    gint64 value = 0;
    while (m_at < m_text.size() && g_ascii_isdigit(m_text[m_at])) {
        if (m_at - from == kMaxDigits) {
            return nullptr;
        }
        value = value * 10 + (m_text[m_at] - '0');
        ++m_at;
    }
    const size_t digits = m_at - from;
    if (digits == 0 || (digits > 1 && m_text[from] == '0')) {
        return nullptr;
    }
    if (m_at < m_text.size() &&
        (m_text[m_at] == '.' || m_text[m_at] == 'e' || m_text[m_at] == 'E')) {
        return nullptr;
    }
    return json_node_init_int(json_node_alloc(), negative ? -value : value);
}

}  // namespace common::json
