// The virtual TV's configuration: the "tv" section of the product profile.
#pragma once

#include <map>
#include <set>
#include <string>

#include "PropertySchema.h"
#include "PropertyValue.h"
#include "TvKnobs.h"

namespace ipc_tv {

// A plain value. Not thread-safe: one thread at a time.
struct TvConfig {
    std::map<std::string, PropertyValue> initial;  // values of a first start, over the defaults
    int ambientType = 0;                           // what the power interface reports
    std::set<std::string> unsupported;             // properties this product does not have
    TvKnobs knobs;                                 // the knobs at start

    // Reads the section's JSON text (empty: no section, everything default). Members: "initial"
    // (object: property name to value), "ambientType" (integer), "unsupported" (array of
    // property names), "knobs" (object, see TvKnobs::apply). False with error naming the member
    // when a member is unknown, a name is not in the schema or a value does not fit.
    bool parse(const std::string& text, const PropertySchema& schema, std::string& error);
};

}  // namespace ipc_tv
