// The rules that tie the TV's properties together: keys acting on the state, sources, channels,
// speakers, application launches, multi-view and the wall's states.
#include "TvPropertyRules.h"

#include <algorithm>
#include <array>

#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "ConnectedDevices.h"
#include "MultiView.h"
#include "TvJson.h"
#include "TvLog.h"

namespace ipc_tv {

namespace {

using ipc_platform::JsonNodePtr;

constexpr std::array<const char*, 37> kKeys = {
    "KEY_POWER",     "KEY_UP",      "KEY_DOWN",  "KEY_LEFT",   "KEY_RIGHT", "KEY_MENU",
    "KEY_HOME",      "KEY_OK",      "KEY_FF",    "KEY_REWIND", "KEY_PLAY",  "KEY_STOP",
    "KEY_PAUSE",     "KEY_RETURN",  "KEY_EXIT",  "KEY_0",      "KEY_1",     "KEY_2",
    "KEY_3",         "KEY_4",       "KEY_5",     "KEY_6",      "KEY_7",     "KEY_8",
    "KEY_9",         "KEY_CAPTION", "KEY_MINUS", "KEY_RED",    "KEY_GREEN", "KEY_YELLOW",
    "KEY_BLUE",      "KEY_AMBIENT", "KEY_CHUP",  "KEY_CHDOWN", "KEY_VOLUP", "KEY_VOLDOWN",
    "KEY_MULTI_VIEW"};
constexpr char kPressAndRelease[] = "pressAndRelease";
constexpr int kFirstChannel = 1;
constexpr int kLastChannel = 999;

// The members of a JSON object text; null when the text is not an object.
JsonNodePtr objectOf(const std::string& text) {
    std::string error;
    JsonNodePtr node = ipc_platform::parseJsonText(text, error);
    return node != nullptr && JSON_NODE_HOLDS_OBJECT(node.get()) ? std::move(node) : nullptr;
}

// A member as text: a string as it is, an integer in decimal; empty otherwise or when absent.
std::string member(const JsonNodePtr& object, const char* name) {
    JsonNode* node = object != nullptr
                         ? json_object_get_member(json_node_get_object(object.get()), name)
                         : nullptr;
    const GType type = valueType(node);
    return type == G_TYPE_STRING  ? json_node_get_string(node)
           : type == G_TYPE_INT64 ? std::to_string(json_node_get_int(node))
                                  : "";
}

std::string objectText(std::initializer_list<std::pair<const char*, std::string>> members) {
    g_autoptr(JsonNode) node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, json_object_new());
    for (const auto& [name, value] : members) {
        json_object_set_string_member(json_node_get_object(node), name, value.c_str());
    }
    return ipc_platform::jsonText(node);
}

bool isTuner(const std::string& input) {
    return input == "dtv" || input == "atv";
}

}  // namespace

// Stores values and remembers which changed, in order and once each.
class TvPropertyRules::Changes {
public:
    explicit Changes(PropertyStore& store) : m_store(store) {}
    const PropertyStore& store() const { return m_store; }
    const PropertyValue& value(const std::string& name) const { return m_store.value(name); }
    void set(const std::string& name, const PropertyValue& value) {
        if (m_store.set(name, value) &&
            std::find(m_names.begin(), m_names.end(), name) == m_names.end()) {
            m_names.push_back(name);
        }
    }
    // Leaves the application for a source: nothing in the foreground.
    void leaveApp() {
        set(kLaunchApp, PropertyValue::ofJson("{}"));
        set(kForegroundUrl, PropertyValue::ofString(""));
    }
    std::vector<std::string> names() const { return m_names; }

private:
    PropertyStore& m_store;
    std::vector<std::string> m_names;
};

TvPropertyRules::TvPropertyRules(AppCatalogue apps, std::vector<std::string> extendedSources,
                                 bool multiView, WallStates wall)
    : m_apps(std::move(apps)),
      m_extendedSources(std::move(extendedSources)),
      m_multiView(multiView),
      m_wall(std::move(wall)) {}

