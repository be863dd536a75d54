// Brings the platform UPnP library's core up and down.
#include "UpnpCore.h"

#include "Log.h"
#include "ucf.h"

namespace ip_control {

namespace {
constexpr int kTcpPort = 9110;
constexpr int kMulticastPort = 1900;
constexpr int kUpnpVersion = 4;
}  // namespace

bool UpnpCore::init() {
    if (ucf_init_framework_core() != 0) {
        LOGE("InitFrameworkCore failed");
        return false;
    }
    if (ucf_configure_servers(kTcpPort, kMulticastPort, 0) != 0) {
        LOGE("ConfigureServers failed");
        return false;
    }
    if (ucf_configure_application_on_all_interfaces() != 0) {
        LOGE("ConfigureApplicationOnAllInterfaces failed");
        return false;
    }
    if (ucf_start_framework_core() != 0) {
        LOGE("StartFrameworkCore failed");
        return false;
    }
    if (ucf_start_network_monitor() != 0) {
        LOGE("StartNetworkMonitor failed");
        return false;
    }
    if (ucf_initialize_upnp(kUpnpVersion) != 0) {
        LOGE("InitializeUPnP failed");
        return false;
    }
    return true;
}

bool UpnpCore::finit() {
    bool ok = true;
    if (ucf_terminate_upnp() != 0) {
        LOGE("TerminateUPnP() failed");
        ok = false;
    }
    if (ucf_stop_network_monitor() != 0) {
        LOGE("StopNetworkMonitor() failed");
        ok = false;
    }
    if (ucf_stop_framework_core() != 0) {
        LOGE("StopFrameworkCore() failed");
        ok = false;
    }
    if (ucf_terminate_framework_core() != 0) {
        LOGE("TerminateFrameworkCore() failed");
        ok = false;
    }
    return ok;
}

}  // namespace ip_control
