// The user data that travels with one property request through the framework.
#pragma once

class DYNFHandler;
struct CmdRequest;

// Made by the handler for each accepted framework call and freed, with the command, once the
// call's result has been handled (or when the framework refused the call, without the command).
// Touched by one thread at a time: the worker until the call, the callback thread after.
struct DYNFProtocolData {
    DYNFHandler* m_owner = nullptr;   // the handler that issued the call; not owned
    CmdRequest* m_request = nullptr;  // owned once the framework accepted the call
};
