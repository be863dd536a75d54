// libxml2's messages as debug lines of the platform log, a bounded number per minute.
#pragma once

#include <libxml/xmlerror.h>

namespace ucf {

// libxml2 keeps its error handler per thread: this routes the messages of the calling thread
// (the main loop's, where GUPnP parses request bodies) to the platform log under the tag
// "libxml2", at debug level, at most kXmlMessagesPerMinute a minute; the next line after a
// full minute says how many were dropped. A malformed body from the network otherwise costs a
// line on stderr each. Main-loop only.
void routeXmlMessages();
// Gives the calling thread's libxml2 messages back to libxml2's default (stderr).
void unrouteXmlMessages();

// The handler itself. Thread-safe.
void logXmlMessage(void* userData, xmlErrorPtr error);

constexpr int kXmlMessagesPerMinute = 20;

}  // namespace ucf
