// Multi-view control: several sources on screen at once.
#pragma once

#include <string>

#include "System/ControlHelperBase.h"

// Serves "multiviewControl" through the JSON property "multiView" ({"on", "layout", "sources"}).
// A write takes "multiView" ("on" or "off", required), "layout" (text) and "sources" (an array
// of texts), the last two optional and sent only when given; whether layout and sources fit is
// the framework's to judge. A read answers {"multiView": "on"|"off", "layout", "sources"}.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class MultiViewControlHelper : public ControlHelperBase {
public:
    ~MultiViewControlHelper() override = default;
    // "{}" for a read, the JSON built from the params for a write; null for another type or
    // unusable params.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // The state in client words; a state that is not an object with a boolean "on" fails the
    // read.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // "multiView" for a write.
    std::string _usageKey(const CmdRequest& request) const override;
    // The property's value for a write; false (command failed) for unusable params.
    bool _buildChoice(CmdRequest* request, common::json::JsonValue& choice);
};
