// The prefix of a log call site, made once per site.
#pragma once

namespace common {

// prefixFormat ("%s : %s(%d)  " or a target's own) filled with file, function and line. The text
// is never freed: a site may log from static destructors until the very end. Thread-safe.
const char* logSitePrefix(const char* prefixFormat, const char* file, const char* function,
                          int line);

}  // namespace common
