// Routing of a finished command back to its owner, which answers the client.
#pragma once

class DeviceManager;
struct CmdRequest;

// Gives the finished command to owner for the response. False without an owner; a response
// layer that is stopping (and throws) leaves the command unanswered. Never throws. Called on the
// worker thread (commands refused at once) and on the framework's callback thread (results).
bool handBackForResponse(DeviceManager* owner, CmdRequest* request);
