// Labels and value words of the readout.
#include "Readout.h"

#include <algorithm>
#include <map>

using common::json::JsonType;
using common::json::JsonValue;

namespace {

struct Label {
    const char* member;
    const char* label;
};

// The order getTVStates and the picture command read best in.
const Label kLabels[] = {
    {"power", "Power"},
    {"volume", "Volume"},
    {"mute", "Mute"},
    {"inputSource", "Input"},
    {"channel", "Channel"},
    {"pictureMode", "Picture mode"},
    {"soundMode", "Sound mode"},
    {"applicationName", "Application"},
    {"artMode", "Art mode"},
    {"ambientMode", "Ambient screen"},
    {"contrast", "Contrast"},
    {"brightness", "Brightness"},
    {"sharpness", "Sharpness"},
    {"color", "Color"},
    {"tint", "Tint"},
    {"remoteKey", "Pressed"},
    {"url", "Address"},
};

// The TV's words, as a person would say them.
const std::map<std::string, std::string> kWords = {
    {"powerOn", "on"},  {"powerOff", "off (standby)"}, {"reboot", "rebooting"}, {"muteOn", "on"},
    {"muteOff", "off"},
};

std::string valueText(const JsonValue& value) {
    if (value.isString()) {
        auto word = kWords.find(value.asString());
        return word != kWords.end()       ? word->second
               : value.asString().empty() ? "none"
                                          : value.asString();
    }
    if (value.isBool()) {
        return value.asBool() ? "on" : "off";
    }
    if (value.type() == JsonType::objectValue && value["major"].isInt()) {
        return std::to_string(value["major"].asInt()) + "-" +
               std::to_string(value["minor"].isInt() ? value["minor"].asInt() : 0);
    }
    return value.toString();
}

}  // namespace

void Readout::add(const JsonValue& result) {
    if (result.type() != JsonType::objectValue) {
        m_rows.emplace_back("Result", result.toString());
        return;
    }
    std::vector<std::string> others = result.getMemberNames();
    for (const Label& label : kLabels) {
        if (result.isMember(label.member)) {
            m_rows.emplace_back(label.label, valueText(result[label.member]));
            others.erase(std::find(others.begin(), others.end(), label.member));
        }
    }
    for (const std::string& member : others) {
        m_rows.emplace_back(member, valueText(result[member]));
    }
}

std::string Readout::text() const {
    size_t width = 0;
    for (const auto& row : m_rows) {
        width = std::max(width, row.first.size());
    }
    std::string text;
    for (const auto& [label, value] : m_rows) {
        text += label + std::string(width + 1 - label.size(), ' ') + value + "\n";
    }
    return text;
}
