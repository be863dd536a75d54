// The TV's application catalogue and its JSON forms.
#include "AppCatalogue.h"

#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "TvJson.h"

namespace ipc_tv {

namespace {

// A string member of an object; empty when absent or not a string.
std::string stringMember(JsonObject* object, const char* name) {
    JsonNode* member = json_object_get_member(object, name);
    return valueType(member) == G_TYPE_STRING ? json_node_get_string(member) : "";
}

bool readApp(JsonNode* node, App& app) {
    if (node == nullptr || !JSON_NODE_HOLDS_OBJECT(node)) {
        return false;
    }
    JsonObject* object = json_node_get_object(node);
    app.key = stringMember(object, "key");
    app.id = stringMember(object, "id");
    app.title = stringMember(object, "title");
    app.runTitle = stringMember(object, "runTitle");
    if (app.runTitle.empty()) {
        app.runTitle = app.title;
    }
    JsonNode* firstScreen = json_object_get_member(object, "firstScreen");
    if (firstScreen != nullptr && valueType(firstScreen) != G_TYPE_BOOLEAN) {
        return false;
    }
    app.firstScreen = firstScreen == nullptr || json_node_get_boolean(firstScreen);
    return !app.key.empty() && !app.id.empty() && !app.title.empty();
}

}  // namespace

AppCatalogue::AppCatalogue()
    : m_apps{
          {"youTube", "111299001912", "YouTube", "YouTube", true},
          {"netflix", "3201907018807", "Netflix", "Netflix", true},
          {"hulu", "3201601007625", "Hulu", "Hulu", true},
          {"amazon", "3201910019365", "Prime Video", "AmazonInstantVideo", true},
          {"pandora", "3201812017399", "Pandora", "Pandora", true},
          {"vudu", "111012010001", "VUDU", "VUDU", true},
          {"webBrowser", "org.orvane.browser", "Internet", "Internet", true},
      } {
    _addHome();
}

void AppCatalogue::_addHome() {
    m_apps.push_back({kHome, kHome, "Home", "Home", false});
}

bool AppCatalogue::parse(JsonNode* node, std::string& error) {
    constexpr char kRefusal[] =
        "an array of {\"key\", \"id\", \"title\"} with distinct keys and ids";
    if (node == nullptr || !JSON_NODE_HOLDS_ARRAY(node)) {
        error = kRefusal;
        return false;
    }
    AppCatalogue catalogue;
    catalogue.m_apps.clear();
    JsonArray* array = json_node_get_array(node);
    for (guint index = 0; index < json_array_get_length(array); ++index) {
        App app;
        if (!readApp(json_array_get_element(array, index), app) || app.key == kHome ||
            catalogue.findById(app.id) != nullptr) {
            error = kRefusal;
            return false;
        }
        for (const App& other : catalogue.m_apps) {
            if (other.key == app.key) {
                error = kRefusal;
                return false;
            }
        }
        catalogue.m_apps.push_back(app);
    }
    catalogue._addHome();
    *this = catalogue;
    return true;
}

const App* AppCatalogue::_find(std::string App::*field, const std::string& value) const {
    for (const App& app : m_apps) {
        if (app.*field == value) {
            return &app;
        }
    }
    return nullptr;
}

std::string AppCatalogue::firstScreenJson() const {
    JsonArray* list = json_array_new();
    for (const App& app : m_apps) {
        if (app.firstScreen) {
            JsonObject* entry = json_object_new();
            json_object_set_string_member(entry, "name", app.title.c_str());
            json_object_set_string_member(entry, "id", app.id.c_str());
            json_array_add_object_element(list, entry);
        }
    }
    g_autoptr(JsonNode) node = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(node, list);
    return ipc_platform::jsonText(node);
}

JsonNode* AppCatalogue::toJson() const {
    JsonArray* list = json_array_new();
    for (const App& app : m_apps) {
        JsonObject* entry = json_object_new();
        json_object_set_string_member(entry, "key", app.key.c_str());
        json_object_set_string_member(entry, "id", app.id.c_str());
        json_object_set_string_member(entry, "title", app.title.c_str());
        json_object_set_string_member(entry, "runTitle", app.runTitle.c_str());
        json_object_set_boolean_member(entry, "firstScreen", app.firstScreen);
        json_array_add_object_element(list, entry);
    }
    JsonNode* node = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(node, list);
    return node;
}

}  // namespace ipc_tv
