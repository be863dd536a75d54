// docs/protocol.md documents every method of the command maps exactly once, under a heading
// of the form "### `methodName`", and no method that does not exist.
#include <fstream>
#include <map>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "System/TVCommandMaps.h"

namespace {

TEST(ProtocolDocTest, DocumentsEveryMethodOnce) {
    std::ifstream doc(PROTOCOL_DOC_PATH);
    ASSERT_TRUE(doc) << PROTOCOL_DOC_PATH;

    TVCommandMaps maps;
    maps.generateCommandMaps();
    const std::regex heading("### `([^`]+)`");
    std::map<int, int> sections;
    std::string line;
    while (std::getline(doc, line)) {
        std::smatch match;
        if (!std::regex_match(line, match, heading)) {
            continue;
        }
        // On a wall every method is known, so the lookup covers all of them.
        const DYNF_TVCONTROL_PROP_TYPE type = maps.getTypeForGetOp(true, match[1]);
        EXPECT_NE(TVCONTROL_PROP_TYPE_INVALID, type) << "not a method: " << match[1];
        ++sections[type];
    }
    for (int type = 0; type < TVCONTROL_PROP_TYPE_INVALID; ++type) {
        EXPECT_EQ(1, sections[type]) << "sections for property type " << type;
    }
}

}  // namespace
