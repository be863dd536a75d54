// The access tokens this user holds, one per TV ("host:port"), kept in a JSON file.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// A JSON object mapping "host:port" ("[v6-address]:port" for IPv6) to the token. The file is
// replaced atomically, readable by its owner only (0600), in a folder only the owner may enter
// (0700, created when missing). Thread-safe, so the commands run on several TVs at once share
// one store; one process writes the file at a time.
class TokenStore {
public:
    explicit TokenStore(std::string path);
    // Before it is shared between threads; the new store has a mutex of its own.
    TokenStore(TokenStore&& other) noexcept
        : m_path(std::move(other.m_path)),
          m_tokens(std::move(other.m_tokens)),
          m_deferred(other.m_deferred) {}

    // $XDG_CONFIG_HOME/ipcontrol/tokens.json when XDG_CONFIG_HOME is an absolute path, else
    // $HOME/.config/ipcontrol/tokens.json (the password database when HOME is unset).
    static std::string defaultPath();
    static std::string keyFor(const std::string& host, unsigned short port);

    const std::string& path() const { return m_path; }

    // Reads the file; a missing file is an empty store. False with a one-line error naming the
    // file when it cannot be read or is not a JSON object of strings.
    bool load(std::string& error);
    // The token for key, or "" when there is none.
    std::string find(const std::string& key) const;
    void put(const std::string& key, const std::string& token);
    // Drops the token of key; false when there was none.
    bool remove(const std::string& key);
    // The keys that have a token, sorted.
    std::vector<std::string> keys() const;
    // Writes every token; false with a one-line error naming the file on failure. While saves
    // are deferred it writes nothing and succeeds: a command on many TVs writes the file once.
    bool save(std::string& error) const;
    void deferSaves(bool deferred);

private:
    std::string m_path;
    mutable std::mutex m_mutex;  // protects m_tokens and m_deferred, and serialises the writes
    std::map<std::string, std::string> m_tokens;
    bool m_deferred = false;
};
