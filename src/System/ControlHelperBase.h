// What every control helper shares: the error policy, property builders and readers, KPI events.
#pragma once

#include <map>
#include <string>

#include "JsonType.h"
#include "System/IControlHelper.h"
#include "System/PropertyRows.h"

namespace common::json {
class JsonValue;
}

// Base of the concrete helpers, and the one result path they all take: handleResult() settles
// refusals and writes, hands a read to the helper's reader, then sends the usage event of a
// command that succeeded. Helpers fill in the steps (_acceptAnswer, _readAnswer, _usageKey,
// _sendKPILog); none of them answers a result its own way. A helper that builds no properties
// makes every command of its methods fail in the handler, and a read that reaches a helper
// without a reader fails rather than answering with nothing.
//
// The builders read the command's params without changing them. A value they cannot use builds
// nothing, so the handler fails the command as a refused write ("Failed"); no operation throws.
//
// Stateless: builders run on the worker thread, readers and handleResult() on the framework's
// callback thread.
class ControlHelperBase : public IControlHelper {
public:
    ~ControlHelperBase() override = default;
    // Null: the base knows no property.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;
    // _acceptAnswer(), then _readAnswer() for a read; then, when the framework carried the
    // command out (error 0) and no failure was recorded, _sendKPILog(). No usage event follows
    // an error, not even one the helper answers itself (an empty speaker or USB list).
    void handleResult(const dynf_error& error, dynf_property_list_h result,
                      CmdRequest* request) final;

    // First step of every handleResult(). A refused error is recorded (handleError) and a write
    // is answered with its own params without "AccessToken"; both give false. True: a read whose
    // answer the helper parses.
    bool preHandleResult(const dynf_error& error, CmdRequest* request);
    // Records a framework error in the command: 1 or 2 → error index 3, result code 1;
    // 4 → 10 ("Invalid params"), 4; 5 → 8 ("Invalid Request"), 4; any other → 4, 3.
    static void handleError(const dynf_error& error, CmdRequest* request);
    // The string value of property; false when it has none.
    static bool readStringProperty(dynf_property_h property, std::string& out);

protected:
    // True when the answer is a read for _readAnswer(); by default preHandleResult().
    virtual bool _acceptAnswer(const dynf_error& error, CmdRequest* request);
    // Fills the result of a read from the framework's list (which may be null). By default the
    // read fails (error index 3, result code 3): nobody parses it.
    virtual void _readAnswer(dynf_property_list_h result, CmdRequest* request);
    // The result member a command that succeeded reports in its "COMMAND" event; "" for none.
    virtual std::string _usageKey(const CmdRequest& request) const;
    // The usage event of a command that succeeded; by default the "COMMAND" event of
    // _usageKey() with that result member as its value.
    virtual void _sendKPILog(CmdRequest* request);

    // True when the error is 0; reads of "USBSourceControl" and "externalSpeakerControl" are
    // always allowed, because their helpers answer failures themselves.
    static bool _allowErrorCase(const dynf_error& error, const CmdRequest* request);

    // The property of that name in list; when missing the command fails (framework error 2).
    dynf_property_h getPropertyHandle(dynf_property_list_h list, const std::string& name,
                                      CmdRequest* request);
    // A new list with one integer property: params[key] for a write, 0 for a read.
    dynf_property_list_h getPropertyDataInternalInt(CmdRequest* request, const std::string& key,
                                                    const std::string& propertyName);
    // The same property pushed onto an existing list; false when nothing was pushed.
    bool addPropertyDataInternalInt(dynf_property_list_h list, CmdRequest* request,
                                    const std::string& key, const std::string& propertyName);
    // A new list with one string property: params[key] for a write, "" for a read.
    dynf_property_list_h getPropertyDataInternalString(CmdRequest* request, const std::string& key,
                                                       const std::string& propertyName);
    // A new list holding property, which it takes over; null (property freed) on failure.
    static dynf_property_list_h createList(dynf_property_h property);
    // Pushes property onto list, which takes it over; frees it when the push fails.
    static bool pushProperty(dynf_property_list_h list, dynf_property_h property);

    // params[key] as an integer: a JSON integer, or text as the C library's decimal conversion
    // reads it (" 14" and "14abc" are 14), that fits an int. Anything else (no digit, a
    // fraction, a boolean, a missing member) gives false and records nothing.
    static bool readIntParam(const CmdRequest* request, const std::string& key, int& out);
    // params[key] as text (numbers and booleans in their JSON spelling, absent as ""). Objects
    // and arrays give false and record nothing.
    static bool readStringParam(const CmdRequest* request, const std::string& key,
                                std::string& out);
    // True when params hold key; otherwise false, recording nothing (nothing is built, so the
    // handler fails the write).
    static bool requireParam(const CmdRequest* request, const std::string& key);
    // A new list with one JSON-string property holding value's text.
    static dynf_property_list_h createJsonList(const std::string& name,
                                               const common::json::JsonValue& value);
    // For a method that only reads: true (and the command failed, error index 4, result code 3)
    // when the command is a write.
    static bool refuseWrite(CmdRequest* request);

    // The string value of the property of that name; a missing one leaves out unchanged and
    // records nothing.
    bool handleStringResult(dynf_property_list_h list, const std::string& name, std::string& out,
                            CmdRequest* request);
    // The property's JSON text, an array of strings, stored in the result under key with each
    // element replaced by its entry in translations when it has one. False when the property is
    // missing or does not hold such an array (the result is left as it was).
    bool handleJsonStringArrayResult(dynf_property_list_h list, const std::string& name,
                                     const std::string& key, CmdRequest* request,
                                     const std::map<std::string, std::string>& translations);

    // The JSON text of the property name parsed into out. A missing property, or text that is
    // not a JSON value of that kind, fails the read (error index 3, result code 1).
    bool readJsonResult(dynf_property_list_h list, const std::string& name,
                        common::json::JsonType kind, common::json::JsonValue& out,
                        CmdRequest* request);

    // The steps of the methods served by one row of rows: the row's property (a write needs
    // params[key]; null without a row or with unusable params), the read answered as
    // {key: value} (a missing property, or a type without a row, fails it), and the key a
    // write reports ("" for a read or without a row).
    dynf_property_list_h getRowPropertyData(const PropertyRows& rows, CmdRequest* request);
    void handleRowResult(const PropertyRows& rows, dynf_property_list_h result,
                         CmdRequest* request);
    static std::string rowUsageKey(const PropertyRows& rows, const CmdRequest& request);

    // The value of the property of that name. A missing property, or one of another kind, fails
    // the command (framework error 2: error index 3, result code 1) and gives false.
    bool findIntProperty(dynf_property_list_h list, const std::string& name, int& out,
                         CmdRequest* request);
    bool findBoolProperty(dynf_property_list_h list, const std::string& name, bool& out,
                          CmdRequest* request);
    bool findStringProperty(dynf_property_list_h list, const std::string& name, std::string& out,
                            CmdRequest* request);

    // One "COMMAND" usage event for the command with the given property name and value.
    void sendKPILog(const std::string& propertyName, const std::string& propertyValue,
                    CmdRequest* request);
};
