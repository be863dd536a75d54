// JSON-RPC 2.0 requests and responses.
#include "Manager/JSONRPCParser.h"

#include <exception>
#include <utility>

#include "JsonException.h"
#include "Log.h"
#include "SecurityMode.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kAccessToken = "AccessToken";

// Sent byte for byte; clients match on these texts.
const char* const kErrorTable[JSONRPC_ERROR_COUNT] = {
    R"({"code": -32700, "message": "Parse error"})",
    R"({"code": -32000, "message": "Server error", "data": "Unknown"})",
    R"({"code": -32001, "message": "Server error", "data": "Not supported model"})",
    R"({"code": -32002, "message": "Server error", "data": "Failed"})",
    R"({"code": -32003, "message": "Server error", "data": "Invalid operation"})",
    R"({"code": -32004, "message": "Server error", "data": "No support for batch request"})",
    R"({"code": -32010, "message": "Unauthorized access"})",
    R"({"code": -32011, "message": "All AccessToken occupied"})",
    R"({"code": -32600, "message": "Invalid Request"})",
    R"({"code": -32601, "message": "Method not found"})",
    R"({"code": -32602, "message": "Invalid params"})",
    R"({"code": -32603, "message": "Internal error"})",
};

// Names of the params members other than the access token; empty when params is not an object.
std::vector<std::string> valueMemberNames(const JsonValue& params) {
    std::vector<std::string> names;
    if (params.type() != JsonType::objectValue) {
        return names;
    }
    for (const std::string& name : params.getMemberNames()) {
        if (name != kAccessToken) {
            names.push_back(name);
        }
    }
    return names;
}

}  // namespace

JSONRPCParser::JSONRPCParser() : m_bBatch(false) {}

bool JSONRPCParser::parse(const std::string& text, JsonValue* parsed) {
    if (text.empty()) {
        LOGE("parse got empty data!");
        return false;
    }
    if (text[0] != '{' && text[0] != '[') {
        LOGE("parse got dirty data!");
        return false;
    }
    try {
        m_root = parsed != nullptr ? std::move(*parsed) : JsonValue::Create(text);
        if (m_root.isNull()) {
            LOGE("parse failed!");
            return false;
        }
        if (_member("jsonrpc").asString() == "2.0") {
            LOGI("parse success!");
            m_bBatch = m_root.type() == JsonType::arrayValue;
            return true;
        }
        LOGE("parse failed due to no jsonrpc 2.0");
    } catch (const std::exception& e) {
        LOGE("Exception : %s", e.what());
    }
    m_root = JsonValue();
    return false;
}

bool JSONRPCParser::getMethodName(std::string& out) {
    try {
        out = _member("method").asString();
    } catch (const std::exception& e) {
        LOGE("Exception : %s", e.what());
        out.clear();
    }
    m_methodName = out;
    if (out.empty()) {
        LOGE("getMethodName has no method data!");
        return false;
    }
    LOGI("methodName:%s", out.c_str());
    return true;
}

bool JSONRPCParser::getJsonID(std::string& out) {
    out = _idText();
    if (out.empty()) {
        LOGE("getJsonID has no jsonID data!");
        return false;
    }
    LOGI("jsonID:%s", out.c_str());
    return true;
}

const JsonValue& JSONRPCParser::getJsonParams() const {
    const JsonValue& root = m_root;
    if (root.type() != JsonType::objectValue) {
        return JsonValue::Null::null_instance();
    }
    return root["params"];
}

JsonValue JSONRPCParser::takeJsonParams() {
    if (getJsonParams().isNull()) {
        return JsonValue();
    }
    return std::move(m_root["params"]);
}

bool JSONRPCParser::hasParams() {
    const JsonValue& params = getJsonParams();
    if (params.isNull()) {
        LOGE("getParams can't take params data!");
        return false;
    }
    return !valueMemberNames(params).empty();
}

bool JSONRPCParser::getParams(std::map<std::string, std::string>& out) {
    const JsonValue& params = getJsonParams();
    if (params.empty()) {
        LOGE("getParams can't take params data!");
        return false;
    }
    try {
        for (const std::string& name : valueMemberNames(params)) {
            out[name] = params[name].asString();
            LOGI("getParams inserting data key:%s  value:%s", name.c_str(),
                 name == kAccessToken ? SecurityMode::token(out[name]).c_str() : out[name].c_str());
        }
    } catch (const std::exception& e) {
        LOGE("Exception : %s", e.what());
        return false;
    }
    return !out.empty();
}

