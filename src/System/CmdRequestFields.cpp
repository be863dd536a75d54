// Reading a command's params and recording its failure.
#include "System/CmdRequestFields.h"

namespace cmdfields {

namespace {
const char* const kAccessToken = "AccessToken";
}  // namespace

bool hasValueParams(const CmdRequest& request) {
    if (request.params.type() != common::json::JsonType::objectValue) {
        return false;
    }
    for (const std::string& name : request.params.getMemberNames()) {
        if (name != kAccessToken) {
            return true;
        }
    }
    return false;
}

common::json::JsonValue paramsWithoutToken(const CmdRequest& request) {
    common::json::JsonValue copy = request.params;
    if (copy.type() == common::json::JsonType::objectValue) {
        copy.removeMember(kAccessToken);
    }
    return copy;
}

common::json::JsonValue& resultObject(CmdRequest& request) {
    if (request.result.type() != common::json::JsonType::objectValue) {
        request.result = common::json::JsonValue(common::json::JsonType::objectValue);
    }
    return request.result;
}

std::string resultString(const CmdRequest& request, const std::string& name) {
    if (request.result.type() != common::json::JsonType::objectValue) {
        return "";
    }
    const common::json::JsonValue& value = request.result[name];
    return value.type() == common::json::JsonType::stringValue ? value.asString() : "";
}

std::string scalarText(const common::json::JsonValue& value) {
    switch (value.type()) {
        case common::json::JsonType::boolValue:
        case common::json::JsonType::intValue:
        case common::json::JsonType::doubleValue:
        case common::json::JsonType::stringValue:
            return value.asString();
        default:
            return "";
    }
}

std::string resultText(const CmdRequest& request, const std::string& name) {
    if (request.result.type() != common::json::JsonType::objectValue) {
        return "";
    }
    return scalarText(request.result[name]);
}

void setError(CmdRequest& request, eJSONRPCErrorCode errorIndex, _DeviceManagerError resultCode) {
    request.bJsonRpcError = true;
    request.errorIndex = errorIndex;
    request.resultCode = resultCode;
}

}  // namespace cmdfields
