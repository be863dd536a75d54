// Log call sites' prefixes.
#include "LogSite.h"

#include <glib.h>

namespace common {

const char* logSitePrefix(const char* prefixFormat, const char* file, const char* function,
                          int line) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    return g_strdup_printf(prefixFormat, file, function, line);
#pragma GCC diagnostic pop
}

}  // namespace common
