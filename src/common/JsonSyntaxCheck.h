// Strict check of JSON syntax before a text reaches json-glib.
#pragma once

#include <string_view>

namespace common::json {

// Strict JSON syntax (RFC 8259), nesting at most kMaxDepth deep. json-glib leaks memory on some
// of its error paths (a second value after the first, a broken \u escape ...), so a text is
// checked here and only well-formed text reaches it: a client cannot make the service lose
// memory, or run the parser's recursion deep, with malformed requests.
// One instance checks one text; any thread.
class JsonSyntaxCheck {
public:
    explicit JsonSyntaxCheck(std::string_view text) : m_text(text) {}

    bool wellFormed();

private:
    static constexpr int kMaxDepth = 512;

    bool _more() const { return m_at < m_text.size(); }
    char _peek() const { return _more() ? m_text[m_at] : '\0'; }
    void _blanks();
    bool _word(std::string_view word);
    bool _digits();
    bool _number();
    bool _hex4(unsigned& unit);
    bool _string();
    bool _container(int depth, char close);
    bool _value(int depth);

    const std::string_view m_text;
    size_t m_at = 0;
};

}  // namespace common::json
