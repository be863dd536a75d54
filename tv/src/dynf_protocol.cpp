// The framework's protocol functions: handles, subscriptions and asynchronous get and set.
#include <functional>

#include "CurrentTv.h"
#include "PropertyList.h"
#include "ProtocolClient.h"
#include "VirtualTv.h"
#include "dynf.h"

using ipc_tv::ClientPtr;
using ipc_tv::ClientRegistry;
using ipc_tv::VirtualTv;

namespace {

// Calls into the TV of an open handle: 5 for a handle that is not open, 2 when its TV stopped.
int withClientTv(dynf_protocol_h handle,
                 const std::function<int(VirtualTv& tv, const ClientPtr& client)>& call) {
    const ClientPtr client = ClientRegistry::instance().find(handle);
    if (client == nullptr) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    const std::shared_ptr<VirtualTv> tv = client->tv.lock();
    return tv != nullptr ? call(*tv, client) : DYNF_ERROR_NOT_AVAILABLE;
}

int startRequest(bool isWrite, dynf_protocol_h handle, const char* service_name,
                 dynf_property_list_h properties, dynf_result_cb result_cb, int flags,
                 uint32_t* request_id, void* user_data) {
    // The framework takes the list over in every case.
    ipc_tv::PropertyListPtr list(properties);
    if (list == nullptr || result_cb == nullptr) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    return withClientTv(handle, [&](VirtualTv& tv, const ClientPtr& client) {
        VirtualTv::Request request;
        request.client = client;
        request.isWrite = isWrite;
        request.list = std::move(list);
        request.callback = result_cb;
        request.withValues = (flags & 2) != 0;
        request.userData = user_data;
        return tv.submit(service_name, std::move(request), request_id);
    });
}

}  // namespace

extern "C" {

dynf_protocol_h dynf_protocol_create(dynf_service_status_cb status_cb, dynf_noti_cb noti_cb,
                                     void* user_data) {
    const std::shared_ptr<VirtualTv> tv = ipc_tv::currentTv();
    ClientPtr client = tv != nullptr ? tv->openClient(status_cb, noti_cb, user_data) : nullptr;
    if (client == nullptr) {
        return nullptr;
    }
    dynf_protocol_h handle = client.get();
    ClientRegistry::instance().add(std::move(client));
    return handle;
}

int dynf_protocol_destroy(dynf_protocol_h handle) {
    const ClientPtr client = ClientRegistry::instance().remove(handle);
    if (client == nullptr) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    if (const std::shared_ptr<VirtualTv> tv = client->tv.lock()) {
        tv->closeClient(*client);
    }
    return DYNF_ERROR_NONE;
}

int dynf_protocol_subscribe_service(dynf_protocol_h handle, const char* service_name) {
    return withClientTv(handle, [service_name](VirtualTv& tv, const ClientPtr& client) {
        return tv.subscribe(client, service_name);
    });
}

int dynf_protocol_unsubscribe_service(dynf_protocol_h handle, const char* service_name) {
    return withClientTv(handle, [service_name](VirtualTv& tv, const ClientPtr& client) {
        return tv.unsubscribe(client, service_name);
    });
}

int dynf_protocol_get_property(dynf_protocol_h handle, const char* service_name,
                               dynf_property_list_h properties, dynf_result_cb result_cb, int flags,
                               uint32_t* request_id, void* user_data) {
    return startRequest(false, handle, service_name, properties, result_cb, flags, request_id,
                        user_data);
}

int dynf_protocol_set_property(dynf_protocol_h handle, const char* service_name,
                               dynf_property_list_h properties, dynf_result_cb result_cb, int flags,
                               uint32_t* request_id, void* user_data) {
    return startRequest(true, handle, service_name, properties, result_cb, flags, request_id,
                        user_data);
}

}  // extern "C"
