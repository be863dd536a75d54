// Power interface: the ambient mode and type, kept in memory for the process.
#include "device_power.h"

#include <atomic>

namespace {
std::atomic<int> g_ambientMode{DEVICE_POWER_AMBIENT_OFF};
std::atomic<int> g_ambientType{0};
}  // namespace

extern "C" {

int device_power_get_ambient_mode(void) {
    return g_ambientMode.load();
}

int device_power_get_ambient_type(void) {
    return g_ambientType.load();
}

void device_power_set_ambient_mode(int mode) {
    g_ambientMode.store(mode);
}

void device_power_set_ambient_type(int type) {
    g_ambientType.store(type);
}

}  // extern "C"
