// The protocol reference (docs/protocol.md and docs/methods/) documents every method of the
// command maps exactly once, under a heading of the form "### `methodName`", and no method that
// does not exist.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "System/TVCommandMaps.h"

namespace {

TEST(ProtocolDocTest, DocumentsEveryMethodOnce) {
    const std::filesystem::path methods = std::filesystem::path(PROTOCOL_DOC_DIR) / "methods";
    ASSERT_TRUE(std::filesystem::is_directory(methods)) << methods;

    TVCommandMaps maps;
    maps.generateCommandMaps();
    const std::regex heading("### `([^`]+)`");
    std::map<int, int> sections;
    for (const auto& file : std::filesystem::directory_iterator(methods)) {
        std::ifstream doc(file.path());
        std::string line;
        while (std::getline(doc, line)) {
            std::smatch match;
            if (!std::regex_match(line, match, heading)) {
                continue;
            }
            // On a wall every method is known, so the lookup covers all of them.
            const DYNF_TVCONTROL_PROP_TYPE type = maps.getTypeForGetOp(true, match[1]);
            EXPECT_NE(TVCONTROL_PROP_TYPE_INVALID, type)
                << "not a method: " << match[1] << " in " << file.path();
            ++sections[type];
        }
    }
    for (int type = 0; type < TVCONTROL_PROP_TYPE_INVALID; ++type) {
        EXPECT_EQ(1, sections[type]) << "sections for property type " << type;
    }
}

}  // namespace
