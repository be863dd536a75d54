// From command words to methods and parameters, and the answers to a readout.
#include "SettingCommand.h"

#include "CommandTable.h"
#include "Readout.h"

using common::json::JsonType;
using common::json::JsonValue;
using Command = CommandLine::Command;

namespace {

// A step with one member in params, or a read when value is empty.
SettingCommand::Step step(const std::string& method, const std::string& member,
                          const std::string& value, bool shown = true) {
    JsonValue params(JsonType::objectValue);
    if (!value.empty()) {
        params[member] = value;
    }
    return {method, params, shown};
}

std::string powerWord(const std::string& word) {
    return word == "on" ? "powerOn" : word == "off" ? "powerOff" : word;
}

}  // namespace

SettingCommand::SettingCommand(const CommandLine& commandLine, const TokenStore& store)
    : m_commandLine(commandLine), m_call(commandLine, store) {}

std::vector<SettingCommand::Step> SettingCommand::plan(const CommandLine& commandLine) {
    const std::vector<std::string>& args = commandLine.args;
    const std::string value = args.empty() ? "" : args[0];
    switch (commandLine.command) {
        case Command::State:
            return {step("getTVStates", "", "")};
        case Command::Power:
            return {step("powerControl", "power", powerWord(value))};
        case Command::Volume:
            if (value == "up" || value == "down") {
                // The key's echo says nothing about the level, so read it after the press.
                return {step("volumeUpDnControl", "control",
                             value == "up" ? "volumeUp" : "volumeDn", false),
                        step("directVolumeControl", "volume", "")};
            }
            if (!value.empty()) {
                JsonValue params(JsonType::objectValue);
                params["volume"] = std::stoi(value);
                return {{"directVolumeControl", params, true}};
            }
            return {step("directVolumeControl", "volume", "")};
        case Command::Mute:
            return {step("muteControl", "mute",
                         value.empty()   ? ""
                         : value == "on" ? "muteOn"
                                         : "muteOff")};
        case Command::Input:
            return {step("inputSourceControl", "inputSource", value)};
        case Command::Key: {
            std::vector<Step> steps;
            steps.reserve(args.size());
            for (const std::string& key : args) {
                steps.push_back(step("remoteKeyControl", "remoteKey", key));
            }
            return steps;
        }
        case Command::Launch: {
            Step launch = step("directAccessControl", "applicationName", value);
            if (!commandLine.url.empty()) {
                launch.params["url"] = commandLine.url;
            }
            return {launch};
        }
        case Command::Picture:
            if (!value.empty()) {
                return {step("pictureModeControl", "pictureMode", value)};
            }
            return {step("pictureModeControl", "pictureMode", ""), step("getVideoStates", "", "")};
        default:
            return {};
    }
}

Outcome SettingCommand::run() {
    // The request as the user typed it, for the sentences about a refusal.
    std::string subject = std::string("'") + findCommand(m_commandLine.command)->name;
    for (const std::string& word : m_commandLine.args) {
        subject += " " + word;
    }
    subject += "'";
    Readout readout;
    std::string bodies;
    Outcome outcome;
    for (const Step& current : plan(m_commandLine)) {
        TvAnswer answer;
        const std::string key =
            m_commandLine.command == Command::Key ? current.params["remoteKey"].asString() : "";
        outcome = m_call.send(current.method, current.params,
                              key.empty() ? subject : "the key '" + key + "'", answer);
        if (m_commandLine.json && answer.kind != TvAnswer::Kind::NoContact) {
            bodies += answer.reply.body + "\n";
        }
        if (outcome.code != ExitCode::Success) {
            break;
        }
        if (current.shown) {
            readout.add(answer.result);
        }
    }
    outcome.output = m_commandLine.json ? bodies : readout.text();
    return outcome;
}
