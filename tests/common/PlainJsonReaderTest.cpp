// The one-pass reader gives up on what it does not read; that the trees it builds are json-glib's
// own, node for node, the json_reader fuzz target checks over its corpus in every test run.
#include <gtest/gtest.h>

#include <string>

#include "PlainJsonReader.h"

using common::json::PlainJsonReader;

namespace {

TEST(PlainJsonReaderTest, LeavesEverythingElseToTheFullParse) {
    // No container; escapes; beyond its integers; malformed.
    const char* const texts[] = {"",
                                 " ",
                                 "5",
                                 "\"text\"",
                                 "null",
                                 "{\"a\":\"x\\\"y\"}",
                                 "{\"a\\n\":1}",
                                 "[1.5]",
                                 "[1e3]",
                                 "[-0.0]",
                                 "[1000000000000000000]",
                                 "[01]",
                                 "[-]",
                                 "[1,]",
                                 "{\"a\":1,}",
                                 "{\"a\" 1}",
                                 "[1 2]",
                                 "{\"a\":1}{\"b\":2}",
                                 "[tru]",
                                 "[\"\x01\"]",
                                 "[\"\xc3\"]",
                                 "[\"open]"};
    PlainJsonReader reader;
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        EXPECT_EQ(reader.read(text), nullptr);
    }
    const std::string deep = std::string(100, '[') + std::string(100, ']');  // beyond requests
    EXPECT_EQ(reader.read(deep), nullptr);
}

}  // namespace
