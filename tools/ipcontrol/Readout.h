// The human form of the TV's answers: "Volume 20", "Power off (standby)", or aligned lines of
// labels and values for answers with several members.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "JsonValue.h"

// Collects rows from results and prints them. A plain value; used on the main thread.
class Readout {
public:
    // Adds one row per member of result: known members first, in a fixed order and with
    // their labels, then any others under their own names. A result that is not an object
    // becomes one row of its JSON text.
    void add(const common::json::JsonValue& result);
    // The rows, values aligned one column after the longest label; "" when there are none.
    std::string text() const;

private:
    std::vector<std::pair<std::string, std::string>> m_rows;
};
