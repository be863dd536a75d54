// Expert picture control: the table of the expert picture properties.
#include "System/ExpertPictureControlHelper.h"

namespace {

constexpr dynf_property_type_e kInt = DYNF_PROPERTY_INT;
constexpr dynf_property_type_e kText = DYNF_PROPERTY_STRING;

// The client's key is the method's name without "Control"; for these it is the property's name.
PropertyRow row(DYNF_TVCONTROL_PROP_TYPE type, const char* name, dynf_property_type_e kind) {
    return {type, name, name, kind};
}

// A dotted method ("gamma.BT1886Control") keeps its dot in the key ("gamma.BT1886"); the
// property's name runs the parts together or drops the prefix.
PropertyRow dottedRow(DYNF_TVCONTROL_PROP_TYPE type, const char* key, const char* property,
                      dynf_property_type_e kind) {
    return {type, key, property, kind};
}

}  // namespace

ExpertPictureControlHelper::ExpertPictureControlHelper()
    : PropertyTableHelper({
          row(PICTURE_CALIBRATION_MODE_CONTROL, "pictureCalibrationMode", kText),
          row(BACKLIGHT_CONTROL, "backlight", kInt),
          row(DIGITAL_CLEAN_VIEW_CONTROL, "digitalCleanView", kText),
          row(AUTO_MOTION_PLUS_CONTROL, "autoMotionPlus", kText),
          dottedRow(AMP_BLUR_REDUCTION_CONTROL, "AMP.blurReduction", "blurReduction", kInt),
          dottedRow(AMP_JUDDER_REDUCTION_CONTROL, "AMP.judderReduction", "judderReduction", kInt),
          dottedRow(AMP_LED_CLEAR_MOTION_CONTROL, "AMP.LEDClearMotion", "LEDClearMotion", kText),
          row(LOCAL_DIMMING_CONTROL, "localDimming", kText),
          row(FILM_MODE_CONTROL, "filmMode", kText),
          row(CONTRAST_ENHANCER_CONTROL, "contrastEnhancer", kText),
          row(COLOR_TONE_CONTROL, "colorTone", kText),
          row(WB_2POINT_CONTROL, "WB2Point", kInt),
          row(WB_20POINT_MODE_CONTROL, "WB20PointMode", kText),
          dottedRow(WB_20P_INTERVAL_CONTROL, "WB20P.Interval", "WB20PInterval", kInt),
          dottedRow(WB_20P_RED_CONTROL, "WB20P.Red", "WB20PRed", kInt),
          dottedRow(WB_20P_GREEN_CONTROL, "WB20P.Green", "WB20PGreen", kInt),
          dottedRow(WB_20P_BLUE_CONTROL, "WB20P.Blue", "WB20PBlue", kInt),
          row(GAMMA_MODE_CONTROL, "gammaMode", kText),
          dottedRow(GAMMA_BT1886_CONTROL, "gamma.BT1886", "gammaBT1886", kInt),
          dottedRow(GAMMA_ST2084_CONTROL, "gamma.ST2084", "gammaST2084", kInt),
          dottedRow(GAMMA_HLG_CONTROL, "gamma.HLG", "gammaHLG", kInt),
          row(RGB_ONLY_MODE_CONTROL, "RGBOnlyMode", kText),
          row(COLOR_SPACE_CONTROL, "colorSpace", kText),
          dottedRow(COLOR_SPACE_COLOR_CONTROL, "colorSpace.Color", "colorSpaceColor", kText),
          dottedRow(COLOR_SPACE_COLOR_ADJUSTMENT_POINT_CONTROL, "colorSpace.ColorAdjustmentPoint",
                    "colorSpaceColorAdjustmentPoint", kInt),
          dottedRow(COLOR_SPACE_RED_CONTROL, "colorSpace.Red", "colorSpaceRed", kInt),
          dottedRow(COLOR_SPACE_GREEN_CONTROL, "colorSpace.Green", "colorSpaceGreen", kInt),
          dottedRow(COLOR_SPACE_BLUE_CONTROL, "colorSpace.Blue", "colorSpaceBlue", kInt),
      }) {}
