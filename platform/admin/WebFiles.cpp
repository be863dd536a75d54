// The files of the TV screen page: URL paths to files under the web folder, content types.
#include "WebFiles.h"

#include <climits>
#include <cstdlib>
#include <sys/stat.h>

#include <glib.h>

namespace ipc_platform {

namespace {

std::string realPath(const std::string& path) {
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) != nullptr ? std::string(resolved) : std::string();
}

// Every segment is a plain name: no empty, hidden or dot segment, no backslash or NUL.
bool isPlainRelativePath(const std::string& relative) {
    if (relative.empty() || relative.find('\\') != std::string::npos ||
        relative.find('\0') != std::string::npos) {
        return false;
    }
    size_t start = 0;
    while (start <= relative.size()) {
        size_t end = relative.find('/', start);
        if (end == std::string::npos) {
            end = relative.size();
        }
        if (end == start || relative[start] == '.') {
            return false;
        }
        start = end + 1;
    }
    return true;
}

}  // namespace

std::string resolveWebFile(const std::string& webDir, const std::string& urlPath) {
    if (urlPath.empty() || urlPath[0] != '/') {
        return std::string();
    }
    const std::string relative = urlPath == "/" ? "index.html" : urlPath.substr(1);
    if (!isPlainRelativePath(relative)) {
        return std::string();
    }
    const std::string root = realPath(webDir);
    std::string file = realPath(webDir + "/" + relative);
    struct stat info = {};
    if (root.empty() || file.empty() || file.compare(0, root.size() + 1, root + "/") != 0 ||
        stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return std::string();
    }
    return file;
}

const char* webContentType(const std::string& path) {
    static const struct {
        const char* suffix;
        const char* type;
    } kTypes[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".json", "application/json"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".ico", "image/x-icon"},
        {".woff2", "font/woff2"},
    };
    for (const auto& known : kTypes) {
        if (g_str_has_suffix(path.c_str(), known.suffix)) {
            return known.type;
        }
    }
    return "application/octet-stream";
}

}  // namespace ipc_platform
