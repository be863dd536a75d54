// Pairing: one createAccessToken request, the viewer's answer, the token file.
#include "PairCommand.h"

#include "TvSession.h"

namespace {

constexpr int kHttpGatewayTimeout = 504;

}  // namespace

PairCommand::PairCommand(const CommandLine& commandLine, TokenStore& store)
    : m_commandLine(commandLine),
      m_store(store),
      m_tv(TokenStore::keyFor(commandLine.host, commandLine.port)) {}

Outcome PairCommand::run() {
    const auto start = std::chrono::steady_clock::now();
    TvAnswer answer = TvSession(m_commandLine).post("createAccessToken", common::json::JsonValue());
    auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    Outcome outcome = interpret(answer, elapsed);
    if (m_commandLine.json) {
        outcome.output = answer.reply.body;
    }
    return outcome;
}

Outcome PairCommand::interpret(const TvAnswer& answer, std::chrono::milliseconds elapsed) {
    using Kind = TvAnswer::Kind;
    Outcome outcome;
    if (answer.kind == Kind::Refusal && answer.code == TvAnswer::kUnauthorized &&
        elapsed < kNobodyAnsweredAfter) {
        outcome.code = ExitCode::Denied;
        outcome.sentence = "Pairing with the TV at " + m_tv +
                           " was turned down on its screen (Deny or Close was pressed).";
    } else if ((answer.kind == Kind::Refusal && answer.code == TvAnswer::kUnauthorized) ||
               (answer.kind == Kind::Unexpected && answer.reply.status == kHttpGatewayTimeout)) {
        outcome.code = ExitCode::TimedOut;
        outcome.sentence = "Nobody answered the pairing pop-up on the TV at " + m_tv +
                           " in time; run pair again and press Allow on the TV.";
    } else if (answer.kind == Kind::Refusal && answer.code == TvAnswer::kParseError) {
        outcome.code = ExitCode::Blocked;
        outcome.sentence =
            "The TV at " + m_tv + " refuses to pair with this device because it was denied twice.";
    } else if (answer.kind == Kind::EmptyRefusal) {
        outcome.code = ExitCode::PairingBusy;
        outcome.sentence =
            "A pairing pop-up for this device is already on the screen of the TV at " + m_tv +
            "; answer it there or wait until it closes.";
    } else if (answer.kind == Kind::Result) {
        return _store(answer);
    } else {
        outcome = answer.commonOutcome(m_tv);
    }
    return outcome;
}

Outcome PairCommand::_store(const TvAnswer& answer) {
    Outcome outcome;
    const bool isObject = answer.result.type() == common::json::JsonType::objectValue;
    const common::json::JsonValue& token =
        isObject ? answer.result["AccessToken"] : common::json::JsonValue::Null::null_instance();
    if (!token.isString() || token.asString().empty()) {
        outcome.code = ExitCode::Failure;
        outcome.sentence = "The TV at " + m_tv + " answered the pairing request without a token.";
        return outcome;
    }
    m_store.put(m_tv, token.asString());
    std::string error;
    if (!m_store.save(error)) {
        outcome.code = ExitCode::Failure;
        outcome.sentence =
            "Paired with the TV at " + m_tv + ", but the token could not be saved: " + error + ".";
        return outcome;
    }
    outcome.sentence =
        "Paired with the TV at " + m_tv + "; the token is kept in " + m_store.path() + ".";
    return outcome;
}
