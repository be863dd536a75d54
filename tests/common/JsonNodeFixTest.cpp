// Re-initialising one node in place, many times over, must release every payload exactly once.
// A second release shows as an AddressSanitizer double free (slices are plain malloc here) or a
// json-glib critical (fatal here).
#include <gtest/gtest.h>

#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;
using common::json::SharedJson;

namespace {

const JsonType kKindCycle[] = {
    JsonType::objectValue, JsonType::intValue,    JsonType::arrayValue,  JsonType::stringValue,
    JsonType::nullValue,   JsonType::objectValue, JsonType::doubleValue, JsonType::boolValue,
    JsonType::arrayValue,  JsonType::nullValue,   JsonType::stringValue, JsonType::objectValue,
};

TEST(JsonNodeFixTest, SharedHandleReinitialisesMemberThroughEveryKind) {
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

TEST(JsonNodeFixTest, ValueReassignsCachedChildThroughEveryKind) {
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
