// Reading HTTP replies as JSON-RPC answers and refusals.
#include "TvAnswer.h"

using common::json::JsonException;
using common::json::JsonType;
using common::json::JsonValue;

namespace {

constexpr int kHttpOk = 200;
constexpr int kHttpForbidden = 403;
constexpr int kHttpUnavailable = 503;

bool isObject(const JsonValue& value) {
    return value.type() == JsonType::objectValue;
}

// Reads a JSON-RPC error object into the answer; false when it is not one.
bool readError(const JsonValue& error, TvAnswer& answer) {
    if (!isObject(error) || !error["code"].isInt()) {
        return false;
    }
    answer.code = error["code"].asInt();
    answer.message = error["message"].isString() ? error["message"].asString() : "";
    const JsonValue& data = error["data"];
    answer.data = data.isNull() ? "" : data.isString() ? data.asString() : data.toString();
    return true;
}

TvAnswer::Kind classify(const HttpReply& reply, TvAnswer& answer) {
    using Kind = TvAnswer::Kind;
    if (reply.transport != HttpReply::Transport::Answered) {
        return Kind::NoContact;
    }
    if (reply.status == kHttpForbidden && reply.body.empty()) {
        return Kind::EmptyRefusal;
    }
    if (reply.status != kHttpForbidden && reply.status != kHttpOk) {
        return Kind::Unexpected;
    }
    const JsonValue body = JsonValue::Create(reply.body);
    if (reply.status == kHttpForbidden) {
        return readError(body, answer) ? Kind::Refusal : Kind::Unexpected;
    }
    if (!isObject(body)) {
        return Kind::Unexpected;
    }
    if (body.isMember("error")) {
        return readError(body["error"], answer) ? Kind::Error : Kind::Unexpected;
    }
    answer.result = body["result"];
    return Kind::Result;
}

}  // namespace

TvAnswer TvAnswer::read(HttpReply reply) {
    TvAnswer answer;
    answer.reply = std::move(reply);
    try {
        answer.kind = classify(answer.reply, answer);
    } catch (const JsonException&) {
        answer.kind = Kind::Unexpected;  // a member lookup on a value of the wrong kind
    }
    return answer;
}

Outcome TvAnswer::commonOutcome(const std::string& tv) const {
    Outcome outcome;
    outcome.code = ExitCode::Failure;
    const std::string check = "; check that it is switched on and connected to the network.";
    if (reply.transport == HttpReply::Transport::Unreachable) {
        outcome.code = ExitCode::Unreachable;
        outcome.sentence = "The TV at " + tv + " cannot be reached (" + reply.reason + ")" + check;
    } else if (reply.transport == HttpReply::Transport::NoAnswer) {
        outcome.code = ExitCode::Unreachable;
        outcome.sentence = "The TV at " + tv + " did not answer (" + reply.reason + ")" + check;
    } else if (kind == Kind::NoContact) {
        outcome.sentence = "The connection to the TV at " + tv + " failed (" + reply.reason + ").";
    } else if (reply.status == kHttpUnavailable) {
        outcome.code = ExitCode::Unreachable;
        outcome.sentence = "The IP control service of the TV at " + tv +
                           " is not running (HTTP 503); check that IP remote control is on.";
    } else if (kind == Kind::Error || kind == Kind::Refusal) {
        outcome.code = ExitCode::RpcError;
        outcome.sentence = "The TV at " + tv + " answered with error " + describeError() + ".";
    } else {
        outcome.sentence = "The TV at " + tv + " gave an unexpected answer (HTTP " +
                           std::to_string(reply.status) + ").";
    }
    return outcome;
}

std::string TvAnswer::describeError() const {
    std::string text = std::to_string(code);
    if (!message.empty()) {
        text += " " + message;
    }
    if (!data.empty()) {
        text += " (" + data + ")";
    }
    return text;
}
