// Wall mode control: the LED wall's ambient control, boxes and cabinets.
#pragma once

#include "System/PropertyTableHelper.h"

// Serves "ambientControl" (string property "wallAmbient", client key "ambient") and the reads
// "getBoxStates" ("wallBoxStates", answered as {"boxes": [...]}), "getCabinetGroupIds"
// ("wallCabinetGroupIds", {"groupIds": [...]}) and "getCabinetStates" ("wallCabinetStates",
// {"cabinets": [...]}). The last takes params: "groupId" and "cabinetId" travel as the filter
// object in the read's value. Array entries are passed on as the framework gives them. The two
// reads without params refuse a write before any framework call.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class WallModeControlHelper : public PropertyTableHelper {
public:
    WallModeControlHelper();
    ~WallModeControlHelper() override = default;

private:
    // A read's property with its placeholder ("[]", or the filter). Null for another type or
    // unusable params.
    dynf_property_list_h _getCompositePropertyData(CmdRequest* request) override;
    // A cabinet read carries params, so it is never taken for a write to echo.
    bool _acceptAnswer(const dynf_error& error, CmdRequest* request) override;
    // The read's array under the client key; a property that is not a JSON array fails the read.
    void _handleCompositeResult(dynf_property_list_h result, CmdRequest* request) override;
    // The filter of "getCabinetStates"; false (command failed) for unusable params.
    bool _buildCabinetFilter(CmdRequest* request, common::json::JsonValue& filter);
};
