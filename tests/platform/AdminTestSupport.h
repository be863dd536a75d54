// Helpers of the admin API tests: the platform with its admin server on a free port, requests to
// it, and members of the JSON it answers.
#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "PlatformTestSupport.h"
#include "support/HttpClient.h"

namespace platform_test {

using testsupport::HttpClient;
using testsupport::HttpResponse;

inline constexpr char kSecret[] = "top secret";

inline ipc_platform::JsonNodePtr parse(const std::string& text) {
    std::string error;
    return ipc_platform::parseJsonText(text, error);
}

// The member's compact JSON text; "<missing>" when the text is not an object with it.
inline std::string member(const std::string& objectText, const char* name) {
    ipc_platform::JsonNodePtr node = parse(objectText);
    if (node == nullptr || !JSON_NODE_HOLDS_OBJECT(node.get()) ||
        !json_object_has_member(json_node_get_object(node.get()), name)) {
        return "<missing>";
    }
    return ipc_platform::jsonText(json_object_get_member(json_node_get_object(node.get()), name));
}

// A web folder with a page, a script and a link out of it to a secret beside it.
class AdminServerTest : public PlatformTest {
protected:
    void SetUp() override {
        std::filesystem::create_directories(m_resources.file("web"));
        writeFile(m_resources.file("web/index.html"), "<!doctype html><title>screen</title>");
        writeFile(m_resources.file("web/app.js"), "'use strict';");
        writeFile(m_resources.file("secret.txt"), kSecret);
        std::filesystem::create_symlink("../secret.txt", m_resources.file("web/link.txt"));
        m_options.dataDir = m_dataDir.path();
        m_options.resourceDir = m_resources.path();
        m_options.profile = std::string(IPC_TEST_PROFILES_DIR) + "/tv-2023.json";
        m_options.adminServer = true;
        m_options.adminPort = 0;
    }

    void startServer() {
        std::string error;
        ASSERT_TRUE(ipc_platform::initialize(m_options, error)) << error;
        m_port = ipc_platform::adminPort();
        ASSERT_NE(0, m_port);
    }

    std::string hostHeader() const { return "Host: 127.0.0.1:" + std::to_string(m_port) + "\r\n"; }

    // One request on a fresh connection; status 0 when no response came.
    HttpResponse request(const std::string& method, const std::string& path,
                         const std::string& body = "", const std::string& headers = "") {
        HttpClient client;
        if (!client.connect(m_port) ||
            !client.send(method + " " + path + " HTTP/1.1\r\n" + hostHeader() + headers +
                         "Content-Length: " + std::to_string(body.size()) +
                         "\r\nConnection: close\r\n\r\n" + body)) {
            return HttpResponse();
        }
        return client.read().value_or(HttpResponse());
    }

    // The same while this thread runs the main loop, as the daemon's main loop would.
    HttpResponse requestPumped(const std::string& method, const std::string& path) {
        HttpResponse response;
        std::atomic<bool> done{false};
        std::thread client([&] {
            response = request(method, path);
            done = true;
        });
        EXPECT_TRUE(pumpMainLoopUntil([&] { return done.load(); }));
        client.join();
        return response;
    }

    std::string state() { return request("GET", "/api/state").body; }
    std::string settingsFile() const { return readFile(m_dataDir.file("settings.ini")); }

    TempDir m_resources;
    unsigned short m_port = 0;
};

}  // namespace platform_test
