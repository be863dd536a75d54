// A stand-in for the HTTP server library: records every call so the bridge can be checked
// without sockets. Built once complete and once without ipsvr_setCallback.
#include <cstring>
#include <string>

namespace {
std::string g_calls;
}

extern "C" {

__attribute__((visibility("default"))) const char* fake_server_calls() {
    return g_calls.c_str();
}

__attribute__((visibility("default"))) int ipsvr_start(unsigned short port) {
    g_calls += "start " + std::to_string(port) + ";";
    return 0;
}

__attribute__((visibility("default"))) int ipsvr_stop() {
    g_calls += "stop;";
    return 0;
}

__attribute__((visibility("default"))) int ipsvr_sendResponse(unsigned int id, const char* text,
                                                              bool denied) {
    g_calls += "send " + std::to_string(id) + " " + text + (denied ? " denied;" : ";");
    return 0;
}

__attribute__((visibility("default"))) int ipsvr_getPeerMacAddr(unsigned int, char* out) {
    strcpy(out, "aa:bb:cc:dd:ee:ff");
    return 0;
}

#ifndef FAKE_WITHOUT_SET_CALLBACK
__attribute__((visibility("default"))) int ipsvr_setCallback(void (*)(unsigned, const char*, void*),
                                                             void*) {
    g_calls += "callback;";
    return 0;
}
#endif

}  // extern "C"
