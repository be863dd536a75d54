// Fuzz target: the compact JSON printer against json-glib's generator, byte for byte.
#include <json-glib/json-glib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "JsonSyntaxCheck.h"
#include "JsonTextWriter.h"

using common::json::JsonSyntaxCheck;
namespace json_text = common::json::json_text;

namespace {

void expectSameText(JsonNode* node, const char* what) {
    std::string ours = "x";  // appended to, never replaced
    json_text::append_compact(ours, node);
    const std::string theirs = json_text::generated(node, false);
    if (ours.compare(1, std::string::npos, theirs) != 0) {
        fprintf(stderr, "printer and generator differ on the %s tree:\n ours:   %s\n theirs: %s\n",
                what, ours.c_str() + 1, theirs.c_str());
        abort();
    }
}

// A tree of values the parser never makes: every double bit pattern (NaN, infinities,
// subnormals, -0.0), every int64, and strings and member names of any bytes but NUL, UTF-8 or
// not, taken from the input.
JsonNode* builtTree(const uint8_t* data, size_t size) {
    JsonArray* numbers = json_array_new();
    for (size_t at = 0; at + sizeof(double) <= size; at += sizeof(double)) {
        double real;
        gint64 whole;
        memcpy(&real, data + at, sizeof real);
        memcpy(&whole, data + at, sizeof whole);
        json_array_add_double_element(numbers, real);
        json_array_add_int_element(numbers, whole);
        json_array_add_boolean_element(numbers, (data[at] & 1) != 0);
    }
    JsonObject* object = json_object_new();
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    size_t start = 0;
    while (start <= bytes.size()) {
        size_t end = bytes.find('\0', start);
        if (end == std::string::npos) {
            end = bytes.size();
        }
        const std::string piece = bytes.substr(start, end - start);
        // A name seen before keeps its place and takes the new value.
        json_object_set_string_member(object, piece.c_str(), piece.c_str());
        json_array_add_string_element(numbers, piece.c_str());
        start = end + 1;
    }
    json_object_set_array_member(object, "numbers", numbers);
    json_object_set_null_member(object, "null");
    json_object_set_object_member(object, "empty", json_object_new());
    JsonNode* root = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(root, object);
    return root;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    JsonNode* built = builtTree(data, size);
    expectSameText(built, "built");
    json_node_unref(built);

    // Parsed trees, with what json-glib makes of numbers and escapes. Only well-formed text
    // reaches it: some of its error paths leak.
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string_view view(text.c_str());
    if (!g_utf8_validate(view.data(), static_cast<gssize>(view.size()), nullptr) ||
        !JsonSyntaxCheck(view).wellFormed()) {
        return 0;
    }
    static JsonParser* parser = json_parser_new();
    if (!json_parser_load_from_data(parser, text.c_str(), -1, nullptr)) {
        return 0;
    }
    JsonNode* parsed = json_parser_steal_root(parser);
    if (parsed != nullptr) {
        expectSameText(parsed, "parsed");
        json_node_unref(parsed);
    }
    return 0;
}
