// The product profile: checks the JSON file once and answers feature and fact lookups from maps.
#include "ProductProfile.h"

#include <climits>

#include <json-glib/json-glib.h>

#include "JsonFile.h"

namespace ipc_platform {

namespace {

constexpr char kFeatureSection[] = "featureconf";
constexpr char kSystemInfoSection[] = "systemInfo";
constexpr char kTvSection[] = "tv";

bool isValueOfType(JsonNode* node, GType type) {
    return JSON_NODE_HOLDS_VALUE(node) && json_node_get_value_type(node) == type;
}

// Reads an optional string member of the top level; false when it is there but not a string.
bool readOptionalString(JsonObject* root, const char* member, std::string& out) {
    JsonNode* node = json_object_get_member(root, member);
    if (node == nullptr) {
        return true;
    }
    if (!isValueOfType(node, G_TYPE_STRING)) {
        return false;
    }
    out = json_node_get_string(node);
    return true;
}

// Returns the optional object member `section` (null when absent); false when it is not an object.
bool findSection(JsonObject* root, const char* section, JsonObject*& out) {
    JsonNode* node = json_object_get_member(root, section);
    out = nullptr;
    if (node == nullptr) {
        return true;
    }
    if (!JSON_NODE_HOLDS_OBJECT(node)) {
        return false;
    }
    out = json_node_get_object(node);
    return true;
}

// Fills features with the members of "featureconf"; returns the problem, empty when none.
std::string readFeatures(JsonObject* section,
                         std::map<std::string, ProductProfile::Feature>& features) {
    JsonObjectIter iter;
    const char* member = nullptr;
    JsonNode* node = nullptr;
    json_object_iter_init(&iter, section);
    while (json_object_iter_next(&iter, &member, &node)) {
        const std::string key = std::string(kFeatureSection) + "/" + member;
        if (isValueOfType(node, G_TYPE_BOOLEAN)) {
            features[key] = json_node_get_boolean(node) != FALSE;
        } else if (isValueOfType(node, G_TYPE_INT64) && json_node_get_int(node) >= INT_MIN &&
                   json_node_get_int(node) <= INT_MAX) {
            features[key] = static_cast<int>(json_node_get_int(node));
        } else {
            return "featureconf \"" + std::string(member) +
                   "\" is neither a boolean nor a 32-bit integer";
        }
    }
    return {};
}

// Fills facts with the members of "systemInfo"; returns the problem, empty when none.
std::string readFacts(JsonObject* section, std::map<std::string, std::string>& facts) {
    JsonObjectIter iter;
    const char* member = nullptr;
    JsonNode* node = nullptr;
    json_object_iter_init(&iter, section);
    while (json_object_iter_next(&iter, &member, &node)) {
        if (!isValueOfType(node, G_TYPE_STRING)) {
            return "systemInfo \"" + std::string(member) + "\" is not a string";
        }
        facts[member] = json_node_get_string(node);
    }
    return {};
}

// Keeps the text of the optional "tv" object; false when it is there but not an object.
bool readTvSection(JsonObject* root, std::string& text) {
    JsonObject* section = nullptr;
    if (!findSection(root, kTvSection, section)) {
        return false;
    }
    if (section != nullptr) {
        g_autofree gchar* json = json_to_string(json_object_get_member(root, kTvSection), FALSE);
        text = json;
    }
    return true;
}

// Checks the top level and reads it into the profile's parts; returns the problem, empty when
// none.
std::string readProfile(JsonObject* root, std::string& deviceName, std::string& tvSection,
                        std::map<std::string, ProductProfile::Feature>& features,
                        std::map<std::string, std::string>& facts) {
    JsonObject* featureSection = nullptr;
    JsonObject* factSection = nullptr;
    if (!readOptionalString(root, "deviceName", deviceName)) {
        return "\"deviceName\" is not a string";
    }
    if (!readTvSection(root, tvSection)) {
        return "\"tv\" is not an object";
    }
    if (!findSection(root, kFeatureSection, featureSection)) {
        return "\"featureconf\" is not an object";
    }
    if (!findSection(root, kSystemInfoSection, factSection)) {
        return "\"systemInfo\" is not an object";
    }
    std::string problem;
    if (featureSection != nullptr) {
        problem = readFeatures(featureSection, features);
    }
    if (problem.empty() && factSection != nullptr) {
        problem = readFacts(factSection, facts);
    }
    return problem;
}

}  // namespace

bool ProductProfile::load(const std::string& path, std::string& error) {
    JsonParser* parser = parseJsonObjectFile(path, error);
    if (parser == nullptr) {
        return false;
    }
    JsonObject* root = json_node_get_object(json_parser_get_root(parser));
    const std::string problem =
        readProfile(root, m_deviceName, m_tvSection, m_features, m_systemInfo);
    g_object_unref(parser);
    if (!problem.empty()) {
        error = path + ": " + problem;
        return false;
    }
    return true;
}

template <typename T>
int ProductProfile::_custom(const std::string& key, T& value) const {
    const auto it = m_features.find(key);
    if (it == m_features.end()) {
        return SYSTEM_INFO_ERROR_NOT_SUPPORTED;
    }
    const T* held = std::get_if<T>(&it->second);
    if (held == nullptr) {
        return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
    }
    value = *held;
    return SYSTEM_INFO_ERROR_NONE;
}

int ProductProfile::customBool(const std::string& key, bool& value) const {
    return _custom(key, value);
}

int ProductProfile::customInt(const std::string& key, int& value) const {
    return _custom(key, value);
}

int ProductProfile::valueString(system_info_key_e key, std::string& value) const {
    const char* member = nullptr;
    switch (key) {
        case SYSTEM_INFO_KEY_SW_VERSION:
            member = "swVersion";
            break;
        case SYSTEM_INFO_KEY_SERIAL_NUMBER:
            member = "serialNumber";
            break;
        case SYSTEM_INFO_KEY_PRODUCT_CODE_SW:
            member = "productCode";
            break;
    }
    const auto it = member != nullptr ? m_systemInfo.find(member) : m_systemInfo.end();
    if (it == m_systemInfo.end()) {
        return SYSTEM_INFO_ERROR_NOT_SUPPORTED;
    }
    value = it->second;
    return SYSTEM_INFO_ERROR_NONE;
}

}  // namespace ipc_platform
