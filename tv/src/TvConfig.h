// The virtual TV's configuration: the "tv" section of the product profile.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "AppCatalogue.h"
#include "PropertySchema.h"
#include "PropertyValue.h"
#include "TvKnobs.h"
#include "WallStates.h"

namespace ipc_tv {

// A plain value. Not thread-safe: one thread at a time.
struct TvConfig {
    std::map<std::string, PropertyValue> initial;  // values of a first start, over the defaults
    int ambientType = 0;                           // what the power interface reports
    std::set<std::string> unsupported;             // properties this product does not have
    TvKnobs knobs;                                 // the knobs at start
    int hdmiCount = 4;                             // inputs HDMI1 to HDMI<n>
    std::vector<std::string> extendedSources;      // names of the other sources ("AV")
    std::vector<std::string> pictureModes;         // empty: the schema's
    std::vector<std::string> soundModes;           // empty: the schema's
    AppCatalogue apps;
    bool artMode = false;          // an easel TV's art mode; without it "artMode" is unsupported
    bool multiView = false;        // multi-view: without it "multiView" is unsupported
    bool displayRotation = false;  // the screen turns; without it "displayRotation" is unsupported
    bool wall = false;      // a wall display; without it the wall's properties are unsupported
    WallStates wallStates;  // its boxes and cabinets

    // Reads the section's JSON text (empty: no section, everything default). Members: "initial"
    // (object: property name to value), "ambientType" (integer), "unsupported" (array of
    // property names), "knobs" (object, see TvKnobs::apply), "hdmiCount" (1 to 8),
    // "extendedSources", "pictureModes", "soundModes" (arrays of distinct non-empty strings),
    // "speakers" and "usbDevices" (the connected devices at first start, see
    // ConnectedDevices.h), "apps" (see AppCatalogue::parse), "artMode", "multiView" and
    // "displayRotation" (bools), "wall" (see readWallStates).
    // False with error naming the member when a member is unknown, a name is not in the schema
    // or a value does not fit.
    bool parse(const std::string& text, const PropertySchema& schema, std::string& error);
    // The schema with this product's domains (modes, inputs).
    PropertySchema productSchema(const PropertySchema& base) const;
    // The properties this product does not have, with those of the capabilities it lacks.
    std::set<std::string> unsupportedNames() const;
};

}  // namespace ipc_tv
