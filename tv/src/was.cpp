// The platform's application-title lookup, answered from the running TV's catalogue.
#include "was.h"

#include <cstring>

#include "CurrentTv.h"
#include "VirtualTv.h"

extern "C" int was_get_appid_by_runtitle(const char* run_title, char** app_id) {
    if (run_title == nullptr || app_id == nullptr) {
        return -1;
    }
    const std::shared_ptr<ipc_tv::VirtualTv> tv = ipc_tv::currentTv();
    if (tv == nullptr) {
        return -2;  // the TV is not started
    }
    const ipc_tv::App* app = tv->apps().findByRunTitle(run_title);
    if (app == nullptr) {
        return -3;
    }
    *app_id = strdup(app->id.c_str());
    return *app_id != nullptr ? 0 : -4;
}