dynf_error TvPropertyRules::check(const std::string& name, const PropertyValue& value,
                                  const PropertyStore& store, bool standby) const {
    const std::string& text = value.text();
    bool valid = true;
    if (name == kRemoteKey) {
        const JsonNodePtr key = objectOf(text);
        const std::string keyName = member(key, "keyName");
        if (standby && keyName != "KEY_POWER") {
            return DYNF_ERROR_NOT_AVAILABLE;
        }
        valid = std::find(kKeys.begin(), kKeys.end(), keyName) != kKeys.end() &&
                member(key, "keyStatus") == kPressAndRelease;
    } else if (name == kSpeaker) {
        valid = text != "external" || !devicesOf(store.value(kSpeakerList).text()).empty();
    } else if (name == kSpeakerList) {
        const std::vector<Device> speakers = devicesOf(store.value(kSpeakerList).text());
        valid = findDevice(speakers, member(objectOf(text), "id")) != nullptr;
    } else if (name == kExtendedSource) {
        valid = _isSource(text, store);
    } else if (name == kLaunchApp) {
        const JsonNodePtr launch = objectOf(text);
        valid = m_apps.findById(member(launch, "targetAppId")) != nullptr;
    } else if (name == kFirstScreenAppId) {
        const JsonNodePtr choice = objectOf(text);
        const App* app = m_apps.findById(member(choice, "id"));
        valid =
            choice != nullptr && (json_object_get_size(json_node_get_object(choice.get())) == 0 ||
                                  (app != nullptr && app->firstScreen));
    } else if (name == kMultiView) {
        MultiView merged;
        valid = MultiView::fromText(store.value(kMultiView).text())
                    .merge(text, _sources(store), merged);
    }
    return valid ? DYNF_ERROR_NONE : DYNF_ERROR_INVALID_VALUE;
}

std::vector<std::string> TvPropertyRules::_sources(const PropertyStore& store) const {
    std::vector<std::string> sources = store.schema().find(kInputSource)->words;
    sources.insert(sources.end(), m_extendedSources.begin(), m_extendedSources.end());
    return sources;
}

bool TvPropertyRules::_isSource(const std::string& name, const PropertyStore& store) const {
    if (std::find(m_extendedSources.begin(), m_extendedSources.end(), name) !=
        m_extendedSources.end()) {
        return true;
    }
    // A USB device: {"deviceName", "additionalData": its id}.
    const JsonNodePtr choice = objectOf(name);
    const std::vector<Device> devices = devicesOf(store.value(kUsbDeviceList).text());
    const Device* device = findDevice(devices, member(choice, "additionalData"));
    return device != nullptr && device->usable;
}

std::vector<std::string> TvPropertyRules::apply(const dynf_property_list_s& list,
                                                PropertyStore& store) const {
    Changes changes(store);
    for (const auto& property : list.items) {
        const PropertySpec* row = store.schema().find(property->name);
        if (row != nullptr) {
            _applyOne(row->name, property->value.as(row->type), changes);
        }
    }
    return changes.names();
}

PropertyListPtr TvPropertyRules::answer(const dynf_property_list_s& list,
                                        const PropertyStore& store) const {
    auto values = std::make_unique<dynf_property_list_s>();
    for (const auto& property : list.items) {
        const std::string& name = property->name;
        addProperty(*values, name,
                    name == kWallCabinetStates
                        ? PropertyValue::ofJson(
                              cabinetsMatching(store.value(name).text(), property->value.text()))
                        : store.value(name));
    }
    return values;
}

