// Bridge between the JSON-RPC commands and the TV's property framework.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "System/IControlHelper.h"
#include "System/TVCommandMaps.h"
#include "System/TVControlHelper.h"
#include "System/TVControlPropType.h"
#include "dynf.h"

class DeviceManager;
struct CmdRequest;
struct DYNFProtocolData;

// Owns the protocol handle and the subscriptions of the TV control services, the helpers and
// the command maps; turns a command into one asynchronous property read or write and routes
// the answer through the method's helper back to the owner (a DeviceManager).
//
// Ownership of a command given to getRequest()/setRequest():
// - true: the framework accepted the call; the result callback hands the command back and then
//   frees it with its DYNFProtocolData. The caller must not touch it any more.
// - false: the caller keeps the command, answers it and frees it. When the service is
//   unavailable the command has already been handed back here; the caller's second hand-back
//   is ignored by the response layer.
// A refused framework call frees its DYNFProtocolData here. A result that arrives while the
// handler is not created (during destroy()) frees the command unanswered, and destroy() frees
// the commands whose results never came.
//
// Threads: create()/destroy() on the main loop; getRequest()/setRequest() and the lookups on the
// worker thread (never concurrently with create()/destroy()); result, status and notification
// callbacks on the framework's callback thread. The created flag, the status words and the owner
// are atomics; the maps are built before the first subscription and only read afterwards.
class DYNFHandler {
public:
    DYNFHandler();
    // Destroys what destroy() was not called for.
    ~DYNFHandler();

    // owner: the DeviceManager that receives finished commands; kept only when the services
    // could be subscribed. False when the framework is not running or a subscription failed.
    bool create(void* owner);
    void destroy();
    bool getRequest(CmdRequest* request);
    bool setRequest(CmdRequest* request);

    DYNF_TVCONTROL_PROP_TYPE getTypeForGetOp(bool isWall, const std::string& method) const;
    DYNF_TVCONTROL_PROP_TYPE getTypeForSetOp(bool isAmbient, bool isWall,
                                             const std::string& method) const;

private:
    using PropertyCall = int (*)(dynf_protocol_h, const char*, dynf_property_list_h, dynf_result_cb,
                                 int, uint32_t*, void*);

    // Starts one framework call; the shared body of getRequest() and setRequest().
    bool _startRequest(CmdRequest* request, PropertyCall call, dynf_result_cb callback);
    bool _registerService();
    // Subscribes one service; logs failure when the framework refuses.
    bool _subscribe(const std::string& serviceName, const char* failure);
    void _deregisterService();
    // The wall service for the wall methods, the TV service for all others.
    const std::string& _getServiceName(const CmdRequest* request) const;
    bool _isServiceAvailable(const CmdRequest* request) const;
    std::shared_ptr<IControlHelper> _getHelper(DYNF_TVCONTROL_PROP_TYPE type) const;
    dynf_property_list_h _makeData(CmdRequest* request);
    dynf_property_list_h _getPropertyData(CmdRequest* request);
    // Lets the helper read the answer (or records the refused error) and hands the command back.
    void _handleResult(const dynf_error& error, dynf_property_list_h result, CmdRequest* request);
    // True when the answer goes to the helper: no error, or a method whose helper answers
    // failures itself ("USBSourceControl", "externalSpeakerControl").
    static bool _allowErrorCase(const dynf_error& error, const CmdRequest* request);
    void _handBack(CmdRequest* request);
    // Frees the data and its command.
    void _removeUserData(DYNFProtocolData* data);
    void _handleNotification(dynf_property_list_h properties);

    void _trackPending(DYNFProtocolData* data);
    void _untrackPending(DYNFProtocolData* data);
    // Frees the commands of calls that will never be answered; after the handle is gone.
    void _releasePending();

    static void _dynf_service_status_cb(dynf_protocol_h handle, const char* serviceName,
                                        dynf_service_status status, void* userData);
    static void _dynf_noti_cb(dynf_protocol_h handle, const char* serviceName,
                              dynf_property_list_h properties, void* userData);
    static void _dynf_set_property_result_cb(dynf_protocol_h handle, dynf_error error,
                                             dynf_property_list_h result, void* userData);
    static void _dynf_get_property_result_cb(dynf_protocol_h handle, dynf_error error,
                                             dynf_property_list_h result, void* userData);
    // Handles one result and frees its data; false when it was dropped.
    static bool _finishRequest(dynf_error error, dynf_property_list_h result, void* userData);

    TVControlHelper m_tvControlHelper;
    dynf_protocol_h m_handle = nullptr;
    std::atomic<DeviceManager*> m_owner{nullptr};
    std::atomic<bool> m_bCreated{false};
    std::atomic<dynf_service_status> m_service_status{DYNF_SERVICE_AVAILABLE};
    std::atomic<dynf_service_status> m_wall_service_status{DYNF_SERVICE_AVAILABLE};
    TVCommandMaps m_commandMaps;

    std::mutex m_pendingMutex;  // protects m_pending
    // Data of the accepted calls whose results have not come yet.
    std::set<DYNFProtocolData*> m_pending;
};
