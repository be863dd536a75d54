// Re-initialising one node in place, many times over, must release every payload exactly once.
// A second release shows as an AddressSanitizer double free (slices are plain malloc here) or a
// json-glib critical (fatal here).
#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

#include "JsonNodeFix.h"
#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;
using common::json::SharedJson;
namespace bugfix = common::json::bugfix;

namespace {

const JsonType kKindCycle[] = {
    JsonType::objectValue, JsonType::intValue,    JsonType::arrayValue,  JsonType::stringValue,
    JsonType::nullValue,   JsonType::objectValue, JsonType::doubleValue, JsonType::boolValue,
    JsonType::arrayValue,  JsonType::nullValue,   JsonType::stringValue, JsonType::objectValue,
};

class JsonNodeFixTest : public ::testing::Test {};

TEST_F(JsonNodeFixTest, ClearedContainerNodeTakesAnyKindAgain) {
    JsonNode* node = json_node_new(JSON_NODE_NULL);
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(bugfix::clear_node(node));
        JsonObject* object = json_object_new();
        json_object_set_int_member(object, "round", round);
        json_node_init_object(node, object);
        json_object_unref(object);

        ASSERT_TRUE(bugfix::clear_node(node));
        JsonArray* array = json_array_new();
        json_array_add_string_element(array, "element");
        json_node_init_array(node, array);
        json_array_unref(array);

        ASSERT_TRUE(bugfix::clear_node(node));
        ASSERT_EQ(json_node_get_node_type(node), JSON_NODE_NULL);
    }
    ASSERT_TRUE(bugfix::clear_node(node));
    json_node_init_string(node, "last");
    EXPECT_STREQ(json_node_get_string(node), "last");
    json_node_unref(node);
}

TEST_F(JsonNodeFixTest, SharedHandleReinitialisesMemberThroughEveryKind) {
    SharedJson root = SharedJson::Create(R"({"before":1,"x":null,"after":[2]})");
    SharedJson x = root["x"];
    SharedJson observer = root["x"];
    for (int round = 0; round < 10; ++round) {
        for (JsonType kind : kKindCycle) {
            x.init(kind);
            if (kind == JsonType::objectValue) {
                x.alloc_member("m");
            } else if (kind == JsonType::arrayValue) {
                x.resize(3);
            }
            ASSERT_EQ(x.type(), kind);
            ASSERT_EQ(root["x"].type(), kind);
            if (kind != JsonType::intValue && kind != JsonType::stringValue &&
                kind != JsonType::doubleValue && kind != JsonType::boolValue) {
                // In-place kinds: another handle on the same member sees the change.
                observer = root["x"];
                ASSERT_TRUE(observer.same_node(x));
            }
        }
    }
    EXPECT_EQ(root.to_string(false), R"({"before":1,"x":{"m":null},"after":[2]})");
}

TEST_F(JsonNodeFixTest, ValueReassignsCachedChildThroughEveryKind) {
    JsonValue document;
    JsonValue& x = document["x"];
    document["y"] = "sibling";
    for (int round = 0; round < 10; ++round) {
        for (JsonType kind : kKindCycle) {
            x = JsonValue(kind);
            if (kind == JsonType::objectValue) {
                x["round"] = round;
            } else if (kind == JsonType::arrayValue) {
                x.append(round);
            } else if (kind == JsonType::stringValue) {
                x = "text";
            }
            ASSERT_EQ(document["x"].type(), kind);
            ASSERT_EQ(&document["x"], &x);
        }
    }
    EXPECT_EQ(document.toString(), R"({"x":{"round":9},"y":"sibling"})");
}

}  // namespace
