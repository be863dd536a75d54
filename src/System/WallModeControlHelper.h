// Wall mode control: the LED wall's ambient control, boxes and cabinets.
#pragma once

#include <string>

#include "System/ControlHelperBase.h"

// Serves "ambientControl" (string property "wallAmbient", client key "ambient") and the reads
// "getBoxStates" ("wallBoxStates", answered as {"boxes": [...]}), "getCabinetGroupIds"
// ("wallCabinetGroupIds", {"groupIds": [...]}) and "getCabinetStates" ("wallCabinetStates",
// {"cabinets": [...]}). The last takes params: "groupId" and "cabinetId" travel as the filter
// object in the read's value. Array entries are passed on as the framework gives them. The two
// reads without params refuse a write before any framework call.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class WallModeControlHelper : public ControlHelperBase {
public:
    WallModeControlHelper();
    ~WallModeControlHelper() override = default;
    // The ambient row's property, or a read's property with its placeholder ("[]", or the
    // filter). Null for another type or unusable params.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // A cabinet read carries params, so it is never taken for a write to echo.
    bool _acceptAnswer(const dynf_error& error, CmdRequest* request) override;
    // The ambient row, or the read's array under the client key; a property that is not a JSON
    // array fails the read.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // "ambient" for a write of it.
    std::string _usageKey(const CmdRequest& request) const override;
    // The filter of "getCabinetStates"; false (command failed) for unusable params.
    bool _buildCabinetFilter(CmdRequest* request, common::json::JsonValue& filter);

    const PropertyRows m_rows;
};