bool JSONRPCParser::getAccessToken(std::string& out) {
    const JsonValue& params = getJsonParams();
    if (params.empty() || params.type() != JsonType::objectValue) {
        LOGE("getAccessToken can't take params data!");
        return false;
    }
    try {
        // Looked up by name: the same member a walk over the names finds, without copying them.
        if (params.isMember(kAccessToken)) {
            out = params[kAccessToken].asString();
            LOGI("getAccessToken found AccessToken data...key:%s  value:%s", kAccessToken,
                 SecurityMode::token(out).c_str());
            return true;
        }
    } catch (const std::exception& e) {
        LOGE("Exception : %s", e.what());
    }
    return false;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
bool JSONRPCParser::setCopiedParams(std::string text) {
    m_copiedParams = JsonValue::Create(text);
    return !m_copiedParams.isNull();
}

bool JSONRPCParser::setCopiedParams(std::map<std::string, std::string>& pairs) {
    JsonValue built;
    if (isDeviceControl()) {
        // Device lists map a device id to its name.
        built = JsonValue(JsonType::arrayValue);
        for (const auto& pair : pairs) {
            if (pair.first.empty() || pair.second.empty()) {
                break;
            }
            JsonValue device(JsonType::objectValue);
            device["deviceName"] = pair.second;
            device["deviceId"] = pair.first;
            built.append(std::move(device));
        }
        LOGI("Generating params for USB/RVU/ExternalSpeaker devices->[%s]",
             built.toString(false).c_str());
    } else {
        built = JsonValue(JsonType::objectValue);
        for (const auto& pair : pairs) {
            built[pair.first] = pair.second;
        }
    }
    m_copiedParams = JsonValue::Create(built.toString(false));
    if (m_copiedParams.isNull()) {
        LOGE("setCopiedParams got empty data!");
        return false;
    }
    return true;
}

bool JSONRPCParser::isDeviceControl() {
    return m_methodName == "USBSourceControl" || m_methodName == "externalSpeakerControl";
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
std::string JSONRPCParser::buildResponse(std::string errorText, bool isSetMethod) {
    JsonValue response(JsonType::objectValue);
    response["jsonrpc"] = "2.0";
    response["id"] = _idText();
    if (!errorText.empty()) {
        response["error"] = JsonValue::Create(errorText);
        LOGI("has created error data!");
    } else if (isSetMethod) {
        LOGI("isSetMethod:%d", isSetMethod);
        // A set request is answered with its own parameters, never with the token.
        if (m_root.type() == JsonType::objectValue && m_root.isMember("params") &&
            m_root["params"].type() == JsonType::objectValue) {
            m_root["params"].removeMember(kAccessToken);
        }
        response["result"] = getJsonParams();
    } else if (m_copiedParams.isNull() && !isDeviceControl()) {
        LOGI("has empty param data!");
    } else {
        response["result"] = m_copiedParams;
    }
    return _serialise(response);
}

std::string JSONRPCParser::buildResponse(const std::string& id, const JsonValue& result,
                                         const std::string& errorText) {
    // The compact text of {"jsonrpc", "id", "error" or "result"} put together from its members'
    // texts, without building the object and copying the result into it first.
    std::string text = R"({"jsonrpc":"2.0","id":)" + JsonValue(id).toString(false);
    if (!errorText.empty()) {
        text += R"(,"error":)" + JsonValue::Create(errorText).toString(false);
    } else if (!result.isNull()) {
        text += R"(,"result":)" + result.toString(false);
    } else {
        LOGI("has empty param data!");
    }
    text += '}';
    return _serialise(std::move(text));
}

std::string JSONRPCParser::getJsonErrorMessage(eJSONRPCErrorCode code) {
    if (code < 0 || code >= JSONRPC_ERROR_COUNT) {
        return "";
    }
    return kErrorTable[code];
}

std::string JSONRPCParser::getResultMessage(_DeviceManagerError error) {
    LOGI("eError:%d", error);
    switch (error) {
        case DEVICE_MANAGER_ERROR_UNKNOWN:
            return getJsonErrorMessage(SERVER_ERROR_UNKNOWN);
        case DEVICE_MANAGER_ERROR_NOT_SUPPORTED_MODEL:
            return getJsonErrorMessage(SERVER_ERROR_NOT_SUPPORTED_MODEL);
        case DEVICE_MANAGER_ERROR_FAILED:
            return getJsonErrorMessage(SERVER_ERROR_FAILED);
        case DEVICE_MANAGER_ERROR_INVALID_OPERATION:
            return getJsonErrorMessage(SERVER_ERROR_INVALID_OPERATION);
        case DEVICE_MANAGER_ERROR_METHOD_NOT_FOUND:
            return getJsonErrorMessage(METHOD_NOT_FOUND);
        default:
            return "";
    }
}

std::string JSONRPCParser::_idText() {
    try {
        return _member("id").asString();
    } catch (const std::exception& e) {
        LOGE("Exception : %s", e.what());
        return "";
    }
}

std::string JSONRPCParser::_serialise(const JsonValue& response) {
    return _serialise(response.toString(false));
}

std::string JSONRPCParser::_serialise(std::string text) {
    LOGI("done, response:%s", SecurityMode::json(text).c_str());
    return text;
}

JsonValue JSONRPCParser::takeDocument() {
    return std::move(m_root);
}
