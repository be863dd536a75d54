// Reading, checking and writing of the multi-view setting.
#include "MultiView.h"

#include <algorithm>

#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "TvJson.h"

namespace ipc_tv {

namespace {

size_t tilesOf(const std::string& layout) {
    return layout == "quad" ? 4 : layout == "pip" || layout == "split" ? 2 : 0;
}

bool readSources(JsonNode* node, std::vector<std::string>& sources) {
    if (node == nullptr || !JSON_NODE_HOLDS_ARRAY(node)) {
        return false;
    }
    JsonArray* array = json_node_get_array(node);
    sources.clear();
    for (guint index = 0; index < json_array_get_length(array); ++index) {
        JsonNode* element = json_array_get_element(array, index);
        if (valueType(element) != G_TYPE_STRING) {
            return false;
        }
        sources.emplace_back(json_node_get_string(element));
    }
    return true;
}

// Overlays the members of a JSON object text on view; false when the text is not an object
// of known members of the right types.
bool overlay(const std::string& json, MultiView& view, bool& hasOn) {
    std::string error;
    const ipc_platform::JsonNodePtr root = ipc_platform::parseJsonText(json, error);
    hasOn = false;
    return forEachMember(root.get(), [&](const char* name, JsonNode* member) {
        const std::string key = name;
        if (key == "on" && valueType(member) == G_TYPE_BOOLEAN) {
            view.on = json_node_get_boolean(member);
            hasOn = true;
            return true;
        }
        if (key == "layout" && valueType(member) == G_TYPE_STRING) {
            view.layout = json_node_get_string(member);
            return true;
        }
        return key == "sources" && readSources(member, view.sources);
    });
}

}  // namespace

MultiView MultiView::fromText(const std::string& json) {
    MultiView view;
    bool hasOn = false;
    return overlay(json, view, hasOn) ? view : MultiView();
}

bool MultiView::merge(const std::string& json, const std::vector<std::string>& inputs,
                      MultiView& result) const {
    MultiView view = *this;
    bool hasOn = false;
    const bool read = overlay(json, view, hasOn);
    std::vector<std::string> sorted = view.sources;
    std::sort(sorted.begin(), sorted.end());
    if (!read || !hasOn || view.sources.size() != tilesOf(view.layout) ||
        std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end() ||
        std::any_of(sorted.begin(), sorted.end(), [&inputs](const std::string& source) {
            return std::find(inputs.begin(), inputs.end(), source) == inputs.end();
        })) {
        return false;
    }
    result = view;
    return true;
}

std::string MultiView::text() const {
    g_autoptr(JsonNode) node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, json_object_new());
    JsonObject* object = json_node_get_object(node);
    json_object_set_boolean_member(object, "on", on);
    json_object_set_string_member(object, "layout", layout.c_str());
    JsonArray* tiles = json_array_new();
    for (const std::string& source : sources) {
        json_array_add_string_element(tiles, source.c_str());
    }
    json_object_set_array_member(object, "sources", tiles);
    return ipc_platform::jsonText(node);
}

}  // namespace ipc_tv
