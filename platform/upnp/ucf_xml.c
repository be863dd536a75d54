/* XML value escaping of the platform UPnP library: the five special characters and back. */
#include "ucf_xml.h"

#include <stdlib.h>
#include <string.h>

struct entity {
    char ch;
    const char* ref;
    size_t len;
};

static const struct entity k_entities[] = {
    {'&', "&amp;", 5}, {'<', "&lt;", 4}, {'>', "&gt;", 4}, {'"', "&quot;", 6}, {'\'', "&apos;", 6},
};
static const size_t k_entity_count = sizeof(k_entities) / sizeof(k_entities[0]);

static const struct entity* entity_for_char(char c) {
    for (size_t i = 0; i < k_entity_count; ++i) {
        if (k_entities[i].ch == c)
            return &k_entities[i];
    }
    return NULL;
}

char* ucf_xml_escape_value(const char* value) {
    if (value == NULL)
        return NULL;
    size_t size = 1;
    for (const char* p = value; *p != '\0'; ++p) {
        const struct entity* e = entity_for_char(*p);
        size += e != NULL ? e->len : 1;
    }
    char* out = malloc(size);
    if (out == NULL)
        return NULL;
    char* w = out;
    for (const char* p = value; *p != '\0'; ++p) {
        const struct entity* e = entity_for_char(*p);
        if (e != NULL) {
            memcpy(w, e->ref, e->len);
            w += e->len;
        } else {
            *w++ = *p;
        }
    }
    *w = '\0';
    return out;
}

char* ucf_xml_unescape_value(const char* value) {
    if (value == NULL)
        return NULL;
    /* Unescaping never lengthens the text. */
    char* out = malloc(strlen(value) + 1);
    if (out == NULL)
        return NULL;
    char* w = out;
    const char* p = value;
    while (*p != '\0') {
        const struct entity* match = NULL;
        if (*p == '&') {
            for (size_t i = 0; i < k_entity_count; ++i) {
                if (strncmp(p, k_entities[i].ref, k_entities[i].len) == 0) {
                    match = &k_entities[i];
                    break;
                }
            }
        }
        if (match != NULL) {
            *w++ = match->ch;
            p += match->len;
        } else {
            *w++ = *p++;
        }
    }
    *w = '\0';
    return out;
}
