// Fuzz target: the auth list file in either form (JSON array or the legacy text archive).
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "Manager/AuthListFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string content(reinterpret_cast<const char*>(data), size);
    std::vector<AuthRecord> list;
    AuthListFile::parse(content, list);

    // What the service writes back must read back as the same records.
    std::vector<AuthRecord> again;
    AuthListFile::parse(AuthListFile::toJson(list), again);
    if (again != list) {
        __builtin_trap();
    }
    return 0;
}
