// Expert picture control: the table of the expert picture properties.
#include "System/ExpertPictureControlHelper.h"

namespace {

constexpr dynf_property_type_e kInt = DYNF_PROPERTY_INT;
constexpr dynf_property_type_e kText = DYNF_PROPERTY_STRING;

// The client's key is the property's name.
PropertyRow row(DYNF_TVCONTROL_PROP_TYPE type, const char* name, dynf_property_type_e kind) {
    return {type, name, name, kind};
}

}  // namespace

ExpertPictureControlHelper::ExpertPictureControlHelper()
    : PropertyTableHelper({
          row(PICTURE_CALIBRATION_MODE_CONTROL, "pictureCalibrationMode", kText),
          row(BACKLIGHT_CONTROL, "backlight", kInt),
          row(DIGITAL_CLEAN_VIEW_CONTROL, "digitalCleanView", kText),
          row(AUTO_MOTION_PLUS_CONTROL, "autoMotionPlus", kText),
          row(AMP_BLUR_REDUCTION_CONTROL, "blurReduction", kInt),
          row(AMP_JUDDER_REDUCTION_CONTROL, "judderReduction", kInt),
          row(AMP_LED_CLEAR_MOTION_CONTROL, "LEDClearMotion", kText),
          row(LOCAL_DIMMING_CONTROL, "localDimming", kText),
          row(FILM_MODE_CONTROL, "filmMode", kText),
          row(CONTRAST_ENHANCER_CONTROL, "contrastEnhancer", kText),
          row(COLOR_TONE_CONTROL, "colorTone", kText),
          row(WB_2POINT_CONTROL, "WB2Point", kInt),
          row(WB_20POINT_MODE_CONTROL, "WB20PointMode", kText),
          row(WB_20P_INTERVAL_CONTROL, "WB20PInterval", kInt),
          row(WB_20P_RED_CONTROL, "WB20PRed", kInt),
          row(WB_20P_GREEN_CONTROL, "WB20PGreen", kInt),
          row(WB_20P_BLUE_CONTROL, "WB20PBlue", kInt),
          row(GAMMA_MODE_CONTROL, "gammaMode", kText),
          row(GAMMA_BT1886_CONTROL, "gammaBT1886", kInt),
          row(GAMMA_ST2084_CONTROL, "gammaST2084", kInt),
          row(GAMMA_HLG_CONTROL, "gammaHLG", kInt),
          row(RGB_ONLY_MODE_CONTROL, "RGBOnlyMode", kText),
          row(COLOR_SPACE_CONTROL, "colorSpace", kText),
          row(COLOR_SPACE_COLOR_CONTROL, "colorSpaceColor", kText),
          row(COLOR_SPACE_COLOR_ADJUSTMENT_POINT_CONTROL, "colorSpaceColorAdjustmentPoint", kInt),
          row(COLOR_SPACE_RED_CONTROL, "colorSpaceRed", kInt),
          row(COLOR_SPACE_GREEN_CONTROL, "colorSpaceGreen", kInt),
          row(COLOR_SPACE_BLUE_CONTROL, "colorSpaceBlue", kInt),
      }) {}
