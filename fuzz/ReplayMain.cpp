// Runs a fuzz target over files and folders of inputs without the fuzzing engine, so that the
// seed corpus and every past crash are replayed by the ordinary test build.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

int runFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        fprintf(stderr, "cannot read %s\n", path.c_str());
        return 1;
    }
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return 0;
}

int runPath(const std::string& path, int& count) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        fprintf(stderr, "no such input: %s\n", path.c_str());
        return 1;
    }
    if (!S_ISDIR(info.st_mode)) {
        ++count;
        return runFile(path);
    }
    DIR* folder = opendir(path.c_str());
    if (folder == nullptr) {
        fprintf(stderr, "cannot open %s\n", path.c_str());
        return 1;
    }
    int failures = 0;
    while (dirent* entry = readdir(folder)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            failures += runPath(path + "/" + name, count);
        }
    }
    closedir(folder);
    return failures;
}

}  // namespace

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    int failures = 0;
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        failures += runPath(argv[i], count);
    }
    printf("%d inputs replayed\n", count);
    return failures == 0 && count > 0 ? 0 : 1;
}