void TvPropertyRules::_applyOne(const std::string& name, const PropertyValue& value,
                                Changes& changes) const {
    const std::string& text = value.text();
    if (name == kRemoteKey) {
        _pressKey(member(objectOf(text), "keyName"), changes);
    } else if (name == kVolume) {
        changes.set(kVolume, value);
        changes.set(kMute, PropertyValue::ofBool(false));
    } else if (name == kSpeaker || name == kSpeakerList) {
        const std::vector<Device> speakers = devicesOf(changes.value(kSpeakerList).text());
        std::string id = name == kSpeakerList ? member(objectOf(text), "id")
                                              : changes.value(kExternalSpeakerId).text();
        if (findDevice(speakers, id) == nullptr && !speakers.empty()) {
            id = speakers.front().id;
        }
        changes.set(kSpeaker, PropertyValue::ofString(name == kSpeaker ? text : "external"));
        changes.set(kExternalSpeakerId, PropertyValue::ofString(id));
    } else if (name == kInputSource) {
        changes.set(kInputSource, value);
        changes.set(kExtendedSource, PropertyValue::ofString(""));
        changes.leaveApp();
    } else if (name == kExtendedSource) {
        const JsonNodePtr choice = objectOf(text);
        const std::vector<Device> devices = devicesOf(changes.value(kUsbDeviceList).text());
        const Device* device = findDevice(devices, member(choice, "additionalData"));
        changes.set(
            kExtendedSource,
            PropertyValue::ofString(choice != nullptr && device != nullptr ? device->name : text));
        changes.set(kInputSource, PropertyValue::ofString(""));
        changes.leaveApp();
    } else if (name == kLaunchApp) {
        const JsonNodePtr launch = objectOf(text);
        const App* app = m_apps.findById(member(launch, "targetAppId"));
        changes.set(kLaunchApp, PropertyValue::ofJson(
                                    objectText({{"targetAppId", app->id}, {"title", app->title}})));
        changes.set(kForegroundUrl, PropertyValue::ofString(member(launch, "targetAppParam")));
    } else if (name == kFirstScreenAppId) {
        const std::string id = member(objectOf(text), "id");
        changes.set(name, PropertyValue::ofJson(id.empty() ? "{}" : objectText({{"id", id}})));
    } else if (name == kChannelMajor || name == kChannelMinor) {
        // A channel is digital TV's.
        changes.set(name, value);
        changes.set(kInputSource, PropertyValue::ofString("dtv"));
        changes.set(kExtendedSource, PropertyValue::ofString(""));
        changes.leaveApp();
    } else if (name == kMultiView) {
        MultiView merged;
        MultiView::fromText(changes.value(kMultiView).text())
            .merge(text, _sources(changes.store()), merged);
        changes.set(kMultiView, PropertyValue::ofJson(merged.text()));
    } else {
        changes.set(name, value);
    }
}

void TvPropertyRules::_pressKey(const std::string& key, Changes& changes) const {
    const PropertyStore& store = changes.store();
    changes.set(kLastKey, PropertyValue::ofString(key));
    changes.set(kKeyCount, PropertyValue::ofInt((store.value(kKeyCount).intValue() + 1) % 1000000));
    const int volume = store.value(kVolume).intValue();
    const int channel = store.value(kChannelMajor).intValue();
    if (key == "KEY_POWER") {
        const bool off = store.value(kPowerValue).text() == "off";
        changes.set(kPowerValue, PropertyValue::ofString(off ? "on" : "off"));
    } else if (key == "KEY_VOLUP" || key == "KEY_VOLDOWN") {
        const int step = key == "KEY_VOLUP" ? 1 : -1;
        changes.set(kVolume, PropertyValue::ofInt(std::clamp(volume + step, 0, 100)));
        changes.set(kMute, PropertyValue::ofBool(false));
    } else if (key == "KEY_CHUP" || key == "KEY_CHDOWN") {
        const int count = kLastChannel - kFirstChannel + 1;
        const int step = key == "KEY_CHUP" ? 1 : count - 1;
        _tune(kFirstChannel + (channel - kFirstChannel + step) % count, changes);
    } else if (key.size() == 5 && key[4] >= '1' && key[4] <= '9') {
        _tune(key[4] - '0', changes);
    } else if (key == "KEY_AMBIENT" && store.isSupported(kAmbientMode)) {
        const bool ambient = store.value(kAmbientMode).intValue() != 0;
        changes.set(kAmbientMode, PropertyValue::ofInt(ambient ? 0 : 1));
    } else if (key == "KEY_HOME") {
        const App* home = m_apps.findById(AppCatalogue::kHome);
        changes.set(
            kLaunchApp,
            PropertyValue::ofJson(objectText({{"targetAppId", home->id}, {"title", home->title}})));
        changes.set(kForegroundUrl, PropertyValue::ofString(""));
    } else if (key == "KEY_MULTI_VIEW" && m_multiView) {
        MultiView view = MultiView::fromText(store.value(kMultiView).text());
        view.on = !view.on;
        changes.set(kMultiView, PropertyValue::ofJson(view.text()));
    }
}

