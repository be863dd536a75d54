// Error indexes of the JSON-RPC error table and the device layer's result codes.
#pragma once

// Index into the JSON-RPC error table; each row is a complete error object.
enum eJSONRPCErrorCode {
    PARSE_ERROR = 0,                       // -32700
    SERVER_ERROR_UNKNOWN = 1,              // -32000 "Unknown"
    SERVER_ERROR_NOT_SUPPORTED_MODEL = 2,  // -32001
    SERVER_ERROR_FAILED = 3,               // -32002
    SERVER_ERROR_INVALID_OPERATION = 4,    // -32003
    SERVER_ERROR_NO_BATCH = 5,             // -32004, kept in the table, never produced
    UNAUTHORIZED_ACCESS = 6,               // -32010
    ALL_ACCESS_TOKEN_OCCUPIED = 7,         // -32011
    INVALID_REQUEST = 8,                   // -32600
    METHOD_NOT_FOUND = 9,                  // -32601
    INVALID_PARAMS = 10,                   // -32602
    INTERNAL_ERROR = 11,                   // -32603
    JSONRPC_ERROR_COUNT
};

// Result code that a device manager leaves in a command; 0 is success.
enum _DeviceManagerError {
    DEVICE_MANAGER_SUCCESS = 0,
    DEVICE_MANAGER_ERROR_UNKNOWN = 1,
    DEVICE_MANAGER_ERROR_NOT_SUPPORTED_MODEL = 2,
    DEVICE_MANAGER_ERROR_FAILED = 3,
    DEVICE_MANAGER_ERROR_INVALID_OPERATION = 4,
    DEVICE_MANAGER_ERROR_METHOD_NOT_FOUND = 5,
};
