// Loads the IP-control plug-in with dlopen and calls its entry points. Main thread only.
#pragma once

#include <string>

class PluginLoader {
public:
    ~PluginLoader();

    // Opens the library and resolves CreatePlugin and DestroyPlugin; error names the file.
    bool load(const std::string& path, std::string& error);
    bool create();
    bool destroy();
    void unload();

private:
    void* m_handle = nullptr;
    bool (*m_create)() = nullptr;
    bool (*m_destroy)() = nullptr;
};
