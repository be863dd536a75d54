// Reading and atomic replacement of the TV's state file.
#include "TvStateFile.h"

#include <cstdio>

#include <json-glib/json-glib.h>

#include "AtomicFile.h"
#include "JsonFile.h"
#include "TvJson.h"
#include "TvLog.h"

namespace ipc_tv {

namespace {

constexpr char kProperties[] = "properties";

void readValues(JsonNode* properties, const PropertySchema& schema, const std::string& path,
                std::map<std::string, PropertyValue>& values) {
    forEachMember(properties, [&](const char* name, JsonNode* node) {
        const PropertySpec* row = schema.find(name);
        PropertyValue value;
        if (row == nullptr || !PropertyValue::fromJson(node, row->type, value) ||
            !row->accepts(value)) {
            dlog_print(DLOG_WARN, kLogTag, "%s: ignoring the stored value of \"%s\"", path.c_str(),
                       name);
        } else {
            values[name] = value;
        }
        return true;
    });
}

}  // namespace

TvStateFile::LoadResult TvStateFile::load(const PropertySchema& schema,
                                          std::map<std::string, PropertyValue>& values) const {
    if (!g_file_test(m_path.c_str(), G_FILE_TEST_EXISTS)) {
        return LoadResult::Missing;
    }
    std::string error;
    JsonParser* parser = ipc_platform::parseJsonObjectFile(m_path, error);
    JsonNode* properties = nullptr;
    if (parser != nullptr) {
        properties =
            json_object_get_member(json_node_get_object(json_parser_get_root(parser)), kProperties);
        if (properties == nullptr || !JSON_NODE_HOLDS_OBJECT(properties)) {
            error = m_path + ": no \"properties\" object";
        }
    }
    if (properties == nullptr || !JSON_NODE_HOLDS_OBJECT(properties)) {
        const std::string broken = m_path + ".broken";
        const bool kept = std::rename(m_path.c_str(), broken.c_str()) == 0;
        dlog_print(DLOG_ERROR, kLogTag, "%s; starting from the profile, %s %s", error.c_str(),
                   kept ? "the file is kept as" : "and it could not be moved to", broken.c_str());
        if (parser != nullptr) {
            g_object_unref(parser);
        }
        return LoadResult::Broken;
    }
    readValues(properties, schema, m_path, values);
    g_object_unref(parser);
    return LoadResult::Loaded;
}

bool TvStateFile::save(const std::map<std::string, PropertyValue>& values) const {
    JsonObject* properties = json_object_new();
    for (const auto& [name, value] : values) {
        json_object_set_member(properties, name.c_str(), value.toJson());
    }
    JsonObject* root = json_object_new();
    json_object_set_object_member(root, kProperties, properties);
    g_autoptr(JsonNode) node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, root);
    g_autoptr(JsonGenerator) generator = json_generator_new();
    json_generator_set_pretty(generator, TRUE);
    json_generator_set_root(generator, node);
    g_autofree gchar* text = json_generator_to_data(generator, nullptr);
    std::string error;
    if (!ipc_platform::replaceFileContents(m_path, std::string(text) + "\n", error)) {
        dlog_print(DLOG_ERROR, kLogTag, "TV state not saved: %s", error.c_str());
        return false;
    }
    return true;
}

}  // namespace ipc_tv
