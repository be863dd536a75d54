// The virtual TV: the property service behind the framework, with its power, clients and knobs.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>

#include "CallbackThread.h"
#include "PropertyStore.h"
#include "ProtocolClient.h"
#include "TvConfig.h"
#include "TvPropertyRules.h"
#include "TvKnobs.h"
#include "TvStateFile.h"

namespace ipc_tv {

inline constexpr char kServiceName[] = "tvcontrol";  // the TV service and the wall service

// Serves the service "tvcontrol": requests are processed, and every result, status and
// notification delivered, on its callback thread, after the latency knob. Power "off" is
// standby (reads work, writes other than power answer 2); "reboot" makes the service
// unavailable until the TV is on again. Every change is saved to the state file, notified to
// subscribers and reported to the change listener.
// Thread-safe; start() and stop() from the owner thread (the main loop), never from a callback.
class VirtualTv : public std::enable_shared_from_this<VirtualTv> {
public:
    enum class Power { On, Off, Rebooting };
    // The value of "powerValue" in that state: "on", "off" or "reboot".
    static const char* powerName(Power power);

    // What the TV screen and the admin API show.
    struct Snapshot {
        Power power = Power::On;
        int ambientMode = 0;
        int ambientType = 0;
        bool tvServiceAvailable = true;  // the knob, and not rebooting
        TvKnobs knobs;
        std::map<std::string, PropertyValue> properties;
        std::set<std::string> unsupported;
        size_t clients = 0;
        std::vector<std::string> inputs;  // the input sources, then the extended sources
        bool multiView = false;           // the product has the multi-view key
    };

    // One accepted get or set.
    struct Request {
        ClientPtr client;
        bool isWrite = false;
        PropertyListPtr list;
        dynf_result_cb callback = nullptr;
        bool withValues = true;  // the result carries the values (flag 2)
        void* userData = nullptr;
    };

    VirtualTv(const PropertySchema& schema, TvConfig config, std::string statePath);
    ~VirtualTv();
    VirtualTv(const VirtualTv&) = delete;
    VirtualTv& operator=(const VirtualTv&) = delete;

    // Restores the state file over the profile's values, reports the ambient type and mode to
    // the power interface and starts the callback thread.
    void start();
    // Stops the callback thread; pending work is dropped. Handles stay valid but refused.
    void stop();
    // Called after every change a snapshot shows, from any thread, with the TV's lock held: it
    // must not call into the TV.
    void setChangeListener(std::function<void()> listener);

    // Protocol handles. Null while stopped.
    ClientPtr openClient(dynf_service_status_cb statusCallback, dynf_noti_cb notificationCallback,
                         void* userData);
    // No callback of the client starts after this returns (called from one of its own
    // callbacks, none starts after that callback).
    void closeClient(const dynf_protocol_s& client);
    int subscribe(const ClientPtr& client, const char* service);
    int unsubscribe(const ClientPtr& client, const char* service);
    // Accepts a request (0, with its id) or refuses it (a dynf_error; its callback never runs).
    int submit(const char* service, Request request, uint32_t* requestId);

    // A change made at the TV itself (the remote, the admin API): the checks of a write
    // except the service knobs. DYNF_ERROR_NOT_AVAILABLE while rebooting.
    dynf_error setLocally(const std::string& name, const PropertyValue& value);
    // Replaces the connected speakers (kSpeakerList) or USB devices (kUsbDeviceList), given as
    // canonical JSON text (ConnectedDevices.h). DYNF_ERROR_NOT_AVAILABLE while rebooting.
    dynf_error connectDevices(const std::string& listName, const std::string& json);
    // The application catalogue. Thread-safe without the lock (immutable).
    const AppCatalogue& apps() const { return m_rules.apps(); }
    // Applies knobs given as JSON (see TvKnobs::apply); false with error when refused.
    bool applyKnobs(JsonNode* knobs, std::string& error);
    Snapshot snapshot() const;

private:
    struct Pending;

    static int _checkService(const char* service);
    void _process(Pending& pending);
    void _finishReboot();
    Power _powerLocked() const;
    bool _tvAvailableLocked() const;
    dynf_error _setLocked(const dynf_property_list_s& list);
    // Follows a change of the values: power transitions, notifications, status, ambient mode,
    // state file and listener.
    void _changedLocked(std::vector<std::string> names, Power before);
    void _notifyLocked(const std::vector<std::string>& names);
    void _reportAvailabilityLocked();
    void _postStatusLocked(const ClientPtr& client, dynf_service_status status);
    void _publishAmbientLocked() const;
    void _saveLocked() const;
    void _listenerLocked() const;

    const TvConfig m_config;
    const TvPropertyRules m_rules;
    const TvStateFile m_stateFile;
    CallbackThread m_thread;

    // Protects everything below, and serialises writes of the state file.
    mutable std::mutex m_mutex;
    PropertyStore m_store;
    TvKnobs m_knobs;
    std::function<void()> m_listener;
    struct Subscription {
        ClientPtr client;
        int count = 0;  // a client may subscribe to the service more than once
    };
    std::map<uint64_t, Subscription> m_subscriptions;  // by client id
    size_t m_clients = 0;
    uint64_t m_nextClientId = 1;  // 0 is the service's own work on the callback thread
    uint32_t m_nextRequestId = 1;
    bool m_reportedAvailable = true;
    bool m_running = false;
    std::minstd_rand m_random;
};

}  // namespace ipc_tv
