// The knobs of the virtual TV and their JSON form.
#include "TvKnobs.h"

#include <climits>
#include <cstring>

#include <json-glib/json-glib.h>

#include "TvJson.h"

namespace ipc_tv {

namespace {

bool readBool(JsonNode* node, bool& value) {
    if (valueType(node) != G_TYPE_BOOLEAN) {
        return false;
    }
    value = json_node_get_boolean(node) != FALSE;
    return true;
}

bool readDelay(JsonNode* node, unsigned int& value) {
    long long number = 0;
    if (!readInteger(node, 0, TvKnobs::kMaxDelayMs, number)) {
        return false;
    }
    value = static_cast<unsigned int>(number);
    return true;
}

bool readFailNext(JsonNode* node, TvKnobs& knobs, std::string& error) {
    const bool read = forEachMember(node, [&](const char* name, JsonNode* member) {
        long long number = 0;
        if (std::strcmp(name, "count") == 0 && readInteger(member, 0, INT_MAX, number)) {
            knobs.failNextCount = static_cast<unsigned int>(number);
        } else if (std::strcmp(name, "error") == 0 && readInteger(member, 1, INT32_MAX, number)) {
            knobs.failNextError = static_cast<dynf_error>(number);
        } else {
            error = std::string("failNext.") + name +
                    " is unknown or out of range (count: 0 or more, error: 1 or more)";
            return false;
        }
        return true;
    });
    if (!read && error.empty()) {
        error = "failNext takes an object {\"count\": n, \"error\": code}";
    }
    return read;
}

// One member onto knobs; false with error when it is unknown or its value is out of range.
bool applyMember(const char* name, JsonNode* value, TvKnobs& knobs, std::string& error) {
    struct Delay {
        const char* name;
        unsigned int TvKnobs::*field;
    };
    static const Delay kDelays[] = {{"latencyMs", &TvKnobs::latencyMs},
                                    {"jitterMs", &TvKnobs::jitterMs},
                                    {"rebootMs", &TvKnobs::rebootMs}};
    for (const Delay& delay : kDelays) {
        if (std::strcmp(name, delay.name) == 0) {
            if (!readDelay(value, knobs.*delay.field)) {
                error = std::string(name) + " takes an integer from 0 to 60000";
                return false;
            }
            return true;
        }
    }
    if (std::strcmp(name, "failNext") == 0) {
        return readFailNext(value, knobs, error);
    }
    bool* flag = std::strcmp(name, "tvServiceAvailable") == 0     ? &knobs.tvServiceAvailable
                 : std::strcmp(name, "wallServiceAvailable") == 0 ? &knobs.wallServiceAvailable
                                                                  : nullptr;
    if (flag == nullptr) {
        error = std::string("unknown knob \"") + name +
                "\" (latencyMs, jitterMs, rebootMs, failNext, tvServiceAvailable, "
                "wallServiceAvailable)";
        return false;
    }
    if (!readBool(value, *flag)) {
        error = std::string(name) + " takes true or false";
        return false;
    }
    return true;
}

}  // namespace

bool TvKnobs::apply(JsonNode* node, std::string& error) {
    TvKnobs changed = *this;
    error.clear();
    if (!forEachMember(node, [&](const char* name, JsonNode* value) {
            return applyMember(name, value, changed, error);
        })) {
        if (error.empty()) {
            error = "the knobs are a JSON object";
        }
        return false;
    }
    *this = changed;
    return true;
}

JsonNode* TvKnobs::toJson() const {
    JsonObject* failNext = json_object_new();
    json_object_set_int_member(failNext, "count", failNextCount);
    json_object_set_int_member(failNext, "error", failNextError);
    JsonObject* object = json_object_new();
    json_object_set_int_member(object, "latencyMs", latencyMs);
    json_object_set_int_member(object, "jitterMs", jitterMs);
    json_object_set_int_member(object, "rebootMs", rebootMs);
    json_object_set_object_member(object, "failNext", failNext);
    json_object_set_boolean_member(object, "tvServiceAvailable", tvServiceAvailable);
    json_object_set_boolean_member(object, "wallServiceAvailable", wallServiceAvailable);
    JsonNode* node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, object);
    return node;
}

}  // namespace ipc_tv
