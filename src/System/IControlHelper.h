// Interface of a control helper: builds a method's property list and reads the framework's answer.
#pragma once

#include "dynf.h"

struct CmdRequest;

// One TV-control domain (power, sound, picture, ...). getPropertyData() runs on the worker thread,
// handleResult() on the framework's callback thread; helpers keep no per-command state, so one
// instance serves both threads without a lock.
class IControlHelper {
public:
    virtual ~IControlHelper() = default;
    // A new property list for the command, which the caller hands to the framework; null when
    // the command cannot be turned into properties (the reason may be recorded in the command).
    virtual dynf_property_list_h getPropertyData(CmdRequest* request) = 0;
    // Fills the command's result or error fields from the framework's answer. result is owned by
    // the framework and may be null.
    virtual void handleResult(const dynf_error& error, dynf_property_list_h result,
                              CmdRequest* request) = 0;
};
