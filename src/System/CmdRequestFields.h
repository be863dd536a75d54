// The command fields that every TV-control class reads or records in the same way.
#pragma once

#include <string>

#include "Manager/CmdRequest.h"

// Free functions over one CmdRequest; each call touches only the command it is given, so they
// are as thread-safe as the command (one thread at a time).
namespace cmdfields {

// True when the command writes: its params are an object with a member other than
// "AccessToken". Params of any other kind (null, array, scalar) carry nothing to write.
bool hasValueParams(const CmdRequest& request);

// The params without "AccessToken": what a finished write answers with.
common::json::JsonValue paramsWithoutToken(const CmdRequest& request);

// The command's result, made an empty object first when it is not one.
common::json::JsonValue& resultObject(CmdRequest& request);

// The result's member name when it is a string, else "".
std::string resultString(const CmdRequest& request, const std::string& name);

// A value as text: a string as it is, a number or boolean in its JSON spelling; "" for anything
// else.
std::string scalarText(const common::json::JsonValue& value);

// The result's member name as scalarText().
std::string resultText(const CmdRequest& request, const std::string& name);

// Marks the command failed with the given error object and result code.
void setError(CmdRequest& request, eJSONRPCErrorCode errorIndex, _DeviceManagerError resultCode);

}  // namespace cmdfields
