// Fetching the description over HTTP with libsoup and reading it with libxml2.
#include "DeviceDescription.h"

#include <cstring>

#include <libsoup/soup.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

namespace {

// The first child element of parent with the local name; namespaces differ between makers,
// so only the name counts.
xmlNode* child(xmlNode* parent, const char* name) {
    for (xmlNode* node = parent != nullptr ? parent->children : nullptr; node != nullptr;
         node = node->next) {
        if (node->type == XML_ELEMENT_NODE &&
            std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0) {
            return node;
        }
    }
    return nullptr;
}

std::string text(xmlNode* node) {
    if (node == nullptr) {
        return "";
    }
    xmlChar* content = xmlNodeGetContent(node);
    std::string value = content != nullptr ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
    const size_t start = value.find_first_not_of(" \t\r\n");
    const size_t end = value.find_last_not_of(" \t\r\n");
    return start == std::string::npos ? "" : value.substr(start, end - start + 1);
}

bool parse(const std::string& xml, DeviceDescription& description, std::string& error) {
    xmlDoc* document =
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "description.xml", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    // A document type declaration is refused: the entities it declares could expand a small
    // description into gigabytes when the names are read.
    const bool declaresType =
        document != nullptr && (document->intSubset != nullptr || document->extSubset != nullptr);
    xmlNode* device = declaresType ? nullptr : child(xmlDocGetRootElement(document), "device");
    if (device == nullptr) {
        error = document == nullptr ? "the description is not XML"
                : declaresType      ? "the description has a document type declaration"
                                    : "the description has no device";
        xmlFreeDoc(document);
        return false;
    }
    description.friendlyName = text(child(device, "friendlyName"));
    description.modelName = text(child(device, "modelName"));
    xmlFreeDoc(document);
    return true;
}

}  // namespace

bool DeviceDescription::fetch(const std::string& location, std::chrono::milliseconds timeout,
                              DeviceDescription& description, std::string& error) {
    SoupMessage* message = soup_message_new("GET", location.c_str());
    if (message == nullptr) {
        error = "the location '" + location + "' is not an HTTP URL";
        return false;
    }
    const auto seconds = static_cast<guint>((timeout.count() + 999) / 1000);
    SoupSession* session = soup_session_new_with_options("timeout", seconds, nullptr);
    // A description is always on the local network: a proxy from the environment (http_proxy)
    // could not reach it.
    soup_session_set_proxy_resolver(session, nullptr);
    GError* gerror = nullptr;
    GBytes* body = soup_session_send_and_read(session, message, nullptr, &gerror);
    const guint status = soup_message_get_status(message);
    bool ok = false;
    if (body == nullptr) {
        error = gerror->message;
        g_error_free(gerror);
    } else if (status != SOUP_STATUS_OK) {
        error = "HTTP " + std::to_string(status);
    } else {
        gsize size = 0;
        const char* data = static_cast<const char*>(g_bytes_get_data(body, &size));
        ok = parse(std::string(data != nullptr ? data : "", size), description, error);
    }
    if (body != nullptr) {
        g_bytes_unref(body);
    }
    g_object_unref(message);
    g_object_unref(session);
    return ok;
}