// Channels are the tuner's: a source other than the tuner is left for digital TV.
void TvPropertyRules::_tune(int major, Changes& changes) const {
    changes.set(kChannelMajor, PropertyValue::ofInt(major));
    changes.set(kChannelMinor, PropertyValue::ofInt(0));
    if (!isTuner(changes.value(kInputSource).text())) {
        changes.set(kInputSource, PropertyValue::ofString("dtv"));
        changes.set(kExtendedSource, PropertyValue::ofString(""));
    }
    changes.leaveApp();
}

std::vector<std::string> TvPropertyRules::connect(const std::string& listName,
                                                  const std::string& json,
                                                  PropertyStore& store) const {
    Changes changes(store);
    changes.set(listName, PropertyValue::ofJson(json));
    const std::vector<Device> devices = devicesOf(json);
    if (listName == kSpeakerList && store.value(kSpeaker).text() == "external" &&
        findDevice(devices, store.value(kExternalSpeakerId).text()) == nullptr) {
        changes.set(kSpeaker, PropertyValue::ofString("internal"));
        changes.set(kExternalSpeakerId, PropertyValue::ofString(""));
    }
    // A USB device shown as the source went away or became unusable.
    const std::string source = store.value(kExtendedSource).text();
    if (listName == kUsbDeviceList && !source.empty() &&
        std::find(m_extendedSources.begin(), m_extendedSources.end(), source) ==
            m_extendedSources.end() &&
        std::none_of(devices.begin(), devices.end(), [&source](const Device& device) {
            return device.usable && device.name == source;
        })) {
        changes.set(kExtendedSource, PropertyValue::ofString(""));
        changes.set(kInputSource, PropertyValue::ofString("dtv"));
    }
    return changes.names();
}

void TvPropertyRules::settle(PropertyStore& store) const {
    store.set(kFirstScreenAppList, PropertyValue::ofJson(m_apps.firstScreenJson()));
    store.set(kWallBoxStates, PropertyValue::ofJson(m_wall.boxes));
    store.set(kWallCabinetGroupIds, PropertyValue::ofJson(m_wall.groupIds));
    store.set(kWallCabinetStates, PropertyValue::ofJson(m_wall.cabinets));
    const auto reset = [&store](const char* name) {
        dlog_print(DLOG_WARN, kLogTag, "the stored %s no longer holds; using the default", name);
        store.set(name, store.schema().find(name)->defaultValue);
    };
    for (const char* name : {kSpeakerList, kUsbDeviceList}) {
        std::string error;
        std::string canonical;
        const JsonNodePtr list = ipc_platform::parseJsonText(store.value(name).text(), error);
        if (name == kSpeakerList ? readSpeakers(list.get(), canonical)
                                 : readUsbDevices(list.get(), canonical)) {
            store.set(name, PropertyValue::ofJson(canonical));
        } else {
            reset(name);
        }
    }
    for (const char* name : {kSpeaker, kLaunchApp, kFirstScreenAppId, kMultiView}) {
        const PropertyValue& value = store.value(name);
        if (value != store.schema().find(name)->defaultValue &&
            check(name, value, store, false) != DYNF_ERROR_NONE) {
            reset(name);
        }
    }
    // A source that went away while the TV was stopped.
    connect(kUsbDeviceList, store.value(kUsbDeviceList).text(), store);
}

}  // namespace ipc_tv
