// Recording stand-in for the platform UPnP library, linked in place of it by the tests.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ucf.h"

namespace fakeucf {

struct Response {
    int status;
    std::string body;
    void* context;
};

struct State {
    std::vector<std::string> calls;      // operation names in call order
    std::map<std::string, int> results;  // operation name -> result to return (default 0)
    std::map<std::string, ucf_action_request_cb> actionHandlers;  // by service type
    std::map<std::string, ucf_subscribe_cb> subscribeHandlers;    // by service type
    std::vector<Response> responses;
    std::vector<std::string> initialEvents;    // "eventUrl|sid|body"
    std::vector<std::string> multicastEvents;  // bodies
};

// Cleared by reset(); tests run on one thread.
State& state();
void reset();
bool called(const std::string& name);

}  // namespace fakeucf
