// Picture control: the picture properties, the video state read and their usage events.
#include "System/PictureControlHelper.h"

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;

namespace {

// What "getVideoStates" reads, in the order it asks.
const char* const kVideoStates[] = {"contrast", "sharpness", "brightness", "color", "tint"};

}  // namespace

PictureControlHelper::PictureControlHelper()
    : m_rows({
          {PICTURE_MODE_CONTROL, "pictureMode", "pictureMode", DYNF_PROPERTY_STRING},
          {CONTRAST_CONTROL, "contrast", "contrast", DYNF_PROPERTY_INT},
          {BRIGHTNESS_CONTROL, "brightness", "brightness", DYNF_PROPERTY_INT},
          {SHARPNESS_CONTROL, "sharpness", "sharpness", DYNF_PROPERTY_INT},
          {COLOR_CONTROL, "color", "color", DYNF_PROPERTY_INT},
          {TINT_CONTROL, "tint", "tint", DYNF_PROPERTY_INT},
          {PICTURE_SIZE_CONTROL, "pictureSize", "pictureSizeIPControl", DYNF_PROPERTY_STRING},
      }) {}

dynf_property_list_h PictureControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    if (request->propType == GET_VIDEO_STATES) {
        return _getVideoStatesPropertyInternal(request);
    }
    // Built here rather than by the row steps: a mode or size write without its key sends "".
    const PropertyRow* row = m_rows.find(request->propType);
    if (row == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    return row->kind == DYNF_PROPERTY_STRING
               ? getPropertyDataInternalString(request, row->key, row->property)
               : getPropertyDataInternalInt(request, row->key, row->property);
}

void PictureControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    if (result == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    _handlePictureModeSizeResult(result, request);
    _handlePictureControlResult(result, request);
    _handleVideoStatesResult(result, request);
}

std::string PictureControlHelper::_usageKey(const CmdRequest& request) const {
    const PropertyRow* row = m_rows.find(request.propType);
    if (row == nullptr) {
        return "";
    }
    if (cmdfields::hasValueParams(request)) {
        return row->key;
    }
    const bool found =
        request.result.type() == JsonType::objectValue && request.result.isMember(row->key);
    return row->kind == DYNF_PROPERTY_STRING && found ? row->key : "";
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
    const PropertyRow* row = m_rows.find(request->propType);
    if (row == nullptr || row->kind != DYNF_PROPERTY_STRING) {
        return;
    }
    std::string value;
    if (findStringProperty(result, row->property, value, request)) {
        cmdfields::resultObject(*request)[row->key] = value;
    }
}

void PictureControlHelper::_handlePictureControlResult(dynf_property_list_h result,
                                                       CmdRequest* request) {
    const PropertyRow* row = m_rows.find(request->propType);
    if (row == nullptr || row->kind == DYNF_PROPERTY_STRING) {
        return;
    }
    _copyIntResult(result, row->property, request);
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
