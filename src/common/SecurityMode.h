// The service's security mode, and how tokens are written into log lines in it.
#pragma once

#include <string>

// Default: tokens as TVs make and check them, written whole in the log. Hardened: random tokens,
// no match for an empty or malformed token, and no more than a token's first four characters in
// the log. Thread-safe: the mode is one flag, read when the access manager is created.
class SecurityMode {
public:
    // Takes the mode the host gave the platform.
    static void refresh();
    static bool hardened();

    // A text for a log line: the original one in the default mode (no copy), a copy with the
    // tokens cut short in the hardened mode.
    class LogText {
    public:
        const char* c_str() const {
            return m_original != nullptr ? m_original->c_str() : m_copy.c_str();
        }

    private:
        friend class SecurityMode;
        const std::string* m_original = nullptr;
        std::string m_copy;
    };
    // A token on its own.
    static LogText token(const std::string& token);
    // A JSON-RPC request or answer: every "AccessToken" string member is cut short.
    static LogText json(const std::string& text);

    // What the log shows of a token in the hardened mode: its first characters and an ellipsis.
    static std::string shortened(const std::string& token);
};
