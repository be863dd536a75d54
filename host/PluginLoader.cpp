// Loads the IP-control plug-in.
#include "PluginLoader.h"

#include <dlfcn.h>

PluginLoader::~PluginLoader() {
    unload();
}

bool PluginLoader::load(const std::string& path, std::string& error) {
    m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr) {
        error = std::string("cannot load plug-in: ") + dlerror();
        return false;
    }
    m_create = reinterpret_cast<bool (*)()>(dlsym(m_handle, "CreatePlugin"));
    m_destroy = reinterpret_cast<bool (*)()>(dlsym(m_handle, "DestroyPlugin"));
    if (m_create == nullptr || m_destroy == nullptr) {
        error = "plug-in " + path + " does not export CreatePlugin and DestroyPlugin";
        unload();
        return false;
    }
    return true;
}

bool PluginLoader::create() {
    return m_create != nullptr && m_create();
}

bool PluginLoader::destroy() {
    return m_destroy != nullptr && m_destroy();
}

void PluginLoader::unload() {
    if (m_handle != nullptr) {
        dlclose(m_handle);
    }
    m_handle = nullptr;
    m_create = nullptr;
    m_destroy = nullptr;
}
