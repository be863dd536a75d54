// Product facts read from the platform's feature configuration.
#include "SystemInfoUtil.h"

#include "Log.h"
#include "system_info.h"

int SystemInfoUtil::GetTVYear() {
    int year = -1;
    if (system_info_get_custom_int(SYSTEM_INFO_VENDOR_PREFIX "featureconf/product.tv_year",
                                   &year) != SYSTEM_INFO_ERROR_NONE) {
        LOGE("FMS tv_year failed to read");
        return -1;
    }
    return year;
}
