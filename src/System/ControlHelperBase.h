// What every control helper shares: the error policy, property builders and readers, KPI events.
#pragma once

#include <map>
#include <string>

#include "System/IControlHelper.h"

// Base of the concrete helpers. A helper that builds no properties (the base itself, or a domain
// not served yet) makes every command of its methods fail in the handler, and a result that
// reaches it anyway fails the command rather than answering with nothing.
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
    // A read that nobody parses fails (error index 3, result code 3); errors and writes are
    // settled by preHandleResult().
    void handleResult(const dynf_error& error, dynf_property_list_h result,
                      CmdRequest* request) override;

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
