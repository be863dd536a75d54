// The one-pass reader takes no malformed text, whatever the fuzz corpus holds; that the trees it
// builds are json-glib's own, node for node, the json_reader fuzz target checks in every run.
#include <gtest/gtest.h>

#include <string>

#include "PlainJsonReader.h"

namespace {

TEST(PlainJsonReaderTest, MalformedOrDeepTextIsLeftToTheFullParse) {
    common::json::PlainJsonReader reader;
    for (const char* text :
         {"", " ", "[01]", "[-]", "[1,]", "{\"a\":1,}", "{\"a\" 1}", "[1 2]", "{\"a\":1}{\"b\":2}",
          "[tru]", "[\"\x01\"]", "[\"\xc3\"]", "[\"open]"}) {
        EXPECT_EQ(reader.read(text), nullptr) << text;
    }
    // Nesting deeper than any request: given up on before it costs stack.
    EXPECT_EQ(reader.read(std::string(100, '[') + std::string(100, ']')), nullptr);
}

}  // namespace
