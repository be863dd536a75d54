// JSON text of json-glib node trees: a compact printer of our own, and json-glib's generator.
#include "JsonTextWriter.h"

#include <json-glib/json-glib.h>

#include <charconv>
#include <cstring>

namespace common::json::json_text {

namespace {

// json-glib prints a double in exponent form with ".0" after the exponent ("1e+20.0"), which
// no JSON reader takes; the ".0" is dropped. Text inside strings is left alone.
void repair_exponents(std::string& text) {
    if (text.find("e+") == std::string::npos && text.find("e-") == std::string::npos) {
        return;
    }
    bool inString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == 'e' && i > 0 && g_ascii_isdigit(text[i - 1]) && i + 1 < text.size() &&
                   (text[i + 1] == '+' || text[i + 1] == '-')) {
            size_t end = i + 2;
            while (end < text.size() && g_ascii_isdigit(text[end])) {
                ++end;
            }
            if (text.compare(end, 2, ".0") == 0 &&
                (end + 2 == text.size() || !g_ascii_isdigit(text[end + 2]))) {
                text.erase(end, 2);
            }
            i = end - 1;
        }
    }
}

// As the generator: quote, backslash, DEL and the control characters, as \u00xx where they have
// no short form; bytes from 0x80 up go out as they are, UTF-8 or not. The generator leaves 0x1f
// itself unescaped, which no JSON reader takes back: here, and in generated(), it is escaped.
bool needs_escape(unsigned char c) {
    return c <= 0x1f || c == '"' || c == '\\' || c == 0x7f;
}

void append_escape(std::string& out, unsigned char c) {
    switch (c) {
        case '"':
            out += "\\\"";
            return;
        case '\\':
            out += "\\\\";
            return;
        case '\b':
            out += "\\b";
            return;
        case '\f':
            out += "\\f";
            return;
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default: {
            static const char kHex[] = "0123456789abcdef";
            const char escape[] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xf]};
            out.append(escape, sizeof escape);
        }
    }
}

void append_string(std::string& out, const char* text) {
    out += '"';
    if (text != nullptr) {
        const char* run = text;  // bytes not yet appended, all of them plain
        const char* at = text;
        for (; *at != '\0'; ++at) {
            const auto c = static_cast<unsigned char>(*at);
            if (needs_escape(c)) {
                out.append(run, static_cast<size_t>(at - run));
                append_escape(out, c);
                run = at + 1;
            }
        }
        out.append(run, static_cast<size_t>(at - run));
    }
    out += '"';
}

// 17 significant digits; the generator marks a double whose text has no point with ".0"
// ("1.0", "-0.0", "nan.0"), which the repair above takes away again after an exponent.
void append_double(std::string& out, double value) {
    char text[G_ASCII_DTOSTR_BUF_SIZE];
    g_ascii_dtostr(text, sizeof text, value);
    out += text;
    if (strchr(text, '.') == nullptr && strchr(text, 'e') == nullptr) {
        out += ".0";
    }
}

void append_value(std::string& out, JsonNode* node) {
    const GType type = json_node_get_value_type(node);
    if (type == G_TYPE_STRING) {
        append_string(out, json_node_get_string(node));
    } else if (type == G_TYPE_INT64) {
        char text[24];
        const auto end = std::to_chars(text, text + sizeof text, json_node_get_int(node)).ptr;
        out.append(text, static_cast<size_t>(end - text));
    } else if (type == G_TYPE_BOOLEAN) {
        out += json_node_get_boolean(node) ? "true" : "false";
    } else if (type == G_TYPE_DOUBLE) {
        append_double(out, json_node_get_double(node));
    } else {
        out += "null";  // json-glib stores no other kind of value
    }
}

}  // namespace

void append_compact(std::string& out, JsonNode* node) {
    switch (node != nullptr ? json_node_get_node_type(node) : JSON_NODE_NULL) {
        case JSON_NODE_OBJECT: {
            out += '{';
            JsonObjectIter iter;
            json_object_iter_init_ordered(&iter, json_node_get_object(node));
            const char* name = nullptr;
            JsonNode* member = nullptr;
            bool first = true;
            while (json_object_iter_next_ordered(&iter, &name, &member)) {
                if (!first) {
                    out += ',';
                }
                first = false;
                append_string(out, name);
                out += ':';
                append_compact(out, member);
            }
            out += '}';
            return;
        }
        case JSON_NODE_ARRAY: {
            out += '[';
            JsonArray* array = json_node_get_array(node);
            const guint length = json_array_get_length(array);
            for (guint i = 0; i < length; ++i) {
                if (i > 0) {
                    out += ',';
                }
                append_compact(out, json_array_get_element(array, i));
            }
            out += ']';
            return;
        }
        case JSON_NODE_VALUE:
            append_value(out, node);
            return;
        case JSON_NODE_NULL:
            out += "null";
            return;
    }
}

std::string generated(JsonNode* node, bool pretty) {
    JsonGenerator* generator = json_generator_new();
    json_generator_set_root(generator, node);
    json_generator_set_pretty(generator, pretty ? TRUE : FALSE);
    gchar* text = json_generator_to_data(generator, nullptr);
    std::string result = text != nullptr ? text : "";
    g_free(text);
    g_object_unref(generator);
    repair_exponents(result);
    // The generator writes U+001F raw; outside strings it writes no control characters at all.
    for (size_t at = result.find('\x1f'); at != std::string::npos; at = result.find('\x1f', at)) {
        result.replace(at, 1, "\\u001f");
    }
    return result;
}

}  // namespace common::json::json_text
