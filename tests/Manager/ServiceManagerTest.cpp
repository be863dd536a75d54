// The request pipeline with recording hooks: refusals, the approval answer, commands and answers.
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "Manager/ServiceManager.h"

using common::json::JsonValue;

namespace {

const char* const kParseError = R"({"code": -32700, "message": "Parse error"})";
const char* const kUnauthorized = R"({"code": -32010, "message": "Unauthorized access"})";
const char* const kKnownToken = "known-token";
const unsigned int kDeniedClient = 66;  // its MAC address is in the denied group

// What was sent: client, text, and whether as an access refusal.
using Sent = std::tuple<unsigned int, std::string, bool>;

std::string request(const std::string& method, const std::string& params, const char* id = "1") {
    std::string text =
        std::string(R"({"jsonrpc":"2.0","id":)") + id + R"(,"method":")" + method + "\"";
    if (!params.empty()) {
        text += R"(,"params":)" + params;
    }
    return text + "}";
}

std::string withToken(const std::string& method, const char* id = "1") {
    return request(method, std::string(R"({"AccessToken":")") + kKnownToken + "\"}", id);
}

class ServiceManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_pipeline.create();
        m_pipeline.m_sendResponseHook.set([this](unsigned int id, const std::string& text) {
            record({id, text, false});
        });
        m_pipeline.m_sendAccessDeniedHook.set([this](unsigned int id, const std::string& text) {
            record({id, text, true});
        });
        m_pipeline.m_getPeerMacAddressHook.set(
            [](unsigned int id) { return "mac-" + std::to_string(id); });
        m_pipeline.m_accessTokenCheckInAuthGroupHook.set(
            [](const std::string& token) { return token == kKnownToken ? 1 : 0; });
        m_pipeline.m_macAddressCheckInDeniedGroupHook.set([](const std::string& mac) {
            return mac == "mac-" + std::to_string(kDeniedClient) ? 1 : 0;
        });
        m_pipeline.m_issueAccessTokenHook.set([this](const std::string& mac) {
            m_issuedFor.push_back(mac);
            return m_issue(mac);
        });
        // The device side as the TV gives it: fills the command, hands it back, releases it.
        m_pipeline.m_runCommandHook.set([this](CmdRequest* cmd) {
            char thread[16] = {};
            pthread_getname_np(pthread_self(), thread, sizeof(thread));
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_commands.push_back(std::to_string(cmd->clientId) + " " + cmd->jsonId + " " +
                                     cmd->method + " " + cmd->params.toString(false) + " on " +
                                     thread);
            }
            m_fill(cmd);
            for (int i = 0; i < m_handBacks; ++i) {
                m_pipeline.enqueueResponseData(cmd);
            }
            delete cmd;
        });
    }

    void TearDown() override { m_pipeline.destroy(); }

    void record(const Sent& sent) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_sent.push_back(sent);
        m_changed.notify_all();
    }

    // Waits (bounded) until count messages have been sent and returns them.
    std::vector<Sent> sentWhenCount(size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(5), [&] { return m_sent.size() >= count; });
        return m_sent;
    }

    // What the device side saw: "clientId id method params on thread".
    std::vector<std::string> commands() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_commands;
    }

    // Set before the first request; the worker reads them after the request's hand-over.
    std::function<int(const std::string&)> m_issue = [](const std::string&) { return 1; };
    std::function<void(CmdRequest*)> m_fill = [](CmdRequest* cmd) {
        cmd->result = JsonValue::Create(R"({"power":"powerOn"})");
    };
    int m_handBacks = 1;
    std::vector<std::string> m_issuedFor;  // server (test) thread only

    std::mutex m_mutex;  // protects m_sent and m_commands
    std::condition_variable m_changed;
    std::vector<Sent> m_sent;
    std::vector<std::string> m_commands;

    ServiceManager m_pipeline;  // last: its worker thread is joined before the state above goes
};

TEST_F(ServiceManagerTest, RefusesUnparsableOrUnauthenticatedRequestsWithBareParseError) {
    const std::string refused[] = {
        " " + withToken("powerControl"),                        // leading blank
        "[" + withToken("powerControl") + "]",                  // batch
        R"({"jsonrpc":"1.0","id":1,"method":"powerControl"})",  // wrong version
        "{\"jsonrpc\":\"2.0\"",                                 // truncated
        withToken("powerControl") + " trailing",
        "null",
        R"({"jsonrpc":2.0,"id":1,"method":"powerControl"})",  // a number, not the text "2.0"
        request("powerControl", R"({"power":"powerOff"})"),   // no token
        request("powerControl", R"(["AccessToken"])"),
        request("", ""),
    };
    for (const std::string& text : refused) {
        m_pipeline.handleJsonRequest(9, text);
    }
    EXPECT_EQ(std::vector<Sent>(std::size(refused), Sent{9, kParseError, true}),
              sentWhenCount(std::size(refused)));
    EXPECT_TRUE(commands().empty());
}

