// The platform's own part of the admin API: settings, the pop-up and the paired clients.
#include "PlatformAdminApi.h"

#include <climits>
#include <functional>
#include <cstdlib>

#include <glib.h>
#include <json-glib/json-glib.h>
#include <microhttpd.h>

#include "AdminServer.h"
#include "NotificationCenter.h"
#include "PairedClientsControl.h"
#include "PlatformObjects.h"
#include "RequestLog.h"
#include "SettingsSchema.h"
#include "notification.h"
#include "system_settings.h"

namespace ipc_platform {

namespace {

struct AnswerName {
    const char* name;
    int event;
};
constexpr AnswerName kAnswers[] = {
    {"allow", NOTIFICATION_EVENT_BUTTON_1},
    {"deny", NOTIFICATION_EVENT_BUTTON_2},
    {"close", NOTIFICATION_EVENT_BUTTON_3},
    {"dismiss", NOTIFICATION_EVENT_HIDDEN_BY_USER},
};

JsonNodePtr objectNode(JsonObject* object) {
    JsonNode* node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, object);
    return JsonNodePtr(node);
}

// The settings by name; a setting that cannot be read (platform shut down) shows as null.
JsonNodePtr settingsSection() {
    JsonObject* settings = json_object_new();
    for (const SettingDefinition& setting : settingDefinitions()) {
        int number = 0;
        char* text = nullptr;
        if (setting.isInt &&
            system_settings_get_value_int(setting.key, &number) == SYSTEM_SETTINGS_ERROR_NONE) {
            json_object_set_int_member(settings, setting.name, number);
        } else if (!setting.isInt && system_settings_get_value_string(setting.key, &text) ==
                                         SYSTEM_SETTINGS_ERROR_NONE) {
            json_object_set_string_member(settings, setting.name, text);
            free(text);
        } else {
            json_object_set_null_member(settings, setting.name);
        }
    }
    return objectNode(settings);
}

JsonNodePtr notificationSection(const NotificationCenter& notifications) {
    const std::optional<NotificationCenter::Showing> showing = notifications.showing();
    if (!showing) {
        return nullptr;
    }
    const NotificationContent& content = showing->content;
    JsonObject* popup = json_object_new();
    json_object_set_int_member(popup, "id", static_cast<gint64>(showing->id));
    json_object_set_string_member(popup, "title", content.title.c_str());
    json_object_set_string_member(popup, "titleKey", content.titleKey.c_str());
    json_object_set_string_member(popup, "content", content.content.c_str());
    json_object_set_string_member(popup, "contentKey", content.contentKey.c_str());
    JsonArray* buttons = json_array_new();
    for (int number = 1; number <= 3; ++number) {
        if (!content.hasButton(number)) {
            continue;
        }
        JsonObject* button = json_object_new();
        json_object_set_int_member(button, "number", number);
        json_object_set_string_member(button, "answer", kAnswers[number - 1].name);
        json_object_set_string_member(button, "label", content.buttons[number - 1].label.c_str());
        json_array_add_object_element(buttons, button);
    }
    json_object_set_array_member(popup, "buttons", buttons);
    json_object_set_string_member(popup, "tag", content.tag.c_str());
    json_object_set_int_member(popup, "displayList", content.displayList);
    json_object_set_int_member(popup, "layout", content.layout);
    json_object_set_int_member(popup, "hideTimeoutMs", content.hideTimeoutMs);
    json_object_set_int_member(popup, "remainingMs", showing->remainingMs);
    return objectNode(popup);
}

AdminReply answerPopup(NotificationCenter& notifications, const AdminRequest& request) {
    for (const AnswerName& answer : kAnswers) {
        if (request.param != answer.name) {
            continue;
        }
        switch (notifications.answer(answer.event)) {
            case NotificationCenter::AnswerResult::Answered: {
                JsonObject* result = json_object_new();
                json_object_set_string_member(result, "answered", answer.name);
                json_object_set_int_member(result, "event", answer.event);
                return AdminReply::json(objectNode(result));
            }
            case NotificationCenter::AnswerResult::NothingShowing:
                return AdminReply::error(MHD_HTTP_CONFLICT, "no pop-up is showing");
            case NotificationCenter::AnswerResult::NotOffered:
                return AdminReply::error(
                    MHD_HTTP_CONFLICT, std::string("the pop-up has no ") + answer.name + " button");
        }
    }
    return AdminReply::error(MHD_HTTP_NOT_FOUND, "unknown answer '" + request.param +
                                                     "' (allow, deny, close or dismiss)");
}

std::string settingNames() {
    std::string names;
    for (const SettingDefinition& setting : settingDefinitions()) {
        names += (names.empty() ? "" : ", ") + std::string(setting.name);
    }
    return names;
}

// Checks the body against the setting's type and stores it; the status and message of a
// refusal otherwise.
AdminReply putSetting(const AdminRequest& request) {
    const SettingDefinition* setting = findSetting(request.param);
    if (setting == nullptr) {
        return AdminReply::error(MHD_HTTP_BAD_REQUEST, "unknown setting '" + request.param + "' (" +
                                                           settingNames() + ")");
    }
    JsonNode* body = request.body.get();
    const GType type = body != nullptr && JSON_NODE_HOLDS_VALUE(body)
                           ? json_node_get_value_type(body)
                           : G_TYPE_INVALID;
    int result = SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    if (setting->isInt) {
        const gint64 value = type == G_TYPE_INT64 ? json_node_get_int(body) : 0;
        if (type != G_TYPE_INT64 || value < INT_MIN || value > INT_MAX) {
            return AdminReply::error(MHD_HTTP_BAD_REQUEST,
                                     std::string(setting->name) + " takes a JSON integer");
        }
        result = system_settings_set_value_int(setting->key, static_cast<int>(value));
    } else {
        const char* value = type == G_TYPE_STRING ? json_node_get_string(body) : nullptr;
        if (value == nullptr || *value == '\0') {
            return AdminReply::error(MHD_HTTP_BAD_REQUEST,
                                     std::string(setting->name) + " takes a non-empty JSON string");
        }
        const std::string refusal = stringRefusal(*setting, value);
        if (!refusal.empty()) {
            return AdminReply::error(MHD_HTTP_BAD_REQUEST, refusal);
        }
        result = system_settings_set_value_string(setting->key, value);
    }
    switch (result) {
        case SYSTEM_SETTINGS_ERROR_NONE:
            return AdminReply::json(settingsSection());
        case SYSTEM_SETTINGS_ERROR_IO_ERROR:
            return AdminReply::error(MHD_HTTP_INTERNAL_SERVER_ERROR,
                                     "the settings file could not be written");
        case SYSTEM_SETTINGS_ERROR_NOT_READY:
            return AdminReply::error(MHD_HTTP_SERVICE_UNAVAILABLE, "the platform is shutting down");
        default:
            return AdminReply::error(MHD_HTTP_BAD_REQUEST,
                                     std::string("value refused for ") + setting->name);
    }
}

// The product profile in use: {"profile": its name, "file": its path}; null once shut down.
JsonNodePtr productSection() {
    const std::shared_ptr<const PlatformObjects> objects = currentObjects();
    if (objects == nullptr) {
        return nullptr;
    }
    const std::string file =
        resolveProfilePath(objects->options.profile, objects->options.resourceDir);
    g_autofree gchar* base = g_path_get_basename(file.c_str());
    std::string name = base;
    if (g_str_has_suffix(base, ".json")) {
        name.resize(name.size() - 5);
    }
    JsonObject* product = json_object_new();
    json_object_set_string_member(product, "profile", name.c_str());
    json_object_set_string_member(product, "file", file.c_str());
    return objectNode(product);
}

// The list the service handed over: [{"MacAddr", "AccessClass", "AccessToken"}], tokens cut short.
JsonNodePtr clientsSection() {
    JsonArray* clients = json_array_new();
    for (const PairedClientsControl::Client& client : PairedClientsControl::instance().clients()) {
        JsonObject* shown = json_object_new();
        json_object_set_string_member(shown, "MacAddr", client.macAddress.c_str());
        json_object_set_int_member(shown, "AccessClass", client.accessClass);
        json_object_set_string_member(shown, "AccessToken", client.token.c_str());
        json_array_add_object_element(clients, shown);
    }
    JsonNode* node = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(node, clients);
    return JsonNodePtr(node);
}

// The answer to a revoke or reset once the service ran it (or could not).
AdminReply clientsReply(const PairedClientsControl::Result& result, const char* member) {
    switch (result.outcome) {
        case PairedClientsControl::Outcome::Done:
            break;
        case PairedClientsControl::Outcome::NoService:
            return AdminReply::error(MHD_HTTP_SERVICE_UNAVAILABLE,
                                     "the IP control service is not running");
        case PairedClientsControl::Outcome::TimedOut:
            return AdminReply::error(MHD_HTTP_SERVICE_UNAVAILABLE,
                                     "the IP control service did not answer in time");
    }
    JsonObject* answer = json_object_new();
    json_object_set_int_member(answer, member, result.count);
    return AdminReply::json(objectNode(answer));
}

}  // namespace

