// Recording stand-in for the platform UPnP library, linked in place of it by the tests.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ucf.h"

namespace fakeucf {

struct State {
    std::vector<std::string> calls;      // operation names in call order
    std::map<std::string, int> results;  // operation name -> result to return (default 0)
    std::map<std::string, ucf_subscribe_cb> subscribeHandlers;  // by service type
    std::vector<std::string> initialEvents;                     // "eventUrl|sid|body"
    std::vector<std::string> multicastEvents;                   // bodies
};

// Cleared by reset(); tests run on one thread.
State& state();
void reset();
// How often the operation was called.
long count(const std::string& name);
inline bool called(const std::string& name) {
    return count(name) > 0;
}

}  // namespace fakeucf
