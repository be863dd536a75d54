// Bridge to the HTTP server library.
#include "Server/external/IPControlServerWrapper.h"

#include <dlfcn.h>
#include <mutex>

#include "Log.h"
#include "ipsvr.h"

// The types come from the library's header, so that a change of a signature there breaks this
// build rather than a call at run time; the functions themselves are looked up with dlsym.
struct IPControlServerDelegator {
    decltype(&::ipsvr_start) ipsvr_start;
    decltype(&::ipsvr_stop) ipsvr_stop;
    decltype(&::ipsvr_sendResponse) ipsvr_sendResponse;
    decltype(&::ipsvr_getPeerMacAddr) ipsvr_getPeerMacAddr;
    decltype(&::ipsvr_setCallback) ipsvr_setCallback;
    // Optional: the port the server listens on, for a server started on port 0. Null when the
    // library does not offer it.
    decltype(&::ipsvr_getPort) ipsvr_getPort;
};

namespace {

const char* const kLibraryName = "libipcontrol-http-server.so";
// Holds "aa:bb:cc:dd:ee:ff" and its terminator with room to spare.
constexpr size_t kMacBufferSize = 64;
static_assert(kMacBufferSize >= IPSVR_MAC_BUFFER_SIZE, "the library writes a whole MAC address");

IPControlServerDelegator g_delegator = {};

const char* const kSymbolNames[] = {"ipsvr_start", "ipsvr_stop", "ipsvr_sendResponse",
                                    "ipsvr_getPeerMacAddr", "ipsvr_setCallback"};

// Gives slot the symbol dlsym found, typed as the header declares the function.
template <typename Function>
void bindSymbol(void* symbol, Function& slot) {
    slot = reinterpret_cast<Function>(symbol);
}

}  // namespace

IPControlServerWrapper::IPControlServerWrapper(std::string libraryPath)
    : m_libraryPath(std::move(libraryPath)), m_handle(nullptr) {}

IPControlServerWrapper::~IPControlServerWrapper() {
    std::unique_lock<std::shared_mutex> lock(m_mutex);
    unloadLibrary();
}

std::string IPControlServerWrapper::defaultLibraryPath() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void*>(&IPControlServerWrapper::defaultLibraryPath), &info) == 0 ||
        info.dli_fname == nullptr) {
        return kLibraryName;
    }
    std::string self = info.dli_fname;
    size_t slash = self.rfind('/');
    return slash == std::string::npos ? kLibraryName : self.substr(0, slash + 1) + kLibraryName;
}

bool IPControlServerWrapper::loadLibrary() {
    LOGI("ipcontrol server library : %s", m_libraryPath.c_str());
    if (m_handle != nullptr) {
        return true;
    }
    m_handle = dlopen(m_libraryPath.c_str(), RTLD_NOW);
    if (m_handle == nullptr) {
        LOGE("Failed to read ipcontrol server shared lib : %s", dlerror());
        return false;
    }
    LOGI("dlopen success!!");
    return true;
}

bool IPControlServerWrapper::setupDelegator() {
    if (m_handle == nullptr) {
        return false;
    }
    void* symbols[5];
    bool complete = true;
    for (size_t i = 0; i < 5; ++i) {
        symbols[i] = dlsym(m_handle, kSymbolNames[i]);
        complete = complete && symbols[i] != nullptr;
    }
    if (!complete) {
        LOGE("Failed to load ipcontrol server symbols");
        for (size_t i = 0; i < 5; ++i) {
            if (symbols[i] == nullptr) {
                LOGE("failed symbol : %s", kSymbolNames[i]);
            }
        }
        unloadLibrary();
        return false;
    }
    bindSymbol(symbols[0], g_delegator.ipsvr_start);
    bindSymbol(symbols[1], g_delegator.ipsvr_stop);
    bindSymbol(symbols[2], g_delegator.ipsvr_sendResponse);
    bindSymbol(symbols[3], g_delegator.ipsvr_getPeerMacAddr);
    bindSymbol(symbols[4], g_delegator.ipsvr_setCallback);
    bindSymbol(dlsym(m_handle, "ipsvr_getPort"), g_delegator.ipsvr_getPort);
    LOGI("symbol loading success!!");
    return true;
}

void IPControlServerWrapper::unloadLibrary() {
    if (m_handle != nullptr) {
        dlclose(m_handle);
        m_handle = nullptr;
    }
    g_delegator = {};
}

const IPControlServerDelegator& IPControlServerWrapper::getDelegator() {
    return g_delegator;
}

int IPControlServerWrapper::start(unsigned short port) {
    std::unique_lock<std::shared_mutex> lock(m_mutex);
    loadLibrary();
    setupDelegator();
    if (m_handle == nullptr) {
        LOGE("Server Library is NULL!!");
        return -1;
    }
    return g_delegator.ipsvr_start(port);
}

unsigned short IPControlServerWrapper::getPort() {
    std::shared_lock<std::shared_mutex> lock(m_mutex);
    const int port = m_handle != nullptr && g_delegator.ipsvr_getPort != nullptr
                         ? g_delegator.ipsvr_getPort()
                         : 0;
    return port > 0 ? static_cast<unsigned short>(port) : 0;
}

int IPControlServerWrapper::stop() {
    decltype(&ipsvr_stop) stopServer = nullptr;
    {
        std::shared_lock<std::shared_mutex> lock(m_mutex);
        if (m_handle == nullptr) {
            LOGE("Server Library is NULL!!");
            return -1;
        }
        stopServer = g_delegator.ipsvr_stop;
    }
    // Stopping joins the library's thread, which may be inside a call that holds the shared
    // lock; so stop first, then wait for the calls in flight and unload.
    int result = stopServer();
    std::unique_lock<std::shared_mutex> lock(m_mutex);
    unloadLibrary();
    return result;
}

int IPControlServerWrapper::sendResponse(unsigned int clientId, const std::string& text,
                                         bool accessDenied) {
    std::shared_lock<std::shared_mutex> lock(m_mutex);
    if (m_handle == nullptr) {
        LOGE("Server Library is NULL!!");
        return -1;
    }
    return g_delegator.ipsvr_sendResponse(clientId, text.c_str(), accessDenied);
}

std::string IPControlServerWrapper::getPeerMacAddr(unsigned int clientId) {
    std::shared_lock<std::shared_mutex> lock(m_mutex);
    if (m_handle == nullptr) {
        LOGE("Server Library is NULL!!");
        return "";
    }
    char macAddress[kMacBufferSize] = {};
    g_delegator.ipsvr_getPeerMacAddr(clientId, macAddress);
    macAddress[kMacBufferSize - 1] = '\0';
    LOGI("Mac Address : %s", macAddress);
    return macAddress;
}

int IPControlServerWrapper::setCallback(void* callback, void* userData) {
    std::shared_lock<std::shared_mutex> lock(m_mutex);
    if (m_handle == nullptr) {
        LOGE("Server Library is NULL!!");
        return -1;
    }
    return g_delegator.ipsvr_setCallback(reinterpret_cast<ipsvr_request_cb>(callback), userData);
}
