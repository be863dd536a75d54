// The wall display's boxes and cabinets from the product profile, and the filter of a read.
#pragma once

#include <string>

typedef struct _JsonNode JsonNode;

namespace ipc_tv {

// A plain value of canonical JSON texts. Thread-safe: the functions share nothing.
struct WallStates {
    std::string boxes = "[]";     // [{"boxId", "power", "temperature", "error"}]
    std::string cabinets = "[]";  // [{"cabinetId", "groupId", "row", "column", "power",
                                  //   "temperature", "error"}]
    std::string groupIds = "[]";  // the cabinets' groups, in order of first appearance
};

// Reads the profile's {"boxes": [...], "cabinets": [...]}: distinct non-empty ids, a group for
// every cabinet, rows and columns from 1 on with one cabinet per place, power "on" or "off",
// an integer temperature (°C) and an optional error text. False with error when refused.
bool readWallStates(JsonNode* node, WallStates& wall, std::string& error);
// The cabinets of a canonical list that match a filter object: its "groupId" and "cabinetId"
// members, where present, must both match. A filter that is not an object, or has neither
// member, keeps every cabinet.
std::string cabinetsMatching(const std::string& cabinets, const std::string& filter);

}  // namespace ipc_tv
