// Entry points of the IP-control device for UPnPDeviceManager.
#include "IPControlDeviceApi.h"

#include "IPControlDevice.h"
#include "Log.h"

namespace ip_control {

namespace {
bool g_started = false;  // set by a successful start, cleared by any stop; under the caller's lock
}

bool initializeIPControlDevice() {
    LOGI("initialize.");
    return IPControlDevice::GetInstance()->initialize();
}

void finalizeIPControlDevice() {
    LOGI("destroy device.");
    IPControlDevice::GetInstance()->terminate();
}

bool startIPControlDevice(bool resume) {
    if (g_started) {
        LOGI("Device already in started state");
        return true;
    }
    if (!IPControlDevice::GetInstance()->start(resume)) {
        LOGE("startIPControl() failed");
        return false;
    }
    LOGI("IPControlServer device started");
    g_started = true;
    return true;
}

bool stopIPControlDevice(bool suspend) {
    LOGI("Before stopIPControl()");
    const bool stopped = IPControlDevice::GetInstance()->stop(suspend);
    LOGI("ip control device stopped");
    g_started = false;
    return stopped;
}

int createUPnPDevice() {
    if (!initializeIPControlDevice())
        return 1;
    return startIPControlDevice(false) ? 0 : 1;
}

void destroyUPnPDevice() {
    if (g_started && !stopIPControlDevice(false)) {
        LOGE("Failed to stop Device");
        return;
    }
    finalizeIPControlDevice();
    LOGI("stop done");
}

}  // namespace ip_control
