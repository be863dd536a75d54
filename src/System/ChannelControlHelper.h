// Channel control: tuning a channel directly.
#pragma once

#include <string>

#include "System/ControlHelperBase.h"

// Serves "directChannelControl" through the integer properties "channelMajor" and
// "channelMinor", always sent together. A write takes params "major" (required) and "minor"
// (0 when absent), each a number or decimal text; a read answers {"major": n, "minor": m}.
// Ranges are the framework's to judge.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class ChannelControlHelper : public ControlHelperBase {
public:
    ~ChannelControlHelper() override = default;
    // Both channel properties: 0 and 0 for a read, the params for a write. Null for another type
    // or unusable params.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // Both numbers; a missing one fails the read.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // "major" for a write.
    std::string _usageKey(const CmdRequest& request) const override;
};
