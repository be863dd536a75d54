// The parts of a UPnP device description that discover shows: the device's name and model.
#pragma once

#include <chrono>
#include <string>

// A plain value; fetch blocks the calling thread (it runs its own main context iterations).
struct DeviceDescription {
    std::string friendlyName;
    std::string modelName;

    // Reads the description at the http URL location; false with a one-line error when it
    // cannot be fetched or has no device element.
    static bool fetch(const std::string& location, std::chrono::milliseconds timeout,
                      DeviceDescription& description, std::string& error);
};
