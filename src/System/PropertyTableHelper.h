// Table-driven control helper: methods that read or write one property each, plus shared steps.
#pragma once

#include <string>
#include <vector>

#include "JsonType.h"
#include "System/ControlHelperBase.h"
#include "System/TVControlPropType.h"

namespace common::json {
class JsonValue;
}

// One method served by a single integer or string property: the client's key in params and
// result, the framework's property name, and the property's kind (DYNF_PROPERTY_INT or
// DYNF_PROPERTY_STRING).
struct PropertyRow {
    DYNF_TVCONTROL_PROP_TYPE type;
    const char* key;
    const char* property;
    dynf_property_type_e kind;
};

// Serves the methods of its rows through the base's builders and readers: a read sends the
// placeholder and answers {key: value}; a write needs params[key], sends it and answers its
// params with one usage event. Types without a row go to the subclass's hooks (the defaults
// build nothing and fail a read). Also holds the steps the helpers of composite properties share.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class PropertyTableHelper : public ControlHelperBase {
public:
    explicit PropertyTableHelper(std::vector<PropertyRow> rows = {});
    ~PropertyTableHelper() override = default;
    // The row's property, or the subclass's properties; null for unusable params.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;
    // Settles refusals and writes (a succeeded write sends its usage event), then answers a read
    // of a row, or hands it to the subclass.
    void handleResult(const dynf_error& error, dynf_property_list_h result,
                      CmdRequest* request) override;

protected:
    // The row of type, or null.
    const PropertyRow* findRow(int type) const;
    // True when params hold key; otherwise false, recording nothing (nothing is built, so the
    // handler fails the write).
    static bool requireParam(const CmdRequest* request, const std::string& key);
    // A new list with one JSON-string property holding value's text.
    static dynf_property_list_h createJsonList(const std::string& name,
                                               const common::json::JsonValue& value);
    // The JSON text of the property name parsed into out. A missing property, or text that is
    // not a JSON value of that kind, fails the read (error index 3, result code 1).
    bool readJsonResult(dynf_property_list_h list, const std::string& name,
                        common::json::JsonType kind, common::json::JsonValue& out,
                        CmdRequest* request);

private:
    // The properties of a type without a row; null by default.
    virtual dynf_property_list_h _getCompositePropertyData(CmdRequest* request);
    // True when the answer is a read to parse; by default preHandleResult().
    virtual bool _acceptAnswer(const dynf_error& error, CmdRequest* request);
    // Fills the result of a read of a type without a row; by default the read fails.
    virtual void _handleCompositeResult(dynf_property_list_h result, CmdRequest* request);
    // The params member a succeeded write reports in its usage event; "" for none. By default
    // the row's key.
    virtual std::string _usageKey(const CmdRequest& request) const;
    void _handleRowResult(const PropertyRow& row, dynf_property_list_h result, CmdRequest* request);

    const std::vector<PropertyRow> m_rows;
};
