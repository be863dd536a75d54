/* XML value escaping of the platform UPnP library: the five special characters and back. */
#ifndef UCF_XML_H
#define UCF_XML_H

#ifdef __cplusplus
extern "C" {
#endif

/* Both return a newly malloc'd string (free() it), or NULL for a NULL input or no memory.
 * Thread-safe: no state. */
char* ucf_xml_escape_value(const char* value);
char* ucf_xml_unescape_value(const char* value);

#ifdef __cplusplus
}
#endif

#endif /* UCF_XML_H */
