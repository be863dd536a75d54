// The method vocabulary: availability by TV mode and exact name matching.
#include <string>

#include <gtest/gtest.h>

#include "System/TVCommandMaps.h"
#include "System/TVControlHelper.h"

namespace {

class TVCommandMapsTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_helpers.create();
        m_maps.generateControlHelpersMap(m_helpers);
        m_maps.generateCommandMaps();
    }

    DYNF_TVCONTROL_PROP_TYPE read(const std::string& method, bool isWall = false) const {
        return m_maps.getTypeForGetOp(isWall, method);
    }
    DYNF_TVCONTROL_PROP_TYPE write(const std::string& method, bool isAmbient = false,
                                   bool isWall = false) const {
        return m_maps.getTypeForSetOp(isAmbient, isWall, method);
    }

    TVControlHelper m_helpers;
    TVCommandMaps m_maps;
};

TEST_F(TVCommandMapsTest, NamesMatchExactly) {
    for (const char* method : {"PowerControl", "powercontrol", "usbSourceControl", "powerControl ",
                               "", "AMP", "gamma."}) {
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, read(method, true)) << method;
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, write(method, false, true)) << method;
    }
}

}  // namespace
