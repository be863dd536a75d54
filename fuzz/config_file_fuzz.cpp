// Fuzz target: the daemon's configuration file, read and validated as `ipcontrold --config`.
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "HostOptions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string path = fuzz::writeScratchFile(data, size, "-ipcontrold.conf");
    std::string program = "ipcontrold";
    std::string option = "--config";
    char* argv[] = {program.data(), option.data(), path.data(), nullptr};
    HostOptions options;
    std::string message;
    if (parseHostOptions(3, argv, options, message) == ParseResult::Error && message.empty()) {
        __builtin_trap();  // a refusal always says why
    }
    return 0;
}
