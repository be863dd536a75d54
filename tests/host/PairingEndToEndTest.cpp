// Pairing end to end: ipcontrold whose viewer allows or denies every request, over HTTP and
// through the ipcontrol client, and two clients in network namespaces with MAC addresses of
// their own.
#include <unistd.h>

#include <csignal>
#include <memory>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "support/DaemonProcess.h"
#include "support/HttpClient.h"
#include "support/PlatformFixture.h"
#include "tools/CliRunner.h"

using common::json::JsonValue;
using testsupport::HttpClient;
using testsupport::HttpResponse;

namespace {

const std::string kUnauthorized = "{\"code\": -32010, \"message\": \"Unauthorized access\"}";
const std::string kParseError = "{\"code\": -32700, \"message\": \"Parse error\"}";
const std::string kCreateToken =
    "{\"jsonrpc\":\"2.0\",\"method\":\"createAccessToken\",\"id\":\"1\"}";

std::string powerControlWith(const std::string& token) {
    return "{\"jsonrpc\":\"2.0\",\"method\":\"powerControl\",\"id\":7,"
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
    void TearDown() override { stopDaemon(); }

    // Starts ipcontrold on m_dir and a fresh port; approval is allow or deny.
    void startDaemon(const std::string& approval) {
        m_port = testsupport::findFreePort();
        m_daemon = std::make_unique<testsupport::DaemonProcess>();
        ASSERT_TRUE(
            m_daemon->start(IPCONTROLD_PATH,
                            {"--data-dir", m_dir.path(), "--no-upnp", "--port",
                             std::to_string(m_port), "--admin-port", "0", "--approval", approval}));
        ASSERT_TRUE(m_daemon->waitForOutput("listening on port " + std::to_string(m_port)))
            << m_daemon->output();
        // The server listens a moment before the pipeline is wired; ready once started.
        ASSERT_TRUE(m_daemon->waitForOutput("IP control service started")) << m_daemon->output();
    }

    void stopDaemon() {
        if (m_daemon) {
            m_daemon->signal(SIGTERM);
            EXPECT_EQ(0, m_daemon->waitForExit()) << m_daemon->output();
            m_daemon.reset();
        }
    }

    // One request on a fresh loopback connection; status 0 when no answer came.
    HttpResponse post(const std::string& body) {
        HttpClient client;
        if (!client.connect(m_port) || !client.post(body)) {
            return HttpResponse();
        }
        return client.read(std::chrono::seconds(40)).value_or(HttpResponse());
    }

    // Pairs over HTTP and returns the token ("" on failure, with the test failed).
    std::string pair() {
        HttpResponse response = post(kCreateToken);
        EXPECT_EQ(200, response.status) << response.body << m_daemon->output();
        JsonValue answer = JsonValue::Create(response.body);
        EXPECT_EQ("1", answer["id"].asString()) << response.body;
        std::string token = answer["result"]["AccessToken"].asString();
        EXPECT_TRUE(isToken(token)) << response.body;
        return token;
    }

    JsonValue authList() const {
        return JsonValue::Create(testsupport::readFile(m_dir.path() + "/authlist/authlist.dat"));
    }

    // The ipcontrol arguments that address the daemon on loopback.
    std::vector<std::string> cli(std::vector<std::string> command) const {
        command.insert(command.begin(), {"--port", std::to_string(m_port)});
        return command;
    }

    testsupport::TempDir m_dir;
    std::unique_ptr<testsupport::DaemonProcess> m_daemon;
    unsigned short m_port = 0;
};

TEST_F(PairingEndToEndTest, AllowedClientGetsATokenThatReachesTheTv) {
    startDaemon("allow");
    const std::string token = pair();

    // Known token: the request passes to the TV side, which knows no method yet.
    HttpResponse response = post(powerControlWith(token));
    EXPECT_EQ(200, response.status);
    JsonValue answer = JsonValue::Create(response.body);
    EXPECT_EQ("7", answer["id"].asString()) << response.body;
    EXPECT_EQ(-32601, answer["error"]["code"].asInt()) << response.body;
    EXPECT_EQ("Method not found", answer["error"]["message"].asString());

    JsonValue records = authList();
    ASSERT_EQ(1u, records.size()) << records.toString();
    EXPECT_EQ(token, records[0u]["AccessToken"].asString());
    EXPECT_EQ("02:00:00:00:00:01", records[0u]["MacAddr"].asString());  // the loopback client
    EXPECT_EQ(0, records[0u]["AccessClass"].asInt());
}

TEST_F(PairingEndToEndTest, TokenSurvivesARestartOnTheSameDataDirectory) {
    startDaemon("allow");
    const std::string token = pair();
    stopDaemon();

    startDaemon("deny");
    HttpResponse response = post(powerControlWith(token));
    EXPECT_EQ(200, response.status) << response.body;
    EXPECT_EQ(-32601, JsonValue::Create(response.body)["error"]["code"].asInt()) << response.body;
    EXPECT_EQ(kParseError, post(powerControlWith(std::string(49, 'x'))).body);
}

TEST_F(PairingEndToEndTest, DeniedTwiceTheClientIsRefusedWithoutAsking) {
    startDaemon("deny");
    for (int deny = 1; deny <= 2; ++deny) {
        HttpResponse response = post(kCreateToken);
        EXPECT_EQ(403, response.status) << "deny " << deny;
        EXPECT_EQ(kUnauthorized, response.body) << "deny " << deny;
    }
    HttpResponse blocked = post(kCreateToken);
    EXPECT_EQ(403, blocked.status);
    EXPECT_EQ(kParseError, blocked.body);
}

TEST_F(PairingEndToEndTest, ClientPairsAndCallsWhenTheViewerAllows) {
    startDaemon("allow");
    CliRunner client;
    ASSERT_EQ(0, client.run(cli({"pair"}))) << client.output() << m_daemon->output();
    JsonValue stored = JsonValue::Create(testsupport::readFile(client.tokenFile()));
    EXPECT_EQ(authList()[0u]["AccessToken"].asString(),
              stored["127.0.0.1:" + std::to_string(m_port)].asString());

    EXPECT_EQ(9, client.run(cli({"call", "powerControl"})));
    EXPECT_TRUE(client.said("does not know the method 'powerControl'")) << client.output();
}

TEST_F(PairingEndToEndTest, ClientReportsDenialsThenTheBlockWhenTheViewerDenies) {
    startDaemon("deny");
    CliRunner client;
    EXPECT_EQ(4, client.run(cli({"pair"}))) << client.output();
    EXPECT_EQ(4, client.run(cli({"pair"}))) << client.output();
    EXPECT_EQ(6, client.run(cli({"pair"}))) << client.output();
    EXPECT_EQ(8, client.run(cli({"call", "powerControl"})));
    EXPECT_TRUE(client.said("not paired")) << client.output();
}

// A network namespace joined to this one by a veth pair on a /30 of its own, so that a client
// inside it reaches the daemon from a real MAC address. Both are removed at destruction.
class VethNamespace {
public:
    VethNamespace(const std::string& name, const std::string& network, int first)
        : m_name(name),
          m_hostAddress(network + std::to_string(first + 1)),
          m_clientAddress(network + std::to_string(first + 2)) {}

