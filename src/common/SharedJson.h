// Handle on a shared json-glib node tree: the storage beneath JsonValue.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "JsonType.h"

typedef struct _JsonNode JsonNode;
typedef struct _JsonObject JsonObject;
typedef struct _JsonArray JsonArray;

namespace common::json {

// Designates one node (the root, or a member or element inside it) of a json-glib node tree and
// holds a reference on the tree's root. Copies share the tree and see each other's changes;
// clone() makes an independent tree. Writes change the designated node in place, with one
// exception: a scalar node that becomes null, an object or an array is replaced by a fresh node
// in its container (json-glib cannot empty a scalar node in place), so other handles on that very
// scalar node keep seeing the old scalar until they are looked up again.
// A handle on a member or element is valid until that member or element is removed or replaced.
// Reads of the wrong kind give 0, false or ""; structural writes of the wrong kind throw
// JsonException("invalid type").
// Not thread-safe: one thread at a time per tree.
class SharedJson {
public:
    SharedJson() noexcept;  // a null node, made on first use: nothing is allocated before
    SharedJson(bool value);
    SharedJson(long long value);
    SharedJson(double value);
    SharedJson(const char* value);  // nullptr gives a null node
    SharedJson(const std::string& value);
    // Takes over one reference on root (nullptr gives a null node).
    explicit SharedJson(JsonNode* root);
    // Takes over one reference on root and designates node, which lies inside it.
    SharedJson(JsonNode* root, JsonNode* node);

    SharedJson(const SharedJson& other);
    SharedJson(SharedJson&& other) noexcept;  // other is left a null node
    SharedJson& operator=(const SharedJson& other);
    SharedJson& operator=(SharedJson&& other) noexcept;
    virtual ~SharedJson();

    // Makes the designated node an empty value of the kind: null, false, 0, 0.0, "", {} or [].
    void init(JsonType type);

    JsonType type() const;
    bool get_bool() const;
    long long get_int() const;
    double get_double() const;
    std::string get_string() const;

    bool has(const std::string& name) const;
    size_t object_size() const;
    size_t array_size() const;
    std::vector<std::string> get_member_names() const;  // in insertion order
    void alloc_member(const std::string& name);         // adds a null member unless present
    void remove_member(const std::string& name);
    void resize(size_t size);  // drops elements from the end or pads with nulls

    // A handle on an existing member or element, sharing this tree.
    SharedJson operator[](const std::string& name) const;
    SharedJson operator[](size_t index) const;

    // Adds value's content to this array; value is left null.
    void append(SharedJson&& value);
    // Replaces the designated node's content with a deep copy of value.
    void set(const SharedJson& value);
    // Replaces the designated node's content with value's content, which leaves value: value is
    // left null, unless it encloses this node, in which case it is copied and left as it is.
    void set(SharedJson&& value);

    bool equal(const SharedJson& other) const;  // deep, by content
    bool same_node(const SharedJson& other) const;
    SharedJson clone() const;
    std::string to_string(bool pretty) const;

    // Parses text; malformed text is logged and gives a null value.
    static SharedJson Create(const std::string& text);
    // The json-glib version the node handling was written against.
    static std::string GlibcVersion();

protected:
    bool _isRoot() const;
    // Source's content as a tree of its own, taken as set(SharedJson&&) takes it.
    SharedJson _detach(SharedJson& source) const;
    // The node of a member or element that exists, else nullptr: a lookup without the handle
    // operator[] makes, for callers that may already hold one on that node.
    JsonNode* _member(const std::string& name) const;
    JsonNode* _element(size_t index) const;
    SharedJson _handle(JsonNode* node) const;  // node lies in this tree
    bool _designates(const JsonNode* node) const { return m_node == node; }

private:
    SharedJson(std::shared_ptr<JsonNode> root, JsonNode* node);
    JsonNode* _node() const { return m_node != nullptr ? m_node : _materialise(); }
    JsonNode* _materialise() const;
    JsonObject* _object() const;  // nullptr unless an object; a handle without a node stays so
    JsonArray* _array() const;
    const std::shared_ptr<JsonNode>& _root() const;
    bool _alone() const;  // designates the root of a tree no other handle sees
    JsonNode* _takeContent(SharedJson& source) const;
    void _install(JsonNode* content);
    void _replaceNode(JsonNode* fresh);

    // A default-constructed or moved-from handle has neither: it is a null node of a tree of its
    // own, made on first use, or taken over whole from the content it is given.
    mutable std::shared_ptr<JsonNode> m_root;  // one reference on the root, released on drop
    mutable JsonNode* m_node;                  // the designated node, inside m_root's tree
};

}  // namespace common::json
