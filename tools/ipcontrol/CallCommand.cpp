// Calling a method: the stored token goes into "params", the answer is read back.
#include "CallCommand.h"

#include "TvSession.h"

using common::json::JsonValue;

CallCommand::CallCommand(const CommandLine& commandLine, const TokenStore& store)
    : m_commandLine(commandLine),
      m_store(store),
      m_tv(TokenStore::keyFor(commandLine.host, commandLine.port)) {}

Outcome CallCommand::run() {
    const std::string token = m_store.find(m_tv);
    if (token.empty()) {
        return {ExitCode::NotPaired,
                "This device is not paired with the TV at " + m_tv + "; run ipcontrol --host " +
                    m_commandLine.host + " --port " + std::to_string(m_commandLine.port) +
                    " pair first.",
                ""};
    }
    JsonValue params = m_commandLine.params.empty() ? JsonValue(common::json::JsonType::objectValue)
                                                    : JsonValue::Create(m_commandLine.params);
    params["AccessToken"] = token;
    const TvAnswer answer = TvSession(m_commandLine).post(m_commandLine.method, params);
    Outcome outcome = _interpret(answer);
    if (m_commandLine.json) {
        outcome.output = answer.reply.body;
    }
    return outcome;
}

Outcome CallCommand::_interpret(const TvAnswer& answer) const {
    using Kind = TvAnswer::Kind;
    Outcome outcome;
    if (answer.kind == Kind::Result) {
        outcome.output = answer.result.isNull() ? "" : answer.result.toString(true);
    } else if (answer.kind == Kind::Error && answer.code == TvAnswer::kMethodNotFound) {
        outcome.code = ExitCode::MethodNotFound;
        outcome.sentence =
            "The TV at " + m_tv + " does not know the method '" + m_commandLine.method + "'.";
    } else if (answer.kind == Kind::Error) {
        outcome.code = ExitCode::RpcError;
        outcome.sentence = "The TV at " + m_tv + " answered " + m_commandLine.method +
                           " with error " + answer.describeError() + ".";
    } else if (answer.kind == Kind::Refusal && answer.code == TvAnswer::kParseError) {
        outcome.code = ExitCode::NotPaired;
        outcome.sentence = "The TV at " + m_tv +
                           " does not accept the stored token (it was revoked or the TV was "
                           "reset); run pair again.";
    } else if (answer.kind == Kind::EmptyRefusal) {
        outcome.code = ExitCode::Failure;
        outcome.sentence = "The TV at " + m_tv +
                           " refused the request without a reason; it may be starting or "
                           "stopping, try again.";
    } else {
        outcome = answer.commonOutcome(m_tv);
    }
    return outcome;
}
