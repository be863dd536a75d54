// Network front of the service: owns the HTTP server library bridge and chooses the port.
// Created, started, stopped and torn down by the core (main-loop thread).
#pragma once

class ServerManager {
public:
    explicit ServerManager(bool enabled);
    virtual ~ServerManager();
    virtual bool create();
    virtual bool destroy();
    virtual bool start();
    virtual bool stop();

private:
    bool m_bEnabled;
};
