// The service's security mode, and how tokens are written into log lines in it.
#include "SecurityMode.h"

#include <atomic>
#include <cstring>

#include "app_common.h"

namespace {

constexpr size_t kShownTokenCharacters = 4;
constexpr char kEllipsis[] = "\u2026";
constexpr char kTokenMember[] = "\"AccessToken\"";

std::atomic<bool> g_hardened{false};

bool isJsonSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace

void SecurityMode::refresh() {
    g_hardened.store(app_get_security_mode() == APP_SECURITY_HARDENED, std::memory_order_relaxed);
}

bool SecurityMode::hardened() {
    return g_hardened.load(std::memory_order_relaxed);
}

std::string SecurityMode::shortened(const std::string& token) {
    if (token.size() <= kShownTokenCharacters) {
        return token;
    }
    return token.substr(0, kShownTokenCharacters) + kEllipsis;
}

SecurityMode::LogText SecurityMode::token(const std::string& token) {
    LogText text;
    if (hardened()) {
        text.m_copy = shortened(token);
    } else {
        text.m_original = &token;
    }
    return text;
}

SecurityMode::LogText SecurityMode::json(const std::string& original) {
    LogText text;
    if (!hardened()) {
        text.m_original = &original;
        return text;
    }
    // A scan rather than a parse: the text may be anything a client sent, and the log line must
    // not show a token even when the rest does not parse.
    std::string& out = text.m_copy;
    size_t from = 0;
    for (size_t at = original.find(kTokenMember); at != std::string::npos;
         at = original.find(kTokenMember, from)) {
        size_t pos = at + std::strlen(kTokenMember);
        while (pos < original.size() && isJsonSpace(original[pos])) {
            ++pos;
        }
        if (pos < original.size() && original[pos] == ':') {
            ++pos;
        }
        while (pos < original.size() && isJsonSpace(original[pos])) {
            ++pos;
        }
        if (pos >= original.size() || original[pos] != '"') {
            out.append(original, from, pos - from);
            from = pos;
            continue;
        }
        const size_t start = pos + 1;
        size_t end = start;
        while (end < original.size() && original[end] != '"') {
            end += original[end] == '\\' ? 2 : 1;
        }
        end = std::min(end, original.size());
        // Cut before an escape, so that the shortened value stays a whole string.
        size_t shown = std::min(end - start, kShownTokenCharacters);
        const size_t escape = original.find('\\', start);
        if (escape != std::string::npos && escape < start + shown) {
            shown = escape - start;
        }
        out.append(original, from, start + shown - from);
        if (start + shown < end) {
            out += kEllipsis;
        }
        from = end;
    }
    out.append(original, from, std::string::npos);
    return text;
}
