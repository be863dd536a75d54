// Small readers of json-glib nodes shared by the TV's configuration, knobs, state and admin API.
#pragma once

#include <functional>

#include <glib-object.h>

typedef struct _JsonNode JsonNode;

namespace ipc_tv {

// Thread-safe: the functions share nothing.

// The type of a value node; G_TYPE_INVALID for null, objects, arrays and a null pointer.
GType valueType(JsonNode* node);
// The integer in node when it lies in [min, max].
bool readInteger(JsonNode* node, long long min, long long max, long long& value);
// Calls visit for every member of an object node, in order, until it returns false. False when
// the node is not an object or visit refused a member.
bool forEachMember(JsonNode* node, const std::function<bool(const char*, JsonNode*)>& visit);

}  // namespace ipc_tv
