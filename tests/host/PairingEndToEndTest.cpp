// Pairing end to end: ipcontrold whose viewer allows or denies every request, over HTTP, and two
// clients in network namespaces with MAC addresses of their own (the ipcontrol client pairing
// on loopback is CliAgainstTvTest's).
#include <unistd.h>

#include <memory>
#include <set>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "support/PlatformFixture.h"
#include "support/RunningTv.h"
#include "tools/CliRunner.h"

using common::json::JsonValue;
using testsupport::HttpResponse;

namespace {

const std::string kUnauthorized = "{\"code\": -32010, \"message\": \"Unauthorized access\"}";
const std::string kParseError = "{\"code\": -32700, \"message\": \"Parse error\"}";
const std::string kMethodNotFound =
    R"({"jsonrpc":"2.0","id":"7","error":{"code":-32601,"message":"Method not found"}})";
const std::string kCreateToken =
    "{\"jsonrpc\":\"2.0\",\"method\":\"createAccessToken\",\"id\":\"1\"}";

// A request for a method no TV knows: once past the token check it is answered "Method not found".
std::string unknownMethodWith(const std::string& token) {
    return "{\"jsonrpc\":\"2.0\",\"method\":\"noSuchMethod\",\"id\":7,"
           "\"params\":{\"AccessToken\":\"" +
           token + "\"}}";
}

bool isToken(const std::string& text) {
    return text.size() == 49 && text.find_first_not_of(
                                    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                    "abcdefghijklmnopqrstuvwxyz") == std::string::npos;
}

// Runs a shell command to its end; true when it exits 0.
bool shell(const std::string& command, std::string& output) {
    output.clear();
    return testsupport::runToExit("/bin/sh", {"-c", command + " 2>&1"}, output) == 0;
}

class PairingEndToEndTest : public ::testing::Test {
protected:
    void TearDown() override { stopTv(); }

    // Starts ipcontrold on m_dir; approval is allow or deny.
    void startTv(const std::string& approval, const std::vector<std::string>& extra = {}) {
        m_tv = std::make_unique<testsupport::RunningTv>(m_dir.path());
        ASSERT_TRUE(m_tv->start(approval, extra)) << m_tv->output();
    }

    void stopTv() {
        if (m_tv) {
            EXPECT_EQ(0, m_tv->stop()) << m_tv->output();
            m_tv.reset();
        }
    }

    // Pairs over HTTP and returns the token.
    std::string pair() {
        std::string token = m_tv->pair();
        EXPECT_TRUE(isToken(token)) << token << m_tv->output();
        return token;
    }

    JsonValue authList() const {
        return JsonValue::Create(testsupport::readFile(m_dir.file("authlist/authlist.dat")));
    }

    testsupport::TempDir m_dir;
    std::unique_ptr<testsupport::RunningTv> m_tv;
};

TEST_F(PairingEndToEndTest, AllowedClientsTokenReachesTheTvAndIsKept) {
    startTv("allow");
    const std::string token = pair();

    // Known token: the request passes to the TV side.
    HttpResponse response = m_tv->post(unknownMethodWith(token));
    EXPECT_EQ(200, response.status);
    EXPECT_EQ(kMethodNotFound, response.body);

    JsonValue records = authList();
    ASSERT_EQ(1u, records.size()) << records.toString();
    EXPECT_EQ(token, records[0u]["AccessToken"].asString());
    EXPECT_EQ("02:00:00:00:00:01", records[0u]["MacAddr"].asString());  // the loopback client
    EXPECT_EQ(0, records[0u]["AccessClass"].asInt());

    // Pairing again replaces the client's token; the new one survives a restart on the same
    // data folder, with no viewer to ask.
    const std::string kept = pair();
    ASSERT_EQ(1u, authList().size());
    EXPECT_EQ(kept, authList()[0u]["AccessToken"].asString());
    stopTv();
    startTv("deny");
    EXPECT_EQ(kMethodNotFound, m_tv->post(unknownMethodWith(kept)).body);
    EXPECT_EQ(kParseError, m_tv->post(unknownMethodWith(std::string(49, 'x'))).body);
}

TEST_F(PairingEndToEndTest, DeniedTwiceTheClientIsRefusedWithoutAsking) {
    startTv("deny");
    for (const std::string& expected : {kUnauthorized, kUnauthorized, kParseError}) {
        HttpResponse answer = m_tv->post(kCreateToken);
        EXPECT_EQ(403, answer.status);
        EXPECT_EQ(expected, answer.body);
    }
}

TEST_F(PairingEndToEndTest, HardenedServiceRefusesTheEmptyTokenAfterADenyAndHidesTokensInItsLog) {
    startTv("deny", {"--security", "hardened"});
    EXPECT_EQ(403, m_tv->post(kCreateToken).status);
    // The Deny left a record without a token; the default mode lets "" through here.
    HttpResponse empty = m_tv->post(unknownMethodWith(""));
    EXPECT_EQ(403, empty.status) << empty.body;
    EXPECT_EQ(kParseError, empty.body);
    stopTv();

    startTv("allow", {"--security", "hardened"});
    const std::string token = pair();
    EXPECT_EQ(200, m_tv->post(unknownMethodWith(token)).status);
    // Lines reach stderr from the log's own thread; after the stop every one is there.
    EXPECT_EQ(0, m_tv->stop());
    const std::string output = m_tv->output();
    EXPECT_NE(std::string::npos, output.find("issued AccessToken:" + token.substr(0, 4) + "\u2026"))
        << output;
    EXPECT_EQ(std::string::npos, output.find(token.substr(0, 8))) << output;
}

// A network namespace joined to this one by a veth pair on a /30 of its own, so that a client
// inside it reaches the daemon from a real MAC address. Both are removed at destruction.
struct VethNamespace {
    VethNamespace(const std::string& name, const std::string& network, int first)
        : name(name), hostAddress(network + std::to_string(first + 1)) {
        clientAddress = network + std::to_string(first + 2);
    }
    ~VethNamespace() {
        std::string ignored;
        shell("ip link del " + name + "h", ignored);
        shell("ip netns del " + name, ignored);
    }

