// The one-pass reader: json-glib's own tree for the texts it takes, nothing for the rest.
#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

#include <string>

#include "PlainJsonReader.h"

using common::json::PlainJsonReader;

namespace {

std::string print(JsonNode* node) {
    gchar* text = json_to_string(node, FALSE);
    std::string printed = text;
    g_free(text);
    return printed;
}

// Every member and element of node links back to it, as json-glib's parser leaves them.
bool linkedToParents(JsonNode* node) {
    bool linked = true;
    if (JSON_NODE_HOLDS_OBJECT(node)) {
        GList* members = json_object_get_values(json_node_get_object(node));
        for (GList* m = members; m != nullptr; m = m->next) {
            auto* member = static_cast<JsonNode*>(m->data);
            linked = linked && json_node_get_parent(member) == node && linkedToParents(member);
        }
        g_list_free(members);
    } else if (JSON_NODE_HOLDS_ARRAY(node)) {
        JsonArray* array = json_node_get_array(node);
        for (guint i = 0; i < json_array_get_length(array); ++i) {
            JsonNode* element = json_array_get_element(array, i);
            linked = linked && json_node_get_parent(element) == node && linkedToParents(element);
        }
    }
    return linked;
}

TEST(PlainJsonReaderTest, BuildsTheTreeJsonGlibsParserBuilds) {
    PlainJsonReader reader;  // one reader for every text, as each thread keeps one
    JsonParser* parser = json_parser_new();
    for (const char* text : {
             R"({"jsonrpc":"2.0","method":"powerControl","id":"1","params":{"AccessToken":"t"}})",
             R"({"a":1,"b":{"c":[true,false,null]},"a":[2,{"d":"x"}],"b":-3})",
             " [ [], {}, [[-0]], {\"k\" : {\"\":\"\"}} ] \n",
             R"([999999999999999999,-999999999999999999,0])",
             "{\"name\":\"caf\xc3\xa9 \xf0\x9f\x98\x80\"}",
         }) {
        SCOPED_TRACE(text);
        JsonNode* fast = reader.read(text);
        ASSERT_NE(fast, nullptr);
        ASSERT_TRUE(json_parser_load_from_data(parser, text, -1, nullptr));
        JsonNode* full = json_parser_steal_root(parser);
        // Printing shows kinds (1 against 1.0), values and member order.
        EXPECT_EQ(print(fast), print(full));
        EXPECT_TRUE(linkedToParents(fast));
        EXPECT_FALSE(json_node_is_immutable(fast));
        json_node_unref(fast);
        json_node_unref(full);
    }
    g_object_unref(parser);
}

TEST(PlainJsonReaderTest, LeavesEverythingElseToTheFullParse) {
    PlainJsonReader reader;
    for (const char* text : {
             "",
             " ",
             "5",
             R"("text")",
             "null",  // no container
             R"({"a":"x\"y"})",
             R"({"a\n":1})",  // escapes
             "[1.5]",
             "[1e3]",
             "[-0.0]",
             "[1000000000000000000]",  // beyond integers
             "[01]",
             "[-]",
             "[1,]",
             "{\"a\":1,}",
             "{\"a\" 1}",
             "[1 2]",  // malformed
             R"({"a":1}{"b":2})",
             "[tru]",
             "[\"\x01\"]",
             "[\"\xc3\"]",
             "[\"open]",
         }) {
        SCOPED_TRACE(text);
        EXPECT_EQ(reader.read(text), nullptr);
    }
    const std::string deep = std::string(100, '[') + std::string(100, ']');  // beyond requests
    EXPECT_EQ(reader.read(deep), nullptr);
}

}  // namespace
