// One JSON-RPC 2.0 request: reads its method, id, params and access token, keeps the result data
// of the TV side and builds the response text. Also owns the fixed table of error objects.
// Not thread-safe: a parser lives for one request step on one thread.
#pragma once

#include <map>
#include <string>

#include "JsonValue.h"
#include "Manager/JSONRPCError.h"

class JSONRPCParser {
public:
    JSONRPCParser();

    // True for a JSON object whose "jsonrpc" member is the text "2.0". Never throws. With
    // parsed, the tree another parser read from the same text is taken over instead of reading
    // it again (see takeDocument()).
    bool parse(const std::string& text, common::json::JsonValue* parsed = nullptr);
    // Gives up the tree read by parse(), for a parser of the same text on another thread.
    common::json::JsonValue takeDocument();

    bool getMethodName(std::string& out);
    bool getJsonID(std::string& out);
    const common::json::JsonValue& getJsonParams() const;
    // The same taken out of the request rather than copied (null when there are none), for a
    // parser whose request is done with.
    common::json::JsonValue takeJsonParams();
    bool hasParams();
    bool getParams(std::map<std::string, std::string>& out);
    bool getAccessToken(std::string& out);

    bool setCopiedParams(std::string text);
    bool setCopiedParams(std::map<std::string, std::string>& pairs);
    // True for the two methods whose result is a device list.
    bool isDeviceControl();

    // The response to this parser's own request: an error object, the params of a set request
    // without the token, or the copied params.
    std::string buildResponse(std::string errorText, bool isSetMethod);
    // The response to a finished command.
    std::string buildResponse(const std::string& id, const common::json::JsonValue& result,
                              const std::string& errorText);

    static std::string getJsonErrorMessage(eJSONRPCErrorCode code);
    static std::string getResultMessage(_DeviceManagerError error);

private:
    std::string _idText();
    // A member of the request read in place (null when missing), without the copy get() makes.
    // Throws JsonException("invalid type") for a batch, as get() does.
    const common::json::JsonValue& _member(const std::string& name) const {
        return static_cast<const common::json::JsonValue&>(m_root)[name];
    }
    std::string _serialise(const common::json::JsonValue& response);
    // Logs the response text and returns it.
    std::string _serialise(std::string text);

    common::json::JsonValue m_root;
    common::json::JsonValue m_copiedParams;
    std::string m_methodName;
    bool m_bBatch;
};
