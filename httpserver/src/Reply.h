// What the server sends back for one request.
#pragma once

#include <string>
#include <utility>

namespace ipsvr {

// A status line with its body, or no answer at all when the peer is gone and the connection is
// only to be closed. Plain value, no thread contract.
struct Reply {
    unsigned int status = 0;
    std::string body;
    bool json = false;  // adds "Content-Type: application/json"
    bool drop = false;  // close the connection without answering
    bool last = false;  // the last answer on its connection ("Connection: close")

    static Reply answer(std::string text) { return {200, std::move(text), true, false, false}; }
    // A refusal carries the caller's text; it is JSON when there is any.
    static Reply refusal(std::string text) {
        bool json = !text.empty();
        return {403, std::move(text), json, false, false};
    }
    static Reply withStatus(unsigned int code) { return {code, {}, false, false, false}; }
    static Reply dropped() { return {0, {}, false, true, false}; }
};

}  // namespace ipsvr
