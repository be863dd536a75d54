// Picture control: the picture properties, the video state read and their usage events.
#include "System/PictureControlHelper.h"

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

namespace {

// One picture method: its client key, its framework property and the property's kind.
struct PictureSetting {
    DYNF_TVCONTROL_PROP_TYPE type;
    const char* key;
    const char* property;
    bool isString;
};

const PictureSetting kSettings[] = {
    {PICTURE_MODE_CONTROL, "pictureMode", "pictureMode", true},
    {CONTRAST_CONTROL, "contrast", "contrast", false},
    {BRIGHTNESS_CONTROL, "brightness", "brightness", false},
    {SHARPNESS_CONTROL, "sharpness", "sharpness", false},
    {COLOR_CONTROL, "color", "color", false},
    {TINT_CONTROL, "tint", "tint", false},
    {PICTURE_SIZE_CONTROL, "pictureSize", "pictureSizeIPControl", true},
};

// What "getVideoStates" reads, in the order it asks.
const char* const kVideoStates[] = {"contrast", "sharpness", "brightness", "color", "tint"};

// The row of type, or null.
const PictureSetting* findSetting(int type) {
    for (const PictureSetting& setting : kSettings) {
        if (setting.type == type) {
            return &setting;
        }
    }
    return nullptr;
}

}  // namespace

dynf_property_list_h PictureControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    if (request->propType == GET_VIDEO_STATES) {
        return _getVideoStatesPropertyInternal(request);
    }
    const PictureSetting* setting = findSetting(request->propType);
    if (setting == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    return setting->isString
               ? getPropertyDataInternalString(request, setting->key, setting->property)
               : getPropertyDataInternalInt(request, setting->key, setting->property);
}

void PictureControlHelper::handleResult(const dynf_error& error, dynf_property_list_h result,
                                        CmdRequest* request) {
    LOGI("handleResult");
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (!preHandleResult(error, request)) {
        _sendKPILog(request);
        return;
    }
    if (result == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    _handlePictureModeSizeResult(result, request);
    _handlePictureControlResult(result, request);
    _handleVideoStatesResult(result, request);
}

dynf_property_list_h PictureControlHelper::_getVideoStatesPropertyInternal(CmdRequest* request) {
    // Only reads: with params it would set all five at once.
    if (refuseWrite(request)) {
        return nullptr;
    }
    dynf_property_list_h list =
        getPropertyDataInternalInt(request, kVideoStates[0], kVideoStates[0]);
    for (size_t i = 1; list != nullptr && i < sizeof kVideoStates / sizeof kVideoStates[0]; ++i) {
        if (!addPropertyDataInternalInt(list, request, kVideoStates[i], kVideoStates[i])) {
            dynf_property_list_destroy(list);
            list = nullptr;
        }
    }
    return list;
}

void PictureControlHelper::_handlePictureModeSizeResult(dynf_property_list_h result,
                                                        CmdRequest* request) {
    const PictureSetting* setting = findSetting(request->propType);
    if (setting == nullptr || !setting->isString) {
        return;
    }
    std::string value;
    if (!findStringProperty(result, setting->property, value, request)) {
        return;
    }
    cmdfields::resultObject(*request)[setting->key] = value;
    _sendKPILog(request);
}

void PictureControlHelper::_handlePictureControlResult(dynf_property_list_h result,
                                                       CmdRequest* request) {
    const PictureSetting* setting = findSetting(request->propType);
    if (setting == nullptr || setting->isString) {
        return;
    }
    _copyIntResult(result, setting->property, request);
}

void PictureControlHelper::_handleVideoStatesResult(dynf_property_list_h result,
                                                    CmdRequest* request) {
    if (request->propType != GET_VIDEO_STATES) {
        return;
    }
    LOGI("dump data....");
    for (const char* name : kVideoStates) {
        _copyIntResult(result, name, request);
    }
}

bool PictureControlHelper::_copyIntResult(dynf_property_list_h result, const std::string& name,
                                          CmdRequest* request) {
    int value = 0;
    if (!findIntProperty(result, name, value, request)) {
        return false;
    }
    LOGI("%s val->(%d)", name.c_str(), value);
    cmdfields::resultObject(*request)[name] = value;
    return true;
}

void PictureControlHelper::_sendKPILog(CmdRequest* request) {
    const PictureSetting* setting = findSetting(request->propType);
    if (setting == nullptr) {
        return;
    }
    sendKPILog(setting->key, cmdfields::resultText(*request, setting->key), request);
}
