// Network front of the service: owns the HTTP server library bridge, chooses the port, receives
// each request from the library and hands it on through a hook, and sends answers back.
// create/destroy/start/stop: main loop. onReceiveCommand: the server library's thread.
// sendResponse: the worker thread (answers) and the server library's thread (refusals).
#pragma once

#include <string>

#include "Manager/Hook.h"

class IPControlServerWrapper;

class ServerManager {
public:
    ServerManager();
    virtual ~ServerManager();
    virtual bool create();
    virtual bool destroy();
    virtual bool start();
    virtual bool stop();

    // The JSON-RPC port: the one given to the host, else 1515 up to model year 19 and 1516 after.
    unsigned short getPortNum();
    // accessDenied marks a refusal.
    void sendResponse(unsigned int clientId, const std::string& text, bool accessDenied);
    std::string getPeerMacAddress(unsigned int clientId);

    // Called by the server library once per request; userData is the ServerManager.
    static void onReceiveCommand(unsigned int clientId, const char* json, void* userData);

    // Installed by the controller: hands a request (client id, JSON text) to the pipeline.
    Hook<void(unsigned int, std::string)> m_processJsonRequestHook;

private:
    void _processJsonRequest(unsigned int clientId, const std::string& json);

    IPControlServerWrapper* m_httpServer;
    bool m_bCreated;
};
