// Strict check of JSON syntax before a text reaches json-glib.
#include "JsonSyntaxCheck.h"

#include <glib.h>

namespace common::json {

bool JsonSyntaxCheck::wellFormed() {
    _blanks();
    if (!_value(0)) {
        return false;
    }
    _blanks();
    return m_at == m_text.size();
}

void JsonSyntaxCheck::_blanks() {
    while (_more() && (m_text[m_at] == ' ' || m_text[m_at] == '\t' || m_text[m_at] == '\n' ||
                       m_text[m_at] == '\r')) {
        ++m_at;
    }
}

bool JsonSyntaxCheck::_word(std::string_view word) {
    if (m_text.substr(m_at, word.size()) != word) {
        return false;
    }
    m_at += word.size();
    return true;
}

bool JsonSyntaxCheck::_digits() {
    const size_t from = m_at;
    while (_more() && g_ascii_isdigit(m_text[m_at])) {
        ++m_at;
    }
    return m_at > from;
}

bool JsonSyntaxCheck::_number() {
    if (_peek() == '-') {
        ++m_at;
    }
    if (_peek() == '0') {
        ++m_at;
    } else if (!_digits()) {
        return false;
    }
    if (_peek() == '.') {
        ++m_at;
        if (!_digits()) {
            return false;
        }
    }
    if (_peek() == 'e' || _peek() == 'E') {
        ++m_at;
        if (_peek() == '+' || _peek() == '-') {
            ++m_at;
        }
        return _digits();
    }
    return true;
}

bool JsonSyntaxCheck::_hex4(unsigned& unit) {
    for (int i = 0; i < 4; ++i, ++m_at) {
        const int digit = g_ascii_xdigit_value(_peek());
        if (digit < 0) {
            return false;
        }
        unit = unit * 16 + static_cast<unsigned>(digit);
    }
    return true;
}

bool JsonSyntaxCheck::_string() {
    ++m_at;  // the opening quote
    while (_more()) {
        const unsigned char c = static_cast<unsigned char>(m_text[m_at++]);
        if (c == '"') {
            return true;
        }
        if (c < 0x20) {
            return false;
        }
        if (c != '\\') {
            continue;
        }
        const char escaped = _peek();
        ++m_at;
        if (escaped == 'u') {
            // A surrogate escape must come as a pair (json-glib leaks on a broken one).
            unsigned unit = 0;
            if (!_hex4(unit) || (unit >= 0xDC00 && unit <= 0xDFFF)) {
                return false;
            }
            if (unit >= 0xD800 && unit <= 0xDBFF) {
                unsigned low = 0;
                if (!_word("\\u") || !_hex4(low) || low < 0xDC00 || low > 0xDFFF) {
                    return false;
                }
            }
        } else if (std::string_view("\"\\/bfnrt").find(escaped) == std::string_view::npos ||
                   escaped == '\0') {
            return false;
        }
    }
    return false;
}

bool JsonSyntaxCheck::_container(int depth, char close) {
    ++m_at;  // the opening bracket
    _blanks();
    if (_peek() == close) {
        ++m_at;
        return true;
    }
    for (;;) {
        _blanks();
        if (close == '}') {
            if (_peek() != '"' || !_string()) {
                return false;
            }
            _blanks();
            if (_peek() != ':') {
                return false;
            }
            ++m_at;
            _blanks();
        }
        if (!_value(depth + 1)) {
            return false;
        }
        _blanks();
        if (_peek() == close) {
            ++m_at;
            return true;
        }
        if (_peek() != ',') {
            return false;
        }
        ++m_at;
    }
}

bool JsonSyntaxCheck::_value(int depth) {
    switch (_peek()) {
        case '{':
            return depth < kMaxDepth && _container(depth, '}');
        case '[':
            return depth < kMaxDepth && _container(depth, ']');
        case '"':
            return _string();
        case 't':
            return _word("true");
        case 'f':
            return _word("false");
        case 'n':
            return _word("null");
        default:
            return _number();
    }
}

}  // namespace common::json
