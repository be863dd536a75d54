// A stand-in for the HTTP server library: records every call so the bridge can be checked
// without sockets. Built once complete and once without ipsvr_setCallback.
#include <cstring>
#include <string>

#include "ipsvr.h"  // so that the stand-in keeps the library's signatures

namespace {
std::string g_calls;
}

extern "C" {

__attribute__((visibility("default"))) const char* fake_server_calls() {
    return g_calls.c_str();
}

IPSVR_EXPORT int ipsvr_start(unsigned short port) {
    g_calls += "start " + std::to_string(port) + ";";
    return 0;
}

IPSVR_EXPORT int ipsvr_stop(void) {
    g_calls += "stop;";
    return 0;
}

IPSVR_EXPORT int ipsvr_sendResponse(unsigned int id, const char* text, bool denied) {
    g_calls += "send " + std::to_string(id) + " " + text + (denied ? " denied;" : ";");
    return 0;
}

IPSVR_EXPORT int ipsvr_getPeerMacAddr(unsigned int, char* out) {
    strcpy(out, "aa:bb:cc:dd:ee:ff");
    return 0;
}

#ifndef FAKE_WITHOUT_SET_CALLBACK
IPSVR_EXPORT int ipsvr_setCallback(ipsvr_request_cb, void*) {
    return 0;
}
#endif

}  // extern "C"
