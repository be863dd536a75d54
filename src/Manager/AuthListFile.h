// The auth list file "authlist/authlist.dat" in the service's data folder: its two forms, its
// reading and its atomic replacement.
#pragma once

#include <string>
#include <vector>

#include "Manager/AuthRecord.h"

// Stateless. Thread-safe as far as memory goes; the access manager serialises the file accesses.
//
// Current form: compact JSON, an array of {"AccessToken", "MacAddr", "AccessClass"} in list
// order ("null" for an empty list). Legacy form (read only): a text archive, recognised by
// "serialization::archive", whose records are the 76-character groups " <class> 17 <MAC> 49
// <token>" at its end, taken from the last one backwards.
class AuthListFile {
public:
    // "<data path>authlist" (the data path ends with '/').
    static std::string folderPath();
    // folderPath() + "/authlist.dat".
    static std::string filePath();

    // The whole file; false when it cannot be opened.
    static bool read(std::string& content);
    // Appends the records of content, in either form, to list. Damaged content yields what
    // could be read; never throws.
    static void parse(const std::string& content, std::vector<AuthRecord>& list);
    // The current form of list.
    static std::string toJson(const std::vector<AuthRecord>& list);

    // Creates the folder (mode 0777 before the umask) when it cannot be opened; logged on failure.
    static void ensureFolder();
    // Replaces the file with text: a temporary file beside it is written, flushed to disk and
    // renamed over it, so that the file holds either the old text or the new one at any moment.
    // False (logged) on failure; the old file is then untouched.
    static bool replace(const std::string& text);
};
