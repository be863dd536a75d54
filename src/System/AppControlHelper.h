// Application control: launching known apps, art mode, and the first-screen app list and choice.
#pragma once

#include <map>
#include <string>

#include "JsonValue.h"
#include "System/ControlHelperBase.h"

// Serves "directAccessControl" (framework property "launchApp"), "artModeControl" ("artMode")
// and "firstScreenAppControl" ("firstScreenAppList" to read, "firstScreenAppId" to choose).
//
// Apps are named as clients know them ("Netflix", "Prime Video", "Internet", ...); each name maps
// to an app key and the key to a store app id, or to a run title that the platform's app-title
// lookup resolves per command. A missing or empty name fails as "Invalid params" before any
// framework call, for a launch also an unknown one; a first-screen choice of an unknown name
// sends the empty choice "{}". A run title the TV cannot resolve is sent unresolved, for the TV
// to refuse. The browser ("Internet", "org.orvane.browser") alone takes the params member "url".
// A launch without params is refused like one without a name; the foreground app is read by
// "getTVStates". "firstScreenAppControl" without params reads the list; with "applicationName"
// it writes "firstScreenAppId" = {"id": <app id>} and is answered as a write. "contentInfo" is
// not used.
//
// Every successful write sends a usage event: a launch an "APPLICATION" event with the name, the
// others a "COMMAND" event.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class AppControlHelper : public ControlHelperBase {
public:
    AppControlHelper();
    ~AppControlHelper() override = default;
    // Writes: the launch, the art-mode word or the first-screen choice from the params. Reads: the
    // art mode or the first-screen list; a launch needs a name, so its read is refused. Null when
    // refused.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;
    // The client's name of the foreground app in a "launchApp" value: its "title", or "unknown".
    static std::string foregroundAppName(const common::json::JsonValue& launchApp);

private:
    // A read answers {"artMode"} or {"firstScreenAppList": [{"name","id"}, ...]}; an answer that
    // cannot be read fails.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // A write's event: "APPLICATION" for a launch, "COMMAND" for the others. Reads send none.
    void _sendKPILog(CmdRequest* request) override;
    dynf_property_list_h _getDirectAccessProperty(CmdRequest* request);
    dynf_property_list_h _getArtModeProperty(CmdRequest* request);
    dynf_property_list_h _getFirstScreenAppProperty(CmdRequest* request);
    void _handleArtModeResult(dynf_property_list_h result, CmdRequest* request);
    void _handleFirstScreenAppResult(dynf_property_list_h result, CmdRequest* request);

    // The params member "applicationName"; false when it cannot be read, or (recorded as
    // "Invalid params") when it is absent or empty.
    bool _getRequiredAppName(CmdRequest* request, std::string& name);
    // The app key and launch target of a client's app name; false for an unknown name.
    bool _findApp(const std::string& name, std::string& key, std::string& target) const;
    // The store app id of an app's target, resolving a run title; a title the platform cannot
    // resolve gives the target unchanged.
    static std::string _getAppId(const std::string& key, const std::string& target);
    // The named result property's text parsed as JSON of the given kind; false (recorded) when
    // the property is missing or its text is not such JSON.
    bool _readResultJson(dynf_property_list_h result, const std::string& name,
                         common::json::JsonType kind, common::json::JsonValue& value,
                         CmdRequest* request);
    static dynf_property_list_h _createJsonList(const std::string& name,
                                                const common::json::JsonValue& value);

    const std::string m_launchAppName;
    const std::string m_artModeName;
    const std::string m_firstScreenAppListName;
    const std::string m_firstScreenAppIdName;
    std::map<std::string, std::string> m_appTargets;  // app key → store app id or run title
    std::map<std::string, std::string> m_appKeys;     // client's app name → app key
};
