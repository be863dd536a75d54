// Calling a method: the stored token goes into "params", the answer is read back, and each
// JSON-RPC error gets a sentence that says what to do about it.
#include "CallCommand.h"

#include "TvSession.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

constexpr int kFailed = -32002;
constexpr int kInvalidOperation = -32003;
constexpr int kInvalidParams = -32602;

}  // namespace

CallCommand::CallCommand(const CommandLine& commandLine, const TokenStore& store)
    : m_commandLine(commandLine),
      m_store(store),
      m_tv(TokenStore::keyFor(commandLine.host, commandLine.port)) {}

Outcome CallCommand::run() {
    JsonValue params = m_commandLine.params.empty() ? JsonValue(JsonType::objectValue)
                                                    : JsonValue::Create(m_commandLine.params);
    TvAnswer answer;
    return send(m_commandLine.method, params, "", answer);
}

Outcome CallCommand::send(const std::string& method, JsonValue params, const std::string& subject,
                          TvAnswer& answer) const {
    const std::string token = m_store.find(m_tv);
    if (token.empty()) {
        answer = TvAnswer();
        answer.kind = TvAnswer::Kind::NoContact;
        return {ExitCode::NotPaired,
                "This device is not paired with the TV at " + m_tv + "; run ipcontrol --host " +
                    m_commandLine.host + " --port " + std::to_string(m_commandLine.port) +
                    " pair first.",
                ""};
    }
    // The TV takes any member besides the token as a write.
    const bool write = !params.empty();
    params["AccessToken"] = token;
    answer = TvSession(m_commandLine).post(method, params);
    Outcome outcome = _interpret(answer, method, write, subject.empty() ? method : subject);
    if (m_commandLine.json) {
        outcome.output = answer.reply.body;
    }
    return outcome;
}

Outcome CallCommand::_interpret(const TvAnswer& answer, const std::string& method, bool write,
                                const std::string& subject) const {
    using Kind = TvAnswer::Kind;
    Outcome outcome;
    const std::string error = " (error " + answer.describeError() + ")";
    outcome.code = ExitCode::RpcError;
    if (answer.kind == Kind::Result) {
        outcome.code = ExitCode::Success;
        outcome.output = answer.result.isNull() ? "" : answer.result.toString(true);
    } else if (answer.kind == Kind::Error && answer.code == TvAnswer::kMethodNotFound) {
        outcome.code = ExitCode::MethodNotFound;
        // Sets with an ambient screen answer writes of picture, sound and source settings
        // this way while it shows.
        outcome.sentence =
            "The TV at " + m_tv + " does not know the method '" + method + "'" +
            (write ? "; if its ambient screen is showing, leave it (ipcontrol key ambient) and "
                     "try again."
                   : "; it is not available on this product.");
    } else if (answer.kind == Kind::Error && answer.code == kInvalidParams) {
        outcome.sentence = "The TV at " + m_tv + " did not accept " + subject + error +
                           ": a word it does not know (case counts), or a missing application "
                           "name or key word.";
    } else if (answer.kind == Kind::Error && answer.code == kFailed) {
        outcome.sentence = "The TV at " + m_tv + " could not carry out " + subject + error +
                           ": the value may be outside its range or list, missing or not a "
                           "whole number where one belongs, or the TV is in standby or "
                           "restarting; ipcontrol state shows where it stands.";
    } else if (answer.kind == Kind::Error && answer.code == kInvalidOperation) {
        outcome.sentence = "The TV at " + m_tv + " cannot do " + subject + error + ": " + method +
                           (write ? " cannot be written" : " cannot be read") +
                           " or is not supported on this product.";
    } else if (answer.kind == Kind::Error) {
        outcome.sentence = "The TV at " + m_tv + " answered " + subject + " with error " +
                           answer.describeError() + ".";
    } else if (answer.kind == Kind::Refusal && answer.code == TvAnswer::kParseError) {
        outcome.code = ExitCode::NotPaired;
        outcome.sentence = "The TV at " + m_tv +
                           " does not accept the stored token (it was revoked or the TV was "
                           "reset); run ipcontrol pair again.";
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
