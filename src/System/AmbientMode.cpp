// The ambient state that decides whether screen-sensitive writes are refused.
#include "System/AmbientMode.h"

#include "Log.h"
#include "System/SystemApi.h"
#include "device_power.h"

namespace ambientmode {

namespace {
// The ambient type of an Easel TV that shows art.
const int kEaselArtAmbientType = 4;
}  // namespace

bool refusesWrites(bool ambientScreenSupported, bool easelTv) {
    bool ambient = false;
    if (ambientScreenSupported ||
        (easelTv && device_power_get_ambient_type() == kEaselArtAmbientType)) {
        ambient = SystemApi::getInstance().isAmbientMode();
    }
    LOGI("bAmbientMode:%d", ambient);
    return ambient;
}

}  // namespace ambientmode
