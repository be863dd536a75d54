// Power control: reads the TV's power state and switches it on, off or into a reboot.
#pragma once

#include <string>

#include "System/ControlHelperBase.h"

// Serves "powerControl" through the framework's string property "powerValue", translating the
// client's words ("powerOn", "powerOff", "reboot") to the framework's ("on", "off", "reboot")
// and back. A value outside that vocabulary is refused in both directions.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class PowerControlHelper : public ControlHelperBase {
public:
    PowerControlHelper();
    ~PowerControlHelper() override = default;
    // "powerValue" with "" for a read, the translated params member "power" for a write; null
    // for a value outside the vocabulary.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // A read answers {"power": <client word>}.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // "power", for reads as for writes.
    std::string _usageKey(const CmdRequest& request) const override;
    dynf_property_h _getPropertyDataInternal(CmdRequest* request);
    void _handlePowerResult(dynf_property_h property, CmdRequest* request);

    const std::string m_propertyName;  // the framework's power property
};
