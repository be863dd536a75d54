// What every fuzz target shares: a quiet log (set up before the first input, see the .cpp) and a
// scratch file for parsers that read paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

// A file of this process's own (under $TMPDIR) that holds exactly data; its path.
const std::string& writeScratchFile(const uint8_t* data, size_t size, const char* suffix);

}  // namespace fuzz
