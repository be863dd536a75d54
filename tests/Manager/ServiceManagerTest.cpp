// The request pipeline with recording hooks: refusals, the approval answer, commands and answers.
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <string>
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

struct Sent {
    unsigned int clientId;
    std::string text;
    bool accessDenied;
    bool operator==(const Sent& other) const {
        return clientId == other.clientId && text == other.text &&
               accessDenied == other.accessDenied;
    }
};

void PrintTo(const Sent& sent, std::ostream* os) {
    *os << "{" << sent.clientId << ", " << sent.text << ", "
        << (sent.accessDenied ? "denied" : "response") << "}";
}

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
        "",
        " " + withToken("powerControl"),                        // leading blank
        "[" + withToken("powerControl") + "]",                  // batch
        R"({"jsonrpc":"1.0","id":1,"method":"powerControl"})",  // wrong version
        "{\"jsonrpc\":\"2.0\"",                                 // truncated
        withToken("powerControl") + " trailing",
        "null",
        R"({"jsonrpc":2.0,"id":1,"method":"powerControl"})",  // a number, not the text "2.0"
        request("powerControl", ""),                          // no params
        request("powerControl", R"({"power":"powerOff"})"),   // no token
        request("powerControl", R"(["AccessToken"])"),
        request("powerControl", R"({"AccessToken":"stranger"})"),
        request("", ""),
    };
    for (const std::string& text : refused) {
        m_pipeline.handleJsonRequest(9, text);
    }
    std::vector<Sent> sent = sentWhenCount(std::size(refused));
    ASSERT_EQ(std::size(refused), sent.size());
    for (size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ((Sent{9, kParseError, true}), sent[i]) << refused[i];
    }
    EXPECT_TRUE(commands().empty());
}

TEST_F(ServiceManagerTest, RefusesTokenRequestFromDeniedMacWithoutAskingViewer) {
    m_pipeline.handleJsonRequest(kDeniedClient, request("createAccessToken", ""));
    EXPECT_EQ((std::vector<Sent>{{kDeniedClient, kParseError, true}}), sentWhenCount(1));
    EXPECT_TRUE(m_issuedFor.empty());
}

TEST_F(ServiceManagerTest, RefusesWithEmptyTextWhenTokenCannotBeIssued) {
    m_issue = [](const std::string&) { return 0; };
    m_pipeline.handleJsonRequest(4, request("createAccessToken", ""));
    EXPECT_EQ((std::vector<Sent>{{4, "", true}}), sentWhenCount(1));
    EXPECT_EQ(std::vector<std::string>{"mac-4"}, m_issuedFor);
}

TEST_F(ServiceManagerTest, RefusesPendingClientWhenApprovalTimesOutIsDeniedOrFails) {
    m_pipeline.handleJsonRequest(7, request("createAccessToken", "", "12"));
    EXPECT_FALSE(m_pipeline.handleAccessToken("timeout"));
    EXPECT_FALSE(m_pipeline.handleAccessToken("denied"));
    EXPECT_FALSE(m_pipeline.handleAccessToken(""));
    EXPECT_EQ(
        (std::vector<Sent>{{7, kUnauthorized, true}, {7, kUnauthorized, true}, {7, "", true}}),
        sentWhenCount(3));
}

TEST_F(ServiceManagerTest, AnswersIssuedTokenWithFullResponseToPendingRequest) {
    m_pipeline.handleJsonRequest(7, request("createAccessToken", "", "12"));
    EXPECT_TRUE(sentWhenCount(0).empty());  // nothing until the viewer answers
    EXPECT_TRUE(m_pipeline.handleAccessToken("T0k\"en"));
    EXPECT_EQ((std::vector<Sent>{
                  {7, R"({"jsonrpc":"2.0","id":"12","result":{"AccessToken":"T0k\"en"}})", false}}),
              sentWhenCount(1));
}

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
    m_pipeline.handleAccessToken("tok2");
    EXPECT_EQ(
        (std::vector<Sent>{
            {1, kUnauthorized, true},
            {2, R"({"jsonrpc":"2.0","id":"second","result":{"AccessToken":"tok2"}})", false}}),
        sentWhenCount(2));
}

TEST_F(ServiceManagerTest, CreateAccessTokenNeverBecomesACommand) {
    m_pipeline.handleJsonRequest(5, withToken("createAccessToken"));
    m_pipeline.handleJsonRequest(5, withToken("powerControl"));
    sentWhenCount(1);  // the power command's answer: the worker has passed anything queued before
    ASSERT_EQ(1u, commands().size());
    EXPECT_NE(std::string::npos, commands()[0].find(" powerControl "));
    EXPECT_EQ(std::vector<std::string>{"mac-5"}, m_issuedFor);
}

TEST_F(ServiceManagerTest, RunsAcceptedRequestOnWorkerThreadAndAnswersWithFullResponse) {
    m_pipeline.handleJsonRequest(
        8, request("powerControl",
                   std::string(R"({"AccessToken":")") + kKnownToken + R"(","power":"powerOn"})",
                   "42"));
    EXPECT_EQ((std::vector<Sent>{
                  {8, R"({"jsonrpc":"2.0","id":"42","result":{"power":"powerOn"}})", false}}),
              sentWhenCount(1));
    // The device side still sees the token in params: it tells reads from writes without it.
    EXPECT_EQ(std::vector<std::string>{std::string("8 42 powerControl {\"AccessToken\":\"") +
                                       kKnownToken + R"(","power":"powerOn"} on ServiceManager)"},
              commands());
}

TEST_F(ServiceManagerTest, AnswersACommandHandedBackTwiceOnlyOnce) {
    m_handBacks = 2;
    m_pipeline.handleJsonRequest(1, withToken("powerControl", "1"));
    m_pipeline.handleJsonRequest(1, withToken("powerControl", "2"));
    // Answers are sent in order, so a second answer to request 1 would come before request 2's.
    std::vector<Sent> sent = sentWhenCount(2);
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"1","result":{"power":"powerOn"}})", sent[0].text);
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"2","result":{"power":"powerOn"}})", sent[1].text);
}

TEST_F(ServiceManagerTest, DeviceErrorsBecomeFullErrorResponses) {
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

TEST_F(ServiceManagerTest, AcceptedRequestAfterDestroyThrowsThreadFinished) {
    m_pipeline.destroy();
    try {
        m_pipeline.handleJsonRequest(1, withToken("powerControl"));
        FAIL() << "accepted request after destroy did not throw";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("Thread already finished! Can not do enqueue!!", e.what());
    }
    // Refusals need no worker thread.
    m_pipeline.handleJsonRequest(1, "nonsense");
    EXPECT_EQ((std::vector<Sent>{{1, kParseError, true}}), sentWhenCount(1));
}

}  // namespace
