// A control helper whose every method reads or writes one property of its table.
#pragma once

#include <string>

#include "System/ControlHelperBase.h"

// Serves the methods of its rows through the base's row steps: a read sends the placeholder and
// answers {key: value}; a write needs params[key], sends it and answers its params with one usage
// event. Helpers that also serve composite properties hold a PropertyRows of their own instead.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class PropertyTableHelper : public ControlHelperBase {
public:
    explicit PropertyTableHelper(PropertyRows rows);
    ~PropertyTableHelper() override = default;
    // The row's property: "" or 0 for a read, params[key] for a write (null when it lacks key).
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    std::string _usageKey(const CmdRequest& request) const override;

    const PropertyRows m_rows;
};