    // Creates the namespace (false with the reason when that is not possible here), then the
    // link; a failure after the namespace exists fails the test.
    bool create(std::string& reason) {
        if (!shell("ip netns add " + name, reason)) {
            return false;
        }
        const std::string host = name + "h", client = name + "c", inside = "ip -n " + name;
        std::string output;
        for (const std::string& step :
             {"ip link add " + host + " type veth peer name " + client + " netns " + name,
              "ip addr add " + hostAddress + "/30 dev " + host, "ip link set " + host + " up",
              inside + " addr add " + clientAddress + "/30 dev " + client,
              inside + " link set " + client + " up", inside + " link set lo up"}) {
            EXPECT_TRUE(shell(step, output)) << step << ": " << output;
        }
        EXPECT_TRUE(shell(inside + " -o link show dev " + client, output)) << output;
        size_t at = output.find("link/ether ");
        mac = at == std::string::npos ? "" : output.substr(at + 11, 17);
        return true;
    }
    std::vector<std::string> exec() const { return {"ip", "netns", "exec", name}; }

    std::string name, hostAddress, clientAddress, mac;
};

TEST_F(PairingEndToEndTest, ClientsWithTwoMacAddressesGetARecordEach) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "network namespaces need root";
    }
    // Names and networks unique to this process: parallel runs must not meet.
    const std::string prefix = "ipc" + std::to_string(getpid());
    const std::string network = "198.18." + std::to_string(getpid() % 250) + ".";
    VethNamespace first(prefix + "a", network, 0);
    VethNamespace second(prefix + "b", network, 4);
    std::string reason;
    if (!first.create(reason)) {
        GTEST_SKIP() << "ip netns add failed: " << reason;
    }
    ASSERT_TRUE(second.create(reason)) << reason;
    ASSERT_NE(first.mac, second.mac);  // the records' addresses are compared with them

    startTv("allow");
    for (const VethNamespace* ns : {&first, &second}) {
        CliRunner client;
        EXPECT_EQ(0, client.run({"--host", ns->hostAddress, "--port", std::to_string(m_tv->port()),
                                 "pair"},
                                ns->exec()))
            << client.output() << m_tv->output();
    }

    JsonValue records = authList();
    ASSERT_EQ(2u, records.size()) << records.toString();
    std::set<std::string> macs;
    for (size_t i = 0; i < records.size(); ++i) {
        macs.insert(records[i]["MacAddr"].asString());
        EXPECT_TRUE(isToken(records[i]["AccessToken"].asString())) << records.toString();
        EXPECT_EQ(0, records[i]["AccessClass"].asInt());
    }
    EXPECT_EQ((std::set<std::string>{first.mac, second.mac}), macs);
}

}  // namespace
