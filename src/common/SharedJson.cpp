// Handle on a shared json-glib node tree: the storage beneath JsonValue.
#include "SharedJson.h"

#include <json-glib/json-glib.h>

#include <string_view>

#include "JsonException.h"
#include "JsonNodeFix.h"
#include "JsonNodeTree.h"
#include "JsonSyntaxCheck.h"
#include "JsonTextWriter.h"
#include "Log.h"
#include "PlainJsonReader.h"

namespace common::json {

using node_tree::array_of;
using node_tree::assign_scalar;
using node_tree::deep_copy;
using node_tree::encloses;
using node_tree::find_container;
using node_tree::is_scalar;
using node_tree::kind_of;
using node_tree::new_empty;
using node_tree::new_null;
using node_tree::object_of;
using node_tree::substitute;

namespace {

// Doubles in [-2^63, 2^63) convert to a 64-bit integer without overflow.
constexpr double kInt64Low = -9223372036854775808.0;
constexpr double kInt64High = 9223372036854775808.0;

std::shared_ptr<JsonNode> own(JsonNode* root) {
    return std::shared_ptr<JsonNode>(root, json_node_unref);
}

JsonObject* require_object(JsonNode* node) {
    JsonObject* object = object_of(node);
    if (object == nullptr) {
        throw JsonException("invalid type");
    }
    return object;
}

JsonArray* require_array(JsonNode* node) {
    JsonArray* array = array_of(node);
    if (array == nullptr) {
        throw JsonException("invalid type");
    }
    return array;
}

}  // namespace

SharedJson::SharedJson() noexcept : m_node(nullptr) {}

SharedJson::SharedJson(bool value) : SharedJson(json_node_init_boolean(json_node_alloc(), value)) {}

SharedJson::SharedJson(long long value)
    : SharedJson(json_node_init_int(json_node_alloc(), value)) {}

SharedJson::SharedJson(double value)
    : SharedJson(json_node_init_double(json_node_alloc(), value)) {}

SharedJson::SharedJson(const char* value)
    : SharedJson(value != nullptr ? json_node_init_string(json_node_alloc(), value) : nullptr) {}

SharedJson::SharedJson(const std::string& value) : SharedJson(value.c_str()) {}

SharedJson::SharedJson(JsonNode* root) : SharedJson(root, root) {}

SharedJson::SharedJson(JsonNode* root, JsonNode* node)
    : m_root(root != nullptr ? own(root) : nullptr),
      m_node(root != nullptr && node != nullptr ? node : root) {}

SharedJson::SharedJson(std::shared_ptr<JsonNode> root, JsonNode* node)
    : m_root(std::move(root)), m_node(node) {}

SharedJson::SharedJson(const SharedJson& other) : m_root(other._root()), m_node(other._node()) {}

SharedJson::SharedJson(SharedJson&& other) noexcept
    : m_root(std::move(other.m_root)), m_node(other.m_node) {
    other.m_node = nullptr;
}

SharedJson& SharedJson::operator=(const SharedJson& other) {
    if (this != &other) {
        m_root = other._root();
        m_node = other._node();
    }
    return *this;
}

SharedJson& SharedJson::operator=(SharedJson&& other) noexcept {
    if (this != &other) {
        m_root = std::move(other.m_root);
        m_node = other.m_node;
        other.m_node = nullptr;
    }
    return *this;
}

SharedJson::~SharedJson() = default;

JsonNode* SharedJson::_materialise() const {
    m_root = own(new_null());
    m_node = m_root.get();
    return m_node;
}

// Reads go through these two so that reading a handle without a node does not make one.
JsonObject* SharedJson::_object() const {
    return m_node != nullptr ? object_of(m_node) : nullptr;
}

JsonArray* SharedJson::_array() const {
    return m_node != nullptr ? array_of(m_node) : nullptr;
}

const std::shared_ptr<JsonNode>& SharedJson::_root() const {
    _node();
    return m_root;
}

bool SharedJson::_isRoot() const {
    return m_node == nullptr || m_node == m_root.get();
}

bool SharedJson::_alone() const {
    return _isRoot() && m_root.use_count() <= 1;
}

void SharedJson::init(JsonType type) {
    if (type != JsonType::nullValue || m_node != nullptr) {
        _install(new_empty(type));
    }
}

JsonType SharedJson::type() const {
    return m_node != nullptr ? kind_of(m_node) : JsonType::nullValue;
}

bool SharedJson::get_bool() const {
    return m_node != nullptr && is_scalar(m_node) && json_node_get_boolean(m_node) != FALSE;
}

long long SharedJson::get_int() const {
    switch (type()) {
        case JsonType::intValue:
            return json_node_get_int(_node());
        case JsonType::boolValue:
            return get_bool() ? 1 : 0;
        case JsonType::doubleValue: {
            const double value = get_double();
            return value >= kInt64Low && value < kInt64High ? static_cast<long long>(value) : 0;
        }
        default:
            return 0;
    }
}

double SharedJson::get_double() const {
    const JsonType kind = type();
    if (kind == JsonType::intValue || kind == JsonType::doubleValue ||
        kind == JsonType::boolValue) {
        return json_node_get_double(_node());
    }
    return 0.0;
}

std::string SharedJson::get_string() const {
    const char* text = type() == JsonType::stringValue ? json_node_get_string(_node()) : nullptr;
    return text != nullptr ? text : "";
}

bool SharedJson::has(const std::string& name) const {
    JsonObject* object = _object();
    return object != nullptr && json_object_has_member(object, name.c_str());
}

size_t SharedJson::object_size() const {
    JsonObject* object = _object();
    return object != nullptr ? json_object_get_size(object) : 0;
}

size_t SharedJson::array_size() const {
    JsonArray* array = _array();
    return array != nullptr ? json_array_get_length(array) : 0;
}

std::vector<std::string> SharedJson::get_member_names() const {
    std::vector<std::string> names;
    if (JsonObject* object = _object()) {
        names.reserve(json_object_get_size(object));
        GList* members = json_object_get_members(object);
        for (GList* l = members; l != nullptr; l = l->next) {
            names.emplace_back(static_cast<const char*>(l->data));
        }
        g_list_free(members);
    }
    return names;
}

void SharedJson::alloc_member(const std::string& name) {
    JsonObject* object = require_object(_node());
    if (!json_object_has_member(object, name.c_str())) {
        json_object_set_null_member(object, name.c_str());
    }
}

void SharedJson::remove_member(const std::string& name) {
    json_object_remove_member(require_object(_node()), name.c_str());
}

void SharedJson::resize(size_t size) {
    JsonArray* array = require_array(_node());
    size_t length = json_array_get_length(array);
    while (length > size) {
        json_array_remove_element(array, --length);
    }
    for (; length < size; ++length) {
        json_array_add_null_element(array);
    }
}

SharedJson SharedJson::operator[](const std::string& name) const {
    JsonNode* member = _member(name);
    if (member == nullptr) {
        throw JsonException("invalid type");
    }
    return _handle(member);
}

JsonNode* SharedJson::_member(const std::string& name) const {
    JsonObject* object = _object();
    return object != nullptr ? json_object_get_member(object, name.c_str()) : nullptr;
}

JsonNode* SharedJson::_element(size_t index) const {
    JsonArray* array = _array();
    return array != nullptr && index < json_array_get_length(array)
               ? json_array_get_element(array, index)
               : nullptr;
}

SharedJson SharedJson::_handle(JsonNode* node) const {
    return SharedJson(m_root, node);
}

SharedJson SharedJson::operator[](size_t index) const {
    JsonNode* element = _element(index);
    if (element == nullptr) {
        throw JsonException("invalid type");
    }
    return _handle(element);
}

void SharedJson::append(SharedJson&& value) {
    require_array(_node());
    JsonNode* content = _takeContent(value);
    // Fetched afterwards: taking the content out of one of our elements may rebuild the array.
    json_array_add_element(json_node_get_array(_node()), content);
}

void SharedJson::set(const SharedJson& value) {
    if (value.m_node == nullptr) {
        init(JsonType::nullValue);
    } else {
        _install(deep_copy(value.m_node));
    }
}

void SharedJson::set(SharedJson&& value) {
    if (value.m_node == nullptr) {
        init(JsonType::nullValue);
    } else if (m_node == nullptr && value._alone()) {
        // Neither is seen by another handle: value's tree becomes this one as it is.
        *this = std::move(value);
    } else if (!same_node(value)) {
        _install(_takeContent(value));
    }
}

bool SharedJson::equal(const SharedJson& other) const {
    if (m_node == nullptr || other.m_node == nullptr) {
        return type() == JsonType::nullValue && other.type() == JsonType::nullValue;
    }
    return json_node_equal(m_node, other.m_node) != FALSE;
}

bool SharedJson::same_node(const SharedJson& other) const {
    // A handle without a node gets a tree of its own, which no other handle can share.
    if (m_node == nullptr || other.m_node == nullptr) {
        return this == &other;
    }
    return m_node == other.m_node;
}

SharedJson SharedJson::clone() const {
    return m_node != nullptr ? SharedJson(deep_copy(m_node)) : SharedJson();
}

std::string SharedJson::to_string(bool pretty) const {
    if (m_node == nullptr) {
        return "null";
    }
    if (pretty) {
        return json_text::generated(m_node, true);
    }
    std::string text;
    json_text::append_compact(text, m_node);
    return text;
}

namespace {

// One parser per thread, used again for every text: making and dropping a parser object costs
// a sixth of parsing a request. Its tree is always taken away, so it holds nothing in between.
class ThreadParser {
public:
    ThreadParser() : m_parser(json_parser_new()) {}
    ~ThreadParser() { g_object_unref(m_parser); }
    ThreadParser(const ThreadParser&) = delete;
    ThreadParser& operator=(const ThreadParser&) = delete;
    JsonParser* get() const { return m_parser; }

private:
    JsonParser* m_parser;
};

}  // namespace

SharedJson SharedJson::Create(const std::string& text) {
    const std::string_view view(text.c_str());  // the parser, too, stops at a NUL
    // Most requests are plain enough for the one-pass reader, at a fraction of json-glib's cost.
    // Its trees hold only integers and UTF-8 strings, never anything unprintable.
    static thread_local PlainJsonReader reader;
    if (JsonNode* root = reader.read(view)) {
        return SharedJson(root);
    }
    static thread_local ThreadParser threadParser;
    JsonParser* parser = threadParser.get();
    GError* error = nullptr;
    SharedJson result;
    const bool blank = view.find_first_not_of(" \t\r\n") == std::string_view::npos;
    if (!blank && (!g_utf8_validate(view.data(), static_cast<gssize>(view.size()), nullptr) ||
                   !JsonSyntaxCheck(view).wellFormed())) {
        LOGE("failed to parse: not one well-formed JSON value");
    } else if (json_parser_load_from_data(parser, text.c_str(), -1, &error)) {
        JsonNode* root = json_parser_steal_root(parser);
        if (root != nullptr && node_tree::holds_unprintable(root)) {
            LOGE(
                "failed to parse: a number beyond the range of a double or a string that is "
                "not UTF-8");
            json_node_unref(root);
        } else if (root != nullptr) {
            // Taken over rather than copied: no one else holds the parser's tree.
            result = SharedJson(root);
        }
    } else {
        LOGE("failed to parse: %s", error != nullptr ? error->message : "unknown error");
        g_clear_error(&error);
    }
    return result;
}

std::string SharedJson::GlibcVersion() {
    return "1.6.6";
}

SharedJson SharedJson::_detach(SharedJson& source) const {
    if (source.m_node == nullptr) {
        return SharedJson();
    }
    if (&source != this && source._alone()) {
        // This handle is not in that tree either: it changes hands as it is.
        return std::move(source);
    }
    return SharedJson(_takeContent(source));
}

// Returns a standalone node, owned by the caller, with source's content, and leaves source null.
// A source that encloses this node cannot give its content away and is copied instead.
JsonNode* SharedJson::_takeContent(SharedJson& source) const {
    if (source.m_node == nullptr) {
        return new_null();
    }
    JsonNode* from = source.m_node;
    if (m_root != nullptr && source.m_root == m_root && encloses(from, _node())) {
        return deep_copy(from);
    }
    if (source._alone()) {
        // Hand the root over as it is.
        JsonNode* root = json_node_ref(from);
        source.m_root.reset();
        source.m_node = nullptr;
        return root;
    }
    // A container's payload is shared with the new node only until the source is cleared.
    JsonNode* content = is_scalar(from) ? deep_copy(from) : json_node_copy(from);
    source.init(JsonType::nullValue);
    return content;
}

// Gives the designated node the content of the standalone node content, which it consumes.
void SharedJson::_install(JsonNode* content) {
    if (m_node == nullptr) {
        // No handle shares the null this would have been: the content becomes the tree.
        m_root = own(content);
        m_node = content;
        return;
    }
    JsonNode* node = m_node;
    if (is_scalar(node)) {
        if (is_scalar(content)) {
            assign_scalar(node, content);
            json_node_unref(content);
        } else {
            _replaceNode(content);
        }
        return;
    }
    bugfix::clear_node(node);
    switch (json_node_get_node_type(content)) {
        case JSON_NODE_OBJECT:
            json_node_init_object(node, json_node_get_object(content));
            break;
        case JSON_NODE_ARRAY:
            json_node_init_array(node, json_node_get_array(content));
            break;
        case JSON_NODE_VALUE:
            assign_scalar(node, content);
            break;
        case JSON_NODE_NULL:
            break;
    }
    json_node_unref(content);
}

// Swaps the designated scalar node for fresh, in its container or as the root of this handle.
void SharedJson::_replaceNode(JsonNode* fresh) {
    JsonNode* old = _node();
    JsonNode* container = old == m_root.get() ? nullptr : find_container(m_root.get(), old);
    if (container == nullptr) {
        m_root = own(fresh);
    } else {
        substitute(container, old, fresh);
    }
    m_node = fresh;
}

}  // namespace common::json
