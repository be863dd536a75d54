// What every fuzz target shares: a quiet log and a scratch file for parsers that read paths.
#include "FuzzSupport.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>

#include "dlog.h"

namespace fuzz {

const std::string& writeScratchFile(const uint8_t* data, size_t size, const char* suffix) {
    static std::map<std::string, std::string> paths;
    std::string& path = paths[suffix];
    if (path.empty()) {
        const char* folder = getenv("TMPDIR");
        path = std::string(folder != nullptr ? folder : "/tmp") + "/ipc-fuzz-" +
               std::to_string(getpid()) + suffix;
    }
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        perror(path.c_str());
        abort();
    }
    size_t done = 0;
    while (done < size) {
        ssize_t written = write(fd, data + done, size - done);
        if (written <= 0) {
            perror(path.c_str());
            abort();
        }
        done += static_cast<size_t>(written);
    }
    close(fd);
    return path;
}

}  // namespace fuzz

// Run once before the first input, by libFuzzer and by the replay driver alike: a fuzzer would
// otherwise print a line for every refused input.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    dlog_set_min_priority(DLOG_SILENT);
    return 0;
}