// The method table of TV control and the lookups by the TV's mode.
#include "System/TVCommandMaps.h"

#include "Log.h"
#include "System/TVControlHelper.h"

namespace {

// The map a method belongs to; expert picture methods go into the open map as a block of their own.
enum class MapKind { WALL, NONE_AMBIENT, OPEN, EXPERT_PICTURE };

struct Command {
    const char* method;
    DYNF_TVCONTROL_PROP_TYPE type;
    MapKind map;
    TVControlHelper::Domain helper;
};

// Every method, each map's rows in the order they are inserted.
const Command kCommands[] = {
    {"ambientControl", AMBIENT_CONTROL, MapKind::WALL, TVControlHelper::WALL_MODE},
    {"getBoxStates", GET_BOX_STATES, MapKind::WALL, TVControlHelper::WALL_MODE},
    {"getCabinetGroupIds", GET_CABINET_GROUP_IDS, MapKind::WALL, TVControlHelper::WALL_MODE},
    {"getCabinetStates", GET_CABINET_STATES, MapKind::WALL, TVControlHelper::WALL_MODE},

    {"directVolumeControl", DIRECT_VOLUME_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::SOUND},
    {"inputSourceControl", INPUT_SOURCE_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::SOURCE},
    {"directChannelControl", DIRECT_CHANNEL_CONTROL, MapKind::NONE_AMBIENT,
     TVControlHelper::CHANNEL},
    {"pictureModeControl", PICTURE_MODE_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::PICTURE},
    {"pictureSizeControl", PICTURE_SIZE_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::PICTURE},
    {"soundModeControl", SOUND_MODE_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::SOUND},
    {"speakerSelectControl", SPEAKER_SELECT_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::SOUND},
    {"externalSpeakerControl", EXTERNAL_SPEAKER_CONTROL, MapKind::NONE_AMBIENT,
     TVControlHelper::SOUND},
    {"USBSourceControl", USB_SOURCE_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::SOURCE},
    {"brightnessControl", BRIGHTNESS_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::PICTURE},
    {"contrastControl", CONTRAST_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::PICTURE},
    {"sharpnessControl", SHARPNESS_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::PICTURE},
    {"colorControl", COLOR_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::PICTURE},
    {"tintControl", TINT_CONTROL, MapKind::NONE_AMBIENT, TVControlHelper::PICTURE},

    {"volumeUpDnControl", VOLUME_UP_DN_CONTROL, MapKind::OPEN, TVControlHelper::INPUT},
    {"channelUpDnControl", CHANNEL_UP_DN_CONTROL, MapKind::OPEN, TVControlHelper::INPUT},
    {"muteControl", MUTE_CONTROL, MapKind::OPEN, TVControlHelper::SOUND},
    {"powerControl", POWER_CONTROL, MapKind::OPEN, TVControlHelper::POWER},
    {"artModeControl", ART_MODE_CONTROL, MapKind::OPEN, TVControlHelper::APP},
    {"directAccessControl", DIRECT_ACCESS_CONTROL, MapKind::OPEN, TVControlHelper::APP},
    {"firstScreenAppControl", FIRST_SCREEN_APP_CONTROL, MapKind::OPEN, TVControlHelper::APP},
    {"remoteKeyControl", REMOTE_KEY_CONTROL, MapKind::OPEN, TVControlHelper::INPUT},
    {"getVideoStates", GET_VIDEO_STATES, MapKind::OPEN, TVControlHelper::PICTURE},
    {"getTVStates", GET_TV_STATES, MapKind::OPEN, TVControlHelper::DEVICE},
    {"multiviewControl", MULTIVIEW_CONTROL, MapKind::OPEN, TVControlHelper::MULTI_VIEW},
    {"displayRotatorControl", DISPLAY_ROTATOR_CONTROL, MapKind::OPEN,
     TVControlHelper::DISPLAY_ROTATOR},

#define EXPERT_PICTURE(method, type) \
    { method, type, MapKind::EXPERT_PICTURE, TVControlHelper::EXPERT_PICTURE }
    EXPERT_PICTURE("pictureCalibrationModeControl", PICTURE_CALIBRATION_MODE_CONTROL),
    EXPERT_PICTURE("backlightControl", BACKLIGHT_CONTROL),
    EXPERT_PICTURE("digitalCleanViewControl", DIGITAL_CLEAN_VIEW_CONTROL),
    EXPERT_PICTURE("autoMotionPlusControl", AUTO_MOTION_PLUS_CONTROL),
    EXPERT_PICTURE("AMP.blurReductionControl", AMP_BLUR_REDUCTION_CONTROL),
    EXPERT_PICTURE("AMP.judderReductionControl", AMP_JUDDER_REDUCTION_CONTROL),
    EXPERT_PICTURE("AMP.LEDClearMotionControl", AMP_LED_CLEAR_MOTION_CONTROL),
    EXPERT_PICTURE("localDimmingControl", LOCAL_DIMMING_CONTROL),
    EXPERT_PICTURE("filmModeControl", FILM_MODE_CONTROL),
    EXPERT_PICTURE("contrastEnhancerControl", CONTRAST_ENHANCER_CONTROL),
    EXPERT_PICTURE("colorToneControl", COLOR_TONE_CONTROL),
    EXPERT_PICTURE("WB2PointControl", WB_2POINT_CONTROL),
    EXPERT_PICTURE("WB20PointModeControl", WB_20POINT_MODE_CONTROL),
    EXPERT_PICTURE("WB20P.IntervalControl", WB_20P_INTERVAL_CONTROL),
    EXPERT_PICTURE("WB20P.RedControl", WB_20P_RED_CONTROL),
    EXPERT_PICTURE("WB20P.GreenControl", WB_20P_GREEN_CONTROL),
    EXPERT_PICTURE("WB20P.BlueControl", WB_20P_BLUE_CONTROL),
    EXPERT_PICTURE("gammaModeControl", GAMMA_MODE_CONTROL),
    EXPERT_PICTURE("gamma.BT1886Control", GAMMA_BT1886_CONTROL),
    EXPERT_PICTURE("gamma.ST2084Control", GAMMA_ST2084_CONTROL),
    EXPERT_PICTURE("gamma.HLGControl", GAMMA_HLG_CONTROL),
    EXPERT_PICTURE("RGBOnlyModeControl", RGB_ONLY_MODE_CONTROL),
    EXPERT_PICTURE("colorSpaceControl", COLOR_SPACE_CONTROL),
    EXPERT_PICTURE("colorSpace.ColorControl", COLOR_SPACE_COLOR_CONTROL),
    EXPERT_PICTURE("colorSpace.ColorAdjustmentPointControl",
                   COLOR_SPACE_COLOR_ADJUSTMENT_POINT_CONTROL),
    EXPERT_PICTURE("colorSpace.RedControl", COLOR_SPACE_RED_CONTROL),
    EXPERT_PICTURE("colorSpace.GreenControl", COLOR_SPACE_GREEN_CONTROL),
    EXPERT_PICTURE("colorSpace.BlueControl", COLOR_SPACE_BLUE_CONTROL),
#undef EXPERT_PICTURE
};

// Adds the rows of one kind to map in table order, never replacing an entry.
template <typename Map>
void insertCommands(Map& map, MapKind kind) {
    for (const Command& command : kCommands) {
        if (command.map == kind) {
            map.emplace(command.method, command.type);
        }
    }
}

// Adds the helper of each row of one kind, never replacing an entry.
template <typename Map>
void insertHelpers(Map& map, MapKind kind, const TVControlHelper& helpers) {
    for (const Command& command : kCommands) {
        if (command.map == kind) {
            map.emplace(command.type, helpers.getHelper(command.helper));
        }
    }
}

}  // namespace

void TVCommandMaps::generateCommandMaps() {
    LOGI("_generateCommandMaps");
    _generateWallCommandMap();
    _generateNoneAmbientCommandMap();
    _generateOpenCommandMap();
    _generateExpertPictureCommandMap();
}

void TVCommandMaps::generateControlHelpersMap(const TVControlHelper& helpers) {
    _insertTVHelper(helpers);
    _insertWallHelper(helpers);
    _insertExpertPictureHelper(helpers);
}

void TVCommandMaps::clear() {
    LOGI("_clearAllMaps");
    m_wallCommand.clear();
    m_noneAmbientCommand.clear();
    m_openCommand.clear();
    m_helpers.clear();
}

DYNF_TVCONTROL_PROP_TYPE TVCommandMaps::getTypeForGetOp(bool isWall,
                                                        const std::string& method) const {
    LOGI("isWall : %d, method(%s)", isWall, method.c_str());
    DYNF_TVCONTROL_PROP_TYPE type = TVCONTROL_PROP_TYPE_INVALID;
    if (isWall && _search(m_wallCommand, "wallCommand", method, type)) {
        return type;
    }
    // Reads are allowed while the ambient screen shows.
    if (_search(m_noneAmbientCommand, "noneAmbientCommand", method, type)) {
        return type;
    }
    _search(m_openCommand, "openCommand", method, type);
    return type;
}

DYNF_TVCONTROL_PROP_TYPE TVCommandMaps::getTypeForSetOp(bool isAmbient, bool isWall,
                                                        const std::string& method) const {
    LOGI("isAmbient : %d, isWall : %d, method(%s)", isAmbient, isWall, method.c_str());
    DYNF_TVCONTROL_PROP_TYPE type = TVCONTROL_PROP_TYPE_INVALID;
    if (isWall && _search(m_wallCommand, "wallCommand", method, type)) {
        return type;
    }
    if (!isAmbient && _search(m_noneAmbientCommand, "noneAmbientCommand", method, type)) {
        return type;
    }
    _search(m_openCommand, "openCommand", method, type);
    return type;
}

std::shared_ptr<IControlHelper> TVCommandMaps::getHelper(DYNF_TVCONTROL_PROP_TYPE type) const {
    const auto found = m_helpers.find(type);
    return found != m_helpers.end() ? found->second : nullptr;
}

void TVCommandMaps::_generateWallCommandMap() {
    insertCommands(m_wallCommand, MapKind::WALL);
}

void TVCommandMaps::_generateNoneAmbientCommandMap() {
    insertCommands(m_noneAmbientCommand, MapKind::NONE_AMBIENT);
}

void TVCommandMaps::_generateOpenCommandMap() {
    insertCommands(m_openCommand, MapKind::OPEN);
}

void TVCommandMaps::_generateExpertPictureCommandMap() {
    insertCommands(m_openCommand, MapKind::EXPERT_PICTURE);
}

void TVCommandMaps::_insertTVHelper(const TVControlHelper& helpers) {
    insertHelpers(m_helpers, MapKind::NONE_AMBIENT, helpers);
    insertHelpers(m_helpers, MapKind::OPEN, helpers);
}

void TVCommandMaps::_insertWallHelper(const TVControlHelper& helpers) {
    insertHelpers(m_helpers, MapKind::WALL, helpers);
}

void TVCommandMaps::_insertExpertPictureHelper(const TVControlHelper& helpers) {
    insertHelpers(m_helpers, MapKind::EXPERT_PICTURE, helpers);
}

bool TVCommandMaps::_search(const CommandMap& map, const char* mapName, const std::string& method,
                            DYNF_TVCONTROL_PROP_TYPE& type) {
    LOGI("searching method(%s) in %s", method.c_str(), mapName);
    const auto found = map.find(method);
    if (found == map.end()) {
        return false;
    }
    LOGI("found!");
    type = found->second;
    return true;
}
