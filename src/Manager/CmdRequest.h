// One JSON-RPC command on its way from the request pipeline to the device and back.
#pragma once

#include <string>

#include "JsonValue.h"
#include "Manager/JSONRPCError.h"
#include "System/TVControlPropType.h"

// Made by the request pipeline on the worker thread, filled in by the device side (worker thread
// or the property framework's callback thread) and handed back once for the response. Not
// thread-safe: one thread at a time works on a command. Released by the device side after it has
// handed the command back.
struct CmdRequest {
    unsigned int clientId = 0;  // session id of the client that sent the request
    std::string jsonId;         // the request's "id" as text
    std::string method;         // the request's "method"
    // The request's "params", still holding "AccessToken" when the client sent it.
    common::json::JsonValue params;
    common::json::JsonValue result;    // becomes the response's "result"; starts null
    common::json::JsonValue workData;  // scratch data of the device side; starts null
    // The property the method maps to; set by the device side.
    DYNF_TVCONTROL_PROP_TYPE propType = TVCONTROL_PROP_TYPE_INVALID;
    _DeviceManagerError resultCode = DEVICE_MANAGER_SUCCESS;
    bool bJsonRpcError = false;                  // when set, errorIndex chooses the error object
    eJSONRPCErrorCode errorIndex = PARSE_ERROR;  // read only when bJsonRpcError is set
};
