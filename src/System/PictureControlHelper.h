// Picture control: picture mode, size, the basic picture values and the video state.
#pragma once

#include <string>

#include "System/ControlHelperBase.h"

// Serves "pictureModeControl" and "pictureSizeControl" (string properties "pictureMode" and
// "pictureSizeIPControl", answered as "pictureMode" and "pictureSize"), "contrastControl",
// "brightnessControl", "sharpnessControl", "colorControl", "tintControl" (integer properties of
// the same names) and the read-only "getVideoStates", which reads the five integers in one
// request. Values are passed unchanged; their ranges and words are the framework's to judge.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class PictureControlHelper : public ControlHelperBase {
public:
    PictureControlHelper();
    ~PictureControlHelper() override = default;
    // The property (or, for "getVideoStates", the five properties) of the command's type: ""
    // or 0 for a read, the params member for a write. Null for another type, unusable params or
    // a write of "getVideoStates" (refused as an invalid operation, like every read-only method).
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // A read answers the values under their client keys. A property missing from the answer
    // fails the command, though "getVideoStates" still copies the ones found.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // The key of a write, or of a read of mode or size that found its value.
    std::string _usageKey(const CmdRequest& request) const override;
    dynf_property_list_h _getVideoStatesPropertyInternal(CmdRequest* request);
    void _handlePictureModeSizeResult(dynf_property_list_h result, CmdRequest* request);
    void _handlePictureControlResult(dynf_property_list_h result, CmdRequest* request);
    void _handleVideoStatesResult(dynf_property_list_h result, CmdRequest* request);
    // Copies the integer property name into result[name]; false when it is missing.
    bool _copyIntResult(dynf_property_list_h result, const std::string& name, CmdRequest* request);

    const PropertyRows m_rows;
};