// A denied MAC address is refused without asking the viewer; a pop-up that cannot go up, and a
// pending request whose approval times out, is denied or fails, are refused.
TEST_F(ServiceManagerTest, RefusesTokenRequestsTheViewerDoesNotAllow) {
    m_issue = [](const std::string& mac) { return mac == "mac-4" ? 0 : 1; };
    m_pipeline.handleJsonRequest(kDeniedClient, request("createAccessToken", ""));
    m_pipeline.handleJsonRequest(4, request("createAccessToken", ""));
    m_pipeline.handleJsonRequest(7, request("createAccessToken", "", "12"));
    EXPECT_FALSE(m_pipeline.handleAccessToken("timeout"));
    EXPECT_FALSE(m_pipeline.handleAccessToken("denied"));
    EXPECT_FALSE(m_pipeline.handleAccessToken(""));
    EXPECT_EQ((std::vector<Sent>{{kDeniedClient, kParseError, true},
                                 {4, "", true},
                                 {7, kUnauthorized, true},
                                 {7, kUnauthorized, true},
                                 {7, "", true}}),
              sentWhenCount(5));
    EXPECT_EQ((std::vector<std::string>{"mac-4", "mac-7"}), m_issuedFor);
}

// Nothing is sent before the viewer answers; the issued token gets the full response.
TEST_F(ServiceManagerTest, SecondClientsTokenRequestEndsFirstClientsApproval) {
    // As the access manager does: a request from another client first ends the open approval.
    std::string showing;
    m_issue = [&](const std::string& mac) {
        if (!showing.empty() && showing != mac) {
            m_pipeline.handleAccessToken("timeout");
        }
        showing = mac;
        return 1;
    };
    m_pipeline.handleJsonRequest(1, request("createAccessToken", "", "\"first\""));
    m_pipeline.handleJsonRequest(2, request("createAccessToken", "", "\"second\""));
    EXPECT_EQ((std::vector<Sent>{{1, kUnauthorized, true}}), sentWhenCount(1));
    EXPECT_TRUE(m_pipeline.handleAccessToken("tok2"));
    EXPECT_EQ(
        (std::vector<Sent>{
            {1, kUnauthorized, true},
            {2, R"({"jsonrpc":"2.0","id":"second","result":{"AccessToken":"tok2"}})", false}}),
        sentWhenCount(2));
}

// An accepted request runs on the worker thread and gets the full response; the device side
// still sees the token in params (it tells reads from writes without it). A token request never
// becomes a command.
TEST_F(ServiceManagerTest, RunsAcceptedRequestsOnTheWorkerThreadButNeverATokenRequest) {
    m_pipeline.handleJsonRequest(5, withToken("createAccessToken"));
    m_pipeline.handleJsonRequest(8, withToken("powerControl", "42"));
    EXPECT_EQ((std::vector<Sent>{
                  {8, R"({"jsonrpc":"2.0","id":"42","result":{"power":"powerOn"}})", false}}),
              sentWhenCount(1));
    EXPECT_EQ(std::vector<std::string>{std::string("8 42 powerControl {\"AccessToken\":\"") +
                                       kKnownToken + R"("} on ServiceManager)"},
              commands());
    EXPECT_EQ(std::vector<std::string>{"mac-5"}, m_issuedFor);
}

// Answers are sent in order, so a second answer to a command handed back twice would come
// before the next request's.
TEST_F(ServiceManagerTest, DeviceErrorsBecomeFullErrorResponsesSentOnce) {
    m_handBacks = 2;
    m_fill = [](CmdRequest* cmd) {
        cmd->result = JsonValue::Create(R"({"ignored":true})");
        cmd->resultCode = DEVICE_MANAGER_ERROR_INVALID_OPERATION;
        // The error index chooses the object only when the error flag is set.
        cmd->bJsonRpcError = cmd->jsonId == "flagged";
        cmd->errorIndex = METHOD_NOT_FOUND;
    };
    m_pipeline.handleJsonRequest(1, withToken("powerControl", "\"coded\""));
    m_pipeline.handleJsonRequest(1, withToken("powerControl", "\"flagged\""));
    EXPECT_EQ(
        (std::vector<Sent>{
            {1,
             R"({"jsonrpc":"2.0","id":"coded","error":{"code":-32003,"message":"Server error","data":"Invalid operation"}})",
             false},
            {1,
             R"({"jsonrpc":"2.0","id":"flagged","error":{"code":-32601,"message":"Method not found"}})",
             false}}),
        sentWhenCount(2));
}

TEST_F(ServiceManagerTest, AcceptedRequestAfterDestroyThrows) {
    m_pipeline.destroy();
    EXPECT_THROW(m_pipeline.handleJsonRequest(1, withToken("powerControl")), std::runtime_error);
    // Refusals need no worker thread.
    m_pipeline.handleJsonRequest(1, "nonsense");
    EXPECT_EQ((std::vector<Sent>{{1, kParseError, true}}), sentWhenCount(1));
}

}  // namespace