    ~VethNamespace() {
        std::string ignored;
        shell("ip link del " + hostSide(), ignored);
        shell("ip netns del " + m_name, ignored);
    }

    // Creates the namespace (false with the reason when that is not possible here), then the
    // link; a failure after the namespace exists fails the test.
    bool create(std::string& reason) {
        if (!shell("ip netns add " + m_name, reason)) {
            return false;
        }
        const std::string client = "ip -n " + m_name;
        std::string output;
        const std::string steps[] = {
            "ip link add " + hostSide() + " type veth peer name " + clientSide() + " netns " +
                m_name,
            "ip addr add " + m_hostAddress + "/30 dev " + hostSide(),
            "ip link set " + hostSide() + " up",
            client + " addr add " + m_clientAddress + "/30 dev " + clientSide(),
            client + " link set " + clientSide() + " up",
            client + " link set lo up",
        };
        for (const std::string& step : steps) {
            EXPECT_TRUE(shell(step, output)) << step << ": " << output;
        }
        EXPECT_TRUE(shell(client + " -o link show dev " + clientSide(), output)) << output;
        size_t at = output.find("link/ether ");
        m_mac = at == std::string::npos ? "" : output.substr(at + 11, 17);
        return true;
    }

    const std::string& hostAddress() const { return m_hostAddress; }
    const std::string& mac() const { return m_mac; }
    std::vector<std::string> exec() const { return {"ip", "netns", "exec", m_name}; }

private:
    std::string hostSide() const { return m_name + "h"; }
    std::string clientSide() const { return m_name + "c"; }

    std::string m_name;
    std::string m_hostAddress;
    std::string m_clientAddress;
    std::string m_mac;
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
    ASSERT_FALSE(first.mac().empty());
    ASSERT_FALSE(second.mac().empty());
    ASSERT_NE(first.mac(), second.mac());

    startDaemon("allow");
    for (const VethNamespace* ns : {&first, &second}) {
        CliRunner client;
        EXPECT_EQ(
            0, client.run({"--host", ns->hostAddress(), "--port", std::to_string(m_port), "pair"},
                          ns->exec()))
            << client.output() << m_daemon->output();
    }

    JsonValue records = authList();
    ASSERT_EQ(2u, records.size()) << records.toString();
    std::set<std::string> macs;
    for (size_t i = 0; i < records.size(); ++i) {
        macs.insert(records[i]["MacAddr"].asString());
        EXPECT_TRUE(isToken(records[i]["AccessToken"].asString())) << records.toString();
        EXPECT_EQ(0, records[i]["AccessClass"].asInt());
    }
    EXPECT_EQ((std::set<std::string>{first.mac(), second.mac()}), macs);
}

}  // namespace