void addPlatformAdminApi(AdminServer& server,
                         const std::shared_ptr<NotificationCenter>& notifications) {
    server.addStateSection("settings", settingsSection);
    server.addStateSection("product", productSection);
    server.addStateSection("notification",
                           [notifications] { return notificationSection(*notifications); });
    server.addStateSection("clients", clientsSection);
    server.addRoute(MHD_HTTP_METHOD_POST, "/api/notification/*",
                    [notifications](const AdminRequest& request) {
                        return answerPopup(*notifications, request);
                    });
    server.addRoute(MHD_HTTP_METHOD_PUT, "/api/settings/*", putSetting);

    // The service changes its own list (and file), so a revoked token is refused at once; the
    // list it hands over afterwards publishes the state.
    const std::function<void()> publish = server.publisher();
    PairedClientsControl::instance().setListener(publish);
    server.addRoute(MHD_HTTP_METHOD_DELETE, "/api/clients/*", [](const AdminRequest& request) {
        const PairedClientsControl::Result result =
            PairedClientsControl::instance().revoke(request.param);
        if (result.outcome == PairedClientsControl::Outcome::Done && result.count == 0) {
            return AdminReply::error(MHD_HTTP_NOT_FOUND,
                                     "no paired client has the MAC address " + request.param);
        }
        return clientsReply(result, "revoked");
    });
    server.addRoute(MHD_HTTP_METHOD_DELETE, "/api/clients", [](const AdminRequest&) {
        PairedClientsControl::Result result = PairedClientsControl::instance().reset();
        if (result.outcome == PairedClientsControl::Outcome::Done) {
            result.count = 0;
        }
        return clientsReply(result, "remaining");
    });

    // The section owns the log, so the log goes with the server.
    auto requests = std::make_shared<RequestLog>();
    requests->setListener(publish);
    RequestLog::install(requests);
    server.addStateSection("requests", [requests] { return requests->toJson(); });
}

}  // namespace ipc_platform
