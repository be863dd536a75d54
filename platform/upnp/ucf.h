/* The platform UPnP control-device library: core, device, service callbacks and responses. */
#ifndef UCF_H
#define UCF_H

#include <stddef.h>

#include "ucf_xml.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Every int-returning operation returns 0 on success and non-zero on failure. Callbacks are
 * called on the GLib default main context (the daemon's main loop). */

/* Filled by ucf_register_device. */
typedef struct ucf_device_info {
    int handle;
    char udn[128];
} ucf_device_info;

/* One SOAP in-argument of an action request. */
typedef struct ucf_action_argument {
    const char* name;
    const char* value;
} ucf_action_argument;

/* What the library knows of the control point behind a request; any field may be NULL. */
typedef struct ucf_control_point_info {
    const char* interface_name;
    const char* ip_address;
    const char* mac_address;
    const char* device_name;
    const char* user_agent;
    const char* uniq_id;
} ucf_control_point_info;

/* A SOAP action for a service type; answer it with ucf_send_action_response(request_context). */
typedef void (*ucf_action_request_cb)(const char* action_name, const char* service_type,
                                      const ucf_action_argument* arguments, int argument_count,
                                      const ucf_control_point_info* control_point,
                                      void* request_context, void* user_data);
/* A new event subscription to a service type. */
typedef void (*ucf_subscribe_cb)(const char* service_type, const char* subscription_id,
                                 void* user_data);
/* A control point asks for access; non-zero allows it. */
typedef int (*ucf_acl_listener_cb)(const char* ip_address, const char* mac_address,
                                   void* user_data);

int ucf_init_framework_core(void);
int ucf_configure_servers(int tcp_port, int multicast_port, int flags);
/* The TCP port the description server listens on (the one chosen when 0 was configured); 0
 * while no network context is up. Main-loop only. */
int ucf_get_server_port(void);
int ucf_configure_application_on_all_interfaces(void);
int ucf_start_framework_core(void);
int ucf_start_network_monitor(void);
int ucf_initialize_upnp(int version);
int ucf_terminate_upnp(void);
int ucf_stop_network_monitor(void);
int ucf_stop_framework_core(void);
int ucf_terminate_framework_core(void);
int ucf_suspend_framework_core(void);
int ucf_resume_framework_core(void);

int ucf_register_device(const char* description_path, const char* application_name,
                        ucf_device_info* out_info);
int ucf_unregister_device(int handle);
int ucf_set_acl_listener_cb(int handle, ucf_acl_listener_cb callback, void* user_data);
int ucf_unset_acl_listener_cb(int handle);
int ucf_set_acl_mode(int handle, int mode);
/* The product the device names itself with: SSDP messages and HTTP answers carry the server
 * string "<OS>/<version> UPnP/1.0 " followed by it. */
int ucf_set_user_agent(int handle, const char* user_agent);
int ucf_start_device(int handle);
int ucf_stop_device(int handle);
/* Re-announces the device; folder is where its description document lives. */
int ucf_set_friendly_name(int handle, const char* friendly_name, const char* folder);

int ucf_set_action_request_handler_cb(const char* udn, const char* service_type,
                                      ucf_action_request_cb callback, void* user_data);
int ucf_unset_action_request_handler_cb(const char* udn, const char* service_type);
int ucf_set_service_for_subscribe_cb(const char* udn, const char* service_type,
                                     ucf_subscribe_cb callback, void* user_data);
int ucf_unset_service_for_subscribe_cb(const char* udn, const char* service_type);

int ucf_send_action_response(int http_status, int handle, const char* body, void* request_context);
int ucf_send_initial_event(int handle, const char* event_url, const char* subscription_id,
                           const char* body);
int ucf_send_multicast_event(int handle, const char* udn, const char* service_type,
                             const char* body);

/* Writes the address to use for mac into out (at most out_size bytes, NUL-terminated). */
int ucf_change_mac_addr_for_widi(const char* mac, char* out, size_t out_size);

#ifdef __cplusplus
}
#endif

#endif /* UCF_H */
