// The TV's state file in the data directory: its property values, replaced atomically.
#pragma once

#include <map>
#include <string>

#include "PropertySchema.h"
#include "PropertyValue.h"

namespace ipc_tv {

// {"properties": {<name>: <value>, ...}}. Not thread-safe: its owner serialises
// the calls.
class TvStateFile {
public:
    enum class LoadResult { Missing, Loaded, Broken };

    explicit TvStateFile(std::string path) : m_path(std::move(path)) {}
    const std::string& path() const { return m_path; }

    // Reads the values of the schema's properties into values. A value of an unknown property,
    // or one that does not fit its property, is left out with a log line. A file that does not
    // parse or lacks the "properties" object is Broken: it is logged and kept as
    // "<path>.broken", and values stay untouched.
    LoadResult load(const PropertySchema& schema,
                    std::map<std::string, PropertyValue>& values) const;
    // Replaces the file; false (logged) when it could not be written.
    bool save(const std::map<std::string, PropertyValue>& values) const;

private:
    const std::string m_path;
};

}  // namespace ipc_tv
