// The token file: where it lives, one token per host and port, owner-only modes, atomic
// replacement, and refusal of files it did not write.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include <glib.h>
#include <gtest/gtest.h>

#include "TokenStore.h"
#include "support/PlatformFixture.h"

using testsupport::readFile;
using testsupport::writeFile;

namespace {

mode_t permissionsOf(const std::string& path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

// Sets an environment variable for the scope of one test and restores it afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : m_name(name) {
        if (const char* old = std::getenv(name)) {
            m_old = old;
        }
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ScopedEnv() { m_old ? setenv(m_name, m_old->c_str(), 1) : unsetenv(m_name); }

private:
    const char* m_name;
    std::optional<std::string> m_old;
};

class TokenStoreTest : public ::testing::Test {
protected:
    std::string folder() const { return m_dir.path() + "/config/ipcontrol"; }
    std::string path() const { return folder() + "/tokens.json"; }

    // A fresh store on path(), loaded.
    TokenStore loaded() {
        TokenStore store(path());
        std::string error;
        EXPECT_TRUE(store.load(error)) << error;
        return store;
    }

    void save(const TokenStore& store) {
        std::string error;
        ASSERT_TRUE(store.save(error)) << error;
    }

    testsupport::TempDir m_dir;
};

TEST_F(TokenStoreTest, DefaultPathFollowsXdgConfigHomeElseHome) {
    ScopedEnv home("HOME", "/home/viewer");
    {
        ScopedEnv config("XDG_CONFIG_HOME", "/etc/xdg-viewer");
        EXPECT_EQ("/etc/xdg-viewer/ipcontrol/tokens.json", TokenStore::defaultPath());
    }
    {
        ScopedEnv relative("XDG_CONFIG_HOME", "relative/config");  // not absolute: ignored
        EXPECT_EQ("/home/viewer/.config/ipcontrol/tokens.json", TokenStore::defaultPath());
    }
    ScopedEnv unset("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ("/home/viewer/.config/ipcontrol/tokens.json", TokenStore::defaultPath());
}

TEST_F(TokenStoreTest, KeepsOneTokenPerHostAndPortAcrossLoads) {
    EXPECT_EQ("[fe80::1]:1516", TokenStore::keyFor("fe80::1", 1516));
    TokenStore store = loaded();  // no file yet
    EXPECT_EQ("", store.find("tv:1516"));
    store.put(TokenStore::keyFor("tv", 1516), "token-a");
    store.put(TokenStore::keyFor("tv", 1515), "token-b");
    save(store);

    TokenStore again = loaded();
    again.put("tv:1516", "token-c");  // pairing again replaces only that TV's token
    save(again);
    TokenStore third = loaded();
    EXPECT_EQ("token-c", third.find("tv:1516"));
    EXPECT_EQ("token-b", third.find("tv:1515"));
}

TEST_F(TokenStoreTest, FileIsOwnerOnlyInsideAnOwnerOnlyFolder) {
    mode_t previous = umask(0);  // the modes must not depend on the caller's umask
    TokenStore store = loaded();
    store.put("tv:1516", "secret");
    save(store);
    EXPECT_EQ(0700u, permissionsOf(folder()));
    EXPECT_EQ(0600u, permissionsOf(path()));

    ASSERT_EQ(0, chmod(path().c_str(), 0644));  // loosened by hand
    save(store);
    EXPECT_EQ(0600u, permissionsOf(path()));
    umask(previous);
}

TEST_F(TokenStoreTest, ReplacesTheFileInOneStep) {
    TokenStore store = loaded();
    store.put("tv:1516", "old-token");
    save(store);
    // A second name for the old file keeps the old contents: the new version was written
    // beside it and renamed over it, never rewritten in place where a reader could see half.
    const std::string oldName = m_dir.file("old.json");
    ASSERT_EQ(0, link(path().c_str(), oldName.c_str()));
    store.put("tv:1516", "new-token");
    save(store);
    EXPECT_NE(std::string::npos, readFile(oldName).find("old-token"));
    EXPECT_NE(std::string::npos, readFile(path()).find("new-token"));
    EXPECT_EQ(std::vector<std::string>{"tokens.json"}, entriesOf(folder()));
}

TEST_F(TokenStoreTest, RefusesFilesThatAreNotAnObjectOfTokens) {
    ASSERT_EQ(0, g_mkdir_with_parents(folder().c_str(), 0700));
    for (const char* contents : {"[\"token\"]", "{\"tv:1516\": ", "{\"tv:1516\": 5}", ""}) {
        writeFile(path(), contents);
        TokenStore store(path());
        std::string error;
        EXPECT_FALSE(store.load(error)) << contents;
        EXPECT_NE(std::string::npos, error.find(path())) << error;
        EXPECT_EQ("", store.find("tv:1516"));
    }
}

}  // namespace
