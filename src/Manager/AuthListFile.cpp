// The auth list file: paths, the JSON and legacy forms, and replacement by rename.
#include "Manager/AuthListFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <sstream>

#include "Core/AppInfo.h"
#include "JsonValue.h"
#include "Log.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kLegacyMark = "serialization::archive";
// " %d 17 %s 49 %s": class, then the MAC address and the token with their length prefixes.
const size_t kLegacyRecordLength = 76;
const size_t kLegacyMacLength = 17;
const size_t kLegacyTokenLength = 49;

// The JSON form is an array or null; a token that happens to hold the legacy mark must not make
// the file read as an archive.
bool isJsonForm(const std::string& content) {
    const size_t start = content.find_first_not_of(" \t\r\n");
    return start != std::string::npos &&
           (content[start] == '[' || content.compare(start, 4, "null") == 0);
}

// MAC addresses and tokens are printable ASCII without blanks; a record with other bytes is
// damaged, and would not survive being written back as JSON text.
bool isPlainWord(const char* text) {
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c < '!' || *c > '~') {
            return false;
        }
    }
    return true;
}

// Records from the end of the file backwards; the header in front of the earliest one (shorter
// than a record plus one character) is never read.
void parseLegacy(const std::string& content, std::vector<AuthRecord>& list) {
    size_t n = content.size();
    while (n >= kLegacyRecordLength + 1) {
        n -= kLegacyRecordLength;
        const std::string group = content.substr(n, kLegacyRecordLength);
        AuthRecord record;
        char mac[kLegacyRecordLength + 1] = {};
        char token[kLegacyRecordLength + 1] = {};
        if (sscanf(group.c_str(), " %d 17 %76s 49 %76s", &record.accessClass, mac, token) != 3 ||
            strlen(mac) != kLegacyMacLength || strlen(token) != kLegacyTokenLength ||
            !isPlainWord(mac) || !isPlainWord(token)) {
            LOGE("unreadable record at offset %zu skipped", n);
            continue;
        }
        record.macAddr = mac;
        record.accessToken = token;
        list.push_back(record);
    }
}

void parseJson(const std::string& content, std::vector<AuthRecord>& list) {
    const JsonValue root = JsonValue::Create(content);
    if (root.isNull()) {
        LOGE("parse got dirty data!");
        return;
    }
    for (size_t i = 0; i < root.size(); ++i) {
        const JsonValue& element = root[i];
        if (element.type() != JsonType::objectValue) {
            continue;
        }
        AuthRecord record;
        record.accessClass = element["AccessClass"].asInt();
        record.accessToken = element["AccessToken"].asString();
        record.macAddr = element["MacAddr"].asString();
        list.push_back(record);
    }
}

// Writes text through fd and flushes it to disk; fd is closed in any case.
bool writeAndClose(int fd, const std::string& text) {
    FILE* out = fdopen(fd, "wb");
    if (out == nullptr) {
        close(fd);
        return false;
    }
    bool written = fwrite(text.data(), 1, text.size(), out) == text.size() && fflush(out) == 0 &&
                   fsync(fileno(out)) == 0;
    return fclose(out) == 0 && written;
}

// Makes a finished rename survive a power cut; a failure costs durability only.
void syncFolder(const std::string& folder) {
    int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 || fsync(fd) != 0) {
        LOGE("failed to flush folder %s: %s", folder.c_str(), strerror(errno));
    }
    if (fd >= 0) {
        close(fd);
    }
}

}  // namespace

std::string AuthListFile::folderPath() {
    return AppInfo::GetDataPath() + "authlist";
}

std::string AuthListFile::filePath() {
    return folderPath() + "/authlist.dat";
}

bool AuthListFile::read(std::string& content) {
    std::ifstream in(filePath(), std::ios::binary);
    if (!in.is_open()) {
        return false;
    }
    std::stringstream text;
    text << in.rdbuf();
    content = text.str();
    return true;
}

void AuthListFile::parse(const std::string& content, std::vector<AuthRecord>& list) {
    try {
        if (!isJsonForm(content) && content.find(kLegacyMark) != std::string::npos) {
            parseLegacy(content, list);
        } else {
            parseJson(content, list);
        }
    } catch (const std::exception& e) {
        LOGE("Exception : %s", e.what());
    }
}

std::string AuthListFile::toJson(const std::vector<AuthRecord>& list) {
    // A null value that becomes an array with its first element: an empty list is "null".
    JsonValue root;
    for (const AuthRecord& record : list) {
        JsonValue element;
        element["AccessToken"] = record.accessToken;
        element["MacAddr"] = record.macAddr;
        element["AccessClass"] = record.accessClass;
        root.append(std::move(element));
    }
    return root.toString(false);
}

void AuthListFile::ensureFolder() {
    const std::string folder = folderPath();
    if (DIR* dir = opendir(folder.c_str())) {
        closedir(dir);
        return;
    }
    if (mkdir(folder.c_str(), 0777) != 0) {
        LOGE("failed to create rw data folder:%s", folder.c_str());
    }
}

bool AuthListFile::replace(const std::string& text) {
    const std::string path = filePath();
    std::string temporary = path + ".XXXXXX";
    int fd = mkostemp(&temporary[0], O_CLOEXEC);
    if (fd < 0) {
        LOGE("failed to open file!");
        LOGE("%s: %s", temporary.c_str(), strerror(errno));
        return false;
    }
    if (!writeAndClose(fd, text)) {
        LOGE("failed to write %s: %s", temporary.c_str(), strerror(errno));
        unlink(temporary.c_str());
        return false;
    }
    // The rename is what takes the old file away; until then it is whole.
    if (rename(temporary.c_str(), path.c_str()) != 0) {
        LOGE("failed to remove authlist file!");
        LOGE("%s: %s", path.c_str(), strerror(errno));
        unlink(temporary.c_str());
        return false;
    }
    syncFolder(folderPath());
    return true;
}
