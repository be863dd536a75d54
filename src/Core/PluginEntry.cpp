// The plug-in's two exported entry points; everything else stays hidden.
#include "Core/IPControlProtocol.h"

extern "C" __attribute__((visibility("default"))) bool CreatePlugin() {
    IPControlProtocol::get().Init();
    return true;
}

extern "C" __attribute__((visibility("default"))) bool DestroyPlugin() {
    IPControlProtocol::get().Deinit();
    return true;
}
