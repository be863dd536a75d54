// The virtual TV's knobs for testing clients: latency, forced failures, service availability.
#pragma once

#include <string>

#include "dynf.h"

typedef struct _JsonNode JsonNode;

namespace ipc_tv {

// A plain value. Not thread-safe: one thread at a time.
struct TvKnobs {
    static constexpr unsigned int kMaxDelayMs = 60000;

    unsigned int latencyMs = 0;  // every result comes this much later...
    unsigned int jitterMs = 0;   // ...plus up to this much more, drawn per request
    unsigned int rebootMs = 3000;
    unsigned int failNextCount = 0;  // the next requests answered with failNextError, counted when
                                     // accepted (before the latency), so a test knows which fail
    dynf_error failNextError = DYNF_ERROR_UNKNOWN;
    bool tvServiceAvailable = true;    // else status 1 to subscribers and error 2 to requests
    bool wallServiceAvailable = true;  // else error 2 for the wall's properties

    // The members of a JSON object applied onto these knobs: latencyMs, jitterMs and rebootMs
    // (0 to 60000), failNext {count (0 or more), error (1 or more; default 1)},
    // tvServiceAvailable and wallServiceAvailable (bools). Members left out keep their value.
    // False with error set, and nothing changed, when the node is not such an object.
    bool apply(JsonNode* node, std::string& error);
    // The knobs as a JSON object; the caller owns the node.
    JsonNode* toJson() const;
};

}  // namespace ipc_tv
