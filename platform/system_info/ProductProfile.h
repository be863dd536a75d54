// The product profile: the feature keys and product facts of the TV being presented, read from
// one JSON file. Loaded once on the main loop before it is shared; thread-safe afterwards (it never
// changes).
#pragma once

#include <map>
#include <string>
#include <variant>

#include "system_info.h"

namespace ipc_platform {

class ProductProfile {
public:
    using Feature = std::variant<bool, int>;

    // Reads and checks the profile file. On failure returns false and sets error to one line
    // naming the file and the reason; the object is then unusable.
    bool load(const std::string& path, std::string& error);

    // key is "<section>/<name>" without the vendor prefix, e.g. "featureconf/product.tv_year".
    // Results are system_info_error_e values.
    int customBool(const std::string& key, bool& value) const;
    int customInt(const std::string& key, int& value) const;
    int valueString(system_info_key_e key, std::string& value) const;

    // The device name a first start gives the TV; empty when the profile names none.
    const std::string& deviceName() const { return m_deviceName; }
    // The compact JSON text of the "tv" object, which the virtual TV reads and checks itself;
    // empty when the profile has none.
    const std::string& tvSection() const { return m_tvSection; }

private:
    template <typename T>
    int _custom(const std::string& key, T& value) const;

    std::string m_deviceName;
    std::string m_tvSection;
    std::map<std::string, Feature> m_features;        // by "featureconf/<name>"
    std::map<std::string, std::string> m_systemInfo;  // by member of "systemInfo"
};

}  // namespace ipc_platform
