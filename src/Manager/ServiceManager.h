// Request pipeline: verifies each JSON-RPC request and queues accepted ones as commands.
// Created, initialised and torn down by the core (main-loop thread).
#pragma once

class ServiceManager {
public:
    virtual ~ServiceManager();
    virtual bool create();
    virtual bool destroy();
};
