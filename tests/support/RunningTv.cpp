// Test support: a running ipcontrold and the requests made to it.
#include "support/RunningTv.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <regex>

using common::json::JsonType;
using common::json::JsonValue;

namespace testsupport {

namespace {

// Under AddressSanitizer the daemon then keeps whole allocation stacks, so that the UPnP
// libraries' own leaks (tests/lsan-upnp.supp) can be told apart from ours and ignored. Only the
// daemons started afterwards read these variables.
void allowUpnpLibraryLeaks() {
    const std::string asan = getenv("ASAN_OPTIONS") != nullptr ? getenv("ASAN_OPTIONS") : "";
    if (asan.find("fast_unwind_on_malloc=0") == std::string::npos) {
        setenv("ASAN_OPTIONS",
               (asan + (asan.empty() ? "" : ":") + "fast_unwind_on_malloc=0").c_str(), 1);
    }
    setenv("LSAN_OPTIONS", "print_suppressions=0:suppressions=" IPC_LSAN_UPNP_SUPPRESSIONS, 1);
}

}  // namespace

RunningTv::RunningTv(std::string dataDir) : m_dataDir(std::move(dataDir)) {}

RunningTv::~RunningTv() {
    stop();
}

bool RunningTv::start(const std::string& approval, const std::vector<std::string>& extra) {
    std::vector<std::string> args = {"--data-dir",   m_dataDir, "--port",     "0",
                                     "--admin-port", "0",       "--approval", approval};
    if (!m_upnp) {
        args.push_back("--no-upnp");
    } else {
        allowUpnpLibraryLeaks();
        args.insert(args.end(), {"--upnp-port", "0"});
    }
    args.insert(args.end(), extra.begin(), extra.end());
    m_daemon = std::make_unique<DaemonProcess>();
    if (!m_daemon->start(IPCONTROLD_PATH, args) ||
        !m_daemon->waitForOutput("IP control service started")) {
        return false;
    }
    const std::string text = m_daemon->output();
    auto portAfter = [&text](const std::regex& pattern) -> unsigned short {
        std::smatch match;
        return std::regex_search(text, match, pattern)
                   ? static_cast<unsigned short>(std::stoi(match[1]))
                   : 0;
    };
    static const std::regex kPort("JSON-RPC server listening on port ([0-9]+)");
    static const std::regex kAdmin("admin API on http://127\\.0\\.0\\.1:([0-9]+)/");
    static const std::regex kUpnp("UPnP description server on 127\\.0\\.0\\.1:([0-9]+)");
    m_port = portAfter(kPort);
    m_adminPort = portAfter(kAdmin);
    m_upnpPort = m_upnp ? portAfter(kUpnp) : 0;
    return m_port != 0;
}

int RunningTv::stop() {
    if (!m_daemon) {
        return 0;
    }
    m_daemon->signal(SIGTERM);
    int code = m_daemon->waitForExit();
    m_lastOutput = m_daemon->output();
    m_daemon.reset();
    return code;
}

std::string RunningTv::output() const {
    return m_daemon ? m_daemon->output() : m_lastOutput;
}

HttpResponse RunningTv::post(const std::string& body, int timeoutMs) const {
    return exchange(m_port,
                    "POST / HTTP/1.1\r\nHost: tv\r\nContent-Type: application/json\r\n"
                    "Content-Length: " +
                        std::to_string(body.size()) + "\r\n\r\n" + body,
                    std::chrono::milliseconds(timeoutMs));
}

std::string RunningTv::pair() const {
    HttpResponse response = post(R"({"jsonrpc":"2.0","method":"createAccessToken","id":"1"})");
    JsonValue answer = JsonValue::Create(response.body);
    if (response.status != 200 || answer.type() != JsonType::objectValue) {
        return "";
    }
    const JsonValue& result = static_cast<const JsonValue&>(answer)["result"];
    return result.type() == JsonType::objectValue ? result.get("AccessToken", "").asString() : "";
}

JsonValue RunningTv::call(const std::string& method, const std::string& paramsJson,
                          const std::string& token) const {
    JsonValue request(JsonType::objectValue);
    request["jsonrpc"] = "2.0";
    request["method"] = method;
    request["id"] = 1;
    JsonValue params =
        paramsJson.empty() ? JsonValue(JsonType::objectValue) : JsonValue::Create(paramsJson);
    if (!token.empty() && params.type() == JsonType::objectValue) {
        params["AccessToken"] = token;
    }
    request["params"] = params;
    return JsonValue::Create(post(request.toString(false)).body);
}

HttpResponse RunningTv::admin(const std::string& method, const std::string& path,
                              const std::string& body) const {
    return exchange(m_adminPort,
                    method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                        "Content-Type: application/json\r\nContent-Length: " +
                        std::to_string(body.size()) + "\r\n\r\n" + body,
                    std::chrono::milliseconds(10000));
}

}  // namespace testsupport
