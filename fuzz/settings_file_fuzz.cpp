// Fuzz target: settings.ini as a person may have edited it.
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "SettingsFile.h"
#include "SettingsSchema.h"

using ipc_platform::SettingsFile;
using ipc_platform::SettingsValues;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string& path = fuzz::writeScratchFile(data, size, "-settings.ini");
    SettingsFile file(path);
    SettingsValues values = ipc_platform::firstStartSettings("Living Room");
    std::string error;
    if (file.load(values, error) != SettingsFile::LoadResult::Loaded) {
        return 0;
    }
    // What was accepted is written back and reads back as the same values.
    if (!file.save(values, error)) {
        __builtin_trap();
    }
    SettingsValues again = ipc_platform::firstStartSettings("Other");
    if (file.load(again, error) != SettingsFile::LoadResult::Loaded || again != values) {
        __builtin_trap();
    }
    return 0;
}
