// The method vocabulary: every method's property type and helper, and availability by TV mode.
#include <string>

#include <gtest/gtest.h>

#include "System/TVCommandMaps.h"
#include "System/TVControlHelper.h"

namespace {

// The wire names, indexed by their property type.
const char* const kMethods[] = {
    "powerControl",
    "directVolumeControl",
    "volumeUpDnControl",
    "muteControl",
    "directChannelControl",
    "channelUpDnControl",
    "inputSourceControl",
    "USBSourceControl",
    "pictureModeControl",
    "contrastControl",
    "brightnessControl",
    "sharpnessControl",
    "colorControl",
    "tintControl",
    "pictureSizeControl",
    "pictureCalibrationModeControl",
    "backlightControl",
    "digitalCleanViewControl",
    "autoMotionPlusControl",
    "AMP.blurReductionControl",
    "AMP.judderReductionControl",
    "AMP.LEDClearMotionControl",
    "localDimmingControl",
    "filmModeControl",
    "contrastEnhancerControl",
    "colorToneControl",
    "WB2PointControl",
    "WB20PointModeControl",
    "WB20P.IntervalControl",
    "WB20P.RedControl",
    "WB20P.GreenControl",
    "WB20P.BlueControl",
    "gammaModeControl",
    "gamma.BT1886Control",
    "gamma.ST2084Control",
    "gamma.HLGControl",
    "RGBOnlyModeControl",
    "colorSpaceControl",
    "colorSpace.ColorControl",
    "colorSpace.ColorAdjustmentPointControl",
    "colorSpace.RedControl",
    "colorSpace.GreenControl",
    "colorSpace.BlueControl",
    "soundModeControl",
    "speakerSelectControl",
    "externalSpeakerControl",
    "getTVStates",
    "getVideoStates",
    "remoteKeyControl",
    "directAccessControl",
    "artModeControl",
    "firstScreenAppControl",
    "ambientControl",
    "getBoxStates",
    "getCabinetGroupIds",
    "getCabinetStates",
    "multiviewControl",
    "displayRotatorControl",
};
static_assert(sizeof(kMethods) / sizeof(kMethods[0]) == TVCONTROL_PROP_TYPE_INVALID,
              "one name per property type");

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

TEST_F(TVCommandMapsTest, EveryMethodHasItsTypeAndAHelperOnAWall) {
    for (int type = 0; type < TVCONTROL_PROP_TYPE_INVALID; ++type) {
        const auto expected = static_cast<DYNF_TVCONTROL_PROP_TYPE>(type);
        EXPECT_EQ(expected, read(kMethods[type], true)) << kMethods[type];
        EXPECT_EQ(expected, write(kMethods[type], false, true)) << kMethods[type];
        EXPECT_TRUE(m_maps.getHelper(expected)) << kMethods[type];
    }
    EXPECT_FALSE(m_maps.getHelper(TVCONTROL_PROP_TYPE_INVALID));
}

TEST_F(TVCommandMapsTest, WallMethodsAreUnknownOffAWall) {
    for (const char* method :
         {"ambientControl", "getBoxStates", "getCabinetGroupIds", "getCabinetStates"}) {
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, read(method)) << method;
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, write(method)) << method;
    }
    EXPECT_EQ(GET_CABINET_STATES, read("getCabinetStates", true));
}

TEST_F(TVCommandMapsTest, AmbientScreenRefusesOnlyWritesOfNoneAmbientMethods) {
    EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, write("pictureModeControl", true));
    EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, write("USBSourceControl", true, true));
    EXPECT_EQ(PICTURE_MODE_CONTROL, read("pictureModeControl"));
    EXPECT_EQ(PICTURE_MODE_CONTROL, write("pictureModeControl", false));
    EXPECT_EQ(POWER_CONTROL, write("powerControl", true));
    EXPECT_EQ(BACKLIGHT_CONTROL, write("backlightControl", true));
    EXPECT_EQ(AMBIENT_CONTROL, write("ambientControl", true, true));
}

TEST_F(TVCommandMapsTest, NamesMatchExactly) {
    for (const char* method : {"PowerControl", "powercontrol", "usbSourceControl", "powerControl ",
                               "", "AMP", "gamma."}) {
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, read(method, true)) << method;
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, write(method, false, true)) << method;
    }
}

}  // namespace
