// Whole-file replacement through GLib: temporary file, fsync, rename.
#include "AtomicFile.h"

#include <glib.h>

#include "FileError.h"

namespace ipc_platform {

bool replaceFileContents(const std::string& path, const std::string& contents, std::string& error) {
    GError* gerror = nullptr;
    const auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                          G_FILE_SET_CONTENTS_DURABLE);
    if (!g_file_set_contents_full(path.c_str(), contents.data(),
                                  static_cast<gssize>(contents.size()), flags, 0600, &gerror)) {
        error = fileError(path, gerror->message);
        g_error_free(gerror);
        return false;
    }
    return true;
}

}  // namespace ipc_platform
