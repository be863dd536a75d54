// Source control: the input source and the choice among connected USB devices.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "inputSourceControl" and "USBSourceControl". The client's "inputSource" travels as the
// framework's "inputSource" for "TV" (sent as "dtv") and any text containing "HDMI", and as
// "extendedSource" for every other text but "USB", which is refused. A read answers the extended
// source when one is set, else the input source.
//
// "USBSourceControl" (a shape chosen for client developers) reads "connectedExtendedSourceList"
// into an array with one {"deviceName", "deviceId", "source": "USB", "available", "errorCode"}
// per entry that is an object. "available" is false when the entry is marked "unavailable" or
// has a non-zero "errorCode", which is kept (0 when absent) to say why; "uniqueKey" is dropped.
// No device, or a framework error (the read is let through), answers []; a list that is not a
// JSON array fails the read. A choice sends back the same {"deviceName", "deviceId"}, both
// required; its usage event is "deviceName", and a USB read sends none.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class SourceControlHelper : public ControlHelperBase {
public:
    ~SourceControlHelper() override = default;
    // A read asks for both source properties (or the USB list); a write sends the one property
    // the vocabulary picks. Null for "USB", a USB choice without both fields, unusable params or
    // another type.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

    // The client's word for a framework input ("dtv" is "TV"), and back; other words are the
    // same on both sides. Every method that names inputs uses these.
    static std::string toClientSource(const std::string& framework);
    static std::string toFrameworkSource(const std::string& client);

private:
    // A read answers {"inputSource": ...} or the USB list.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // "inputSource" for reads and writes, "deviceName" for a USB choice; a USB read reports none.
    std::string _usageKey(const CmdRequest& request) const override;
    dynf_property_list_h _getInputSourcePropertyInternal(CmdRequest* request);
    dynf_property_list_h _getUSBSourcePropertyInternal(CmdRequest* request);
    void _handleInputSourceResult(dynf_property_list_h result, CmdRequest* request);
    void _handleUSBSourceResult(dynf_property_list_h result, CmdRequest* request);
};
