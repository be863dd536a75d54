// The virtual TV's service: requests, power, availability, subscriptions and persistence.
#include "VirtualTv.h"

#include <algorithm>
#include <cstring>

#include "TvLog.h"
#include "device_power.h"

namespace ipc_tv {

namespace {

constexpr char kPowerOn[] = "on";
constexpr char kPowerOff[] = "off";
constexpr char kPowerReboot[] = "reboot";

}  // namespace

const char* VirtualTv::powerName(Power power) {
    switch (power) {
        case Power::On:
            return kPowerOn;
        case Power::Off:
            return kPowerOff;
        case Power::Rebooting:
            return kPowerReboot;
    }
    return kPowerOn;
}

struct VirtualTv::Pending {
    Request request;
    dynf_error forcedError = DYNF_ERROR_NONE;  // the failNext knob
};

VirtualTv::VirtualTv(const PropertySchema& schema, TvConfig config, std::string statePath)
    : m_config(std::move(config)),
      m_rules(m_config.apps, m_config.extendedSources, m_config.multiView, m_config.wallStates),
      m_stateFile(std::move(statePath)),
      m_store(m_config.productSchema(schema), m_config.unsupportedNames()),
      m_knobs(m_config.knobs),
      m_random(std::random_device()()) {}

VirtualTv::~VirtualTv() {
    stop();
}

void VirtualTv::start() {
    std::map<std::string, PropertyValue> values = m_config.initial;
    m_stateFile.load(m_store.schema(), values);
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& [name, value] : values) {
        m_store.set(name, value);
    }
    m_rules.settle(m_store);
    // A restart during a reboot comes back on.
    if (_powerLocked() == Power::Rebooting) {
        m_store.set(kPowerValue, PropertyValue::ofString(kPowerOn));
    }
    m_reportedAvailable = _tvAvailableLocked();
    device_power_set_ambient_type(m_config.ambientType);
    _publishAmbientLocked();
    m_thread.start();
    m_running = true;
    dlog_print(DLOG_INFO, kLogTag, "virtual TV ready: power %s, state in %s",
               powerName(_powerLocked()), m_stateFile.path().c_str());
}

void VirtualTv::stop() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running) {
            return;
        }
        m_running = false;
        m_subscriptions.clear();
    }
    m_thread.stop();
    device_power_set_ambient_mode(DEVICE_POWER_AMBIENT_OFF);
    device_power_set_ambient_type(0);
    dlog_print(DLOG_INFO, kLogTag, "virtual TV stopped");
}

void VirtualTv::setChangeListener(std::function<void()> listener) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listener = std::move(listener);
}

ClientPtr VirtualTv::openClient(dynf_service_status_cb statusCallback,
                                dynf_noti_cb notificationCallback, void* userData) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running) {
        return nullptr;
    }
    auto client = std::make_shared<dynf_protocol_s>();
    client->id = m_nextClientId++;
    client->statusCallback = statusCallback;
    client->notificationCallback = notificationCallback;
    client->userData = userData;
    client->tv = weak_from_this();
    m_thread.open(client->id);
    ++m_clients;
    _listenerLocked();
    return client;
}

void VirtualTv::closeClient(const dynf_protocol_s& client) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_subscriptions.erase(client.id);
        if (m_clients > 0) {
            --m_clients;
        }
        _listenerLocked();
    }
    // Outside the lock: a callback that is running may call into the TV.
    m_thread.close(client.id);
}

int VirtualTv::_checkService(const char* service) {
    if (service == nullptr) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    return std::strcmp(service, kServiceName) == 0 ? DYNF_ERROR_NONE : DYNF_ERROR_NOT_SUPPORTED;
}

int VirtualTv::subscribe(const ClientPtr& client, const char* service) {
    const int refusal = _checkService(service);
    if (refusal != DYNF_ERROR_NONE) {
        return refusal;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running) {
        return DYNF_ERROR_NOT_AVAILABLE;
    }
    Subscription& subscription = m_subscriptions[client->id];
    subscription.client = client;
    if (++subscription.count == 1 && !m_reportedAvailable) {
        _postStatusLocked(client, DYNF_SERVICE_UNAVAILABLE);
    }
    return DYNF_ERROR_NONE;
}

int VirtualTv::unsubscribe(const ClientPtr& client, const char* service) {
    const int refusal = _checkService(service);
    if (refusal != DYNF_ERROR_NONE) {
        return refusal;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_subscriptions.find(client->id);
    if (it == m_subscriptions.end()) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    if (--it->second.count == 0) {
        m_subscriptions.erase(it);
    }
    return DYNF_ERROR_NONE;
}

int VirtualTv::submit(const char* service, Request request, uint32_t* requestId) {
    const int refusal = _checkService(service);
    if (refusal != DYNF_ERROR_NONE) {
        return refusal;
    }
    auto pending = std::make_shared<Pending>();
    pending->request = std::move(request);
    unsigned int delayMs = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running) {
            return DYNF_ERROR_NOT_AVAILABLE;
        }
        if (m_knobs.failNextCount > 0) {
            --m_knobs.failNextCount;
            pending->forcedError = m_knobs.failNextError;
            _listenerLocked();
        }
        delayMs = m_knobs.latencyMs;
        if (m_knobs.jitterMs > 0) {
            delayMs += std::uniform_int_distribution<unsigned int>(0, m_knobs.jitterMs)(m_random);
        }
        // The id is out before the result can come.
        if (requestId != nullptr) {
            *requestId = m_nextRequestId;
        }
        if (++m_nextRequestId == 0) {
            m_nextRequestId = 1;
        }
    }
    // Outside the lock, which the woken callback thread takes first thing. The TV outlives its
    // callback thread, which stop() joins; a post after stop() is dropped like pending work.
    m_thread.post(CallbackThread::kService, std::chrono::milliseconds(delayMs),
                  [this, pending] { _process(*pending); });
    return DYNF_ERROR_NONE;
}

void VirtualTv::_process(Pending& pending) {
    Request& request = pending.request;
    dynf_error error = pending.forcedError;
    PropertyListPtr result;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (error == DYNF_ERROR_NONE && !_tvAvailableLocked()) {
            error = DYNF_ERROR_NOT_AVAILABLE;
        }
        if (error == DYNF_ERROR_NONE) {
            PropertyStore::Conditions conditions;
            conditions.wallAvailable = m_knobs.wallServiceAvailable;
            error = request.isWrite ? _setLocked(*request.list)
                                    : m_store.checkGet(*request.list, conditions);
        }
        if (error == DYNF_ERROR_NONE) {
            result = !request.withValues ? std::make_unique<dynf_property_list_s>()
                     : request.isWrite   ? m_store.valuesOf(*request.list)
                                         : m_rules.answer(*request.list, m_store);
        }
    }
    const ClientPtr& client = request.client;
    m_thread.runAs(client->id,
                   [&] { request.callback(client.get(), error, result.get(), request.userData); });
}

dynf_error VirtualTv::setLocally(const std::string& name, const PropertyValue& value) {
    dynf_property_list_s list;
    addProperty(list, name, value);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (_powerLocked() == Power::Rebooting) {
        return DYNF_ERROR_NOT_AVAILABLE;
    }
    return _setLocked(list);
}

dynf_error VirtualTv::_setLocked(const dynf_property_list_s& list) {
    PropertyStore::Conditions conditions;
    conditions.wallAvailable = m_knobs.wallServiceAvailable;
    conditions.standby = _powerLocked() == Power::Off;
    conditions.validate = [this, &conditions](const std::string& name, const PropertyValue& value) {
        return m_rules.check(name, value, m_store, conditions.standby);
    };
    const dynf_error error = m_store.checkSet(list, conditions);
    if (error != DYNF_ERROR_NONE) {
        return error;
    }
    const Power before = _powerLocked();
    _changedLocked(m_rules.apply(list, m_store), before);
    return DYNF_ERROR_NONE;
}

dynf_error VirtualTv::connectDevices(const std::string& listName, const std::string& json) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (_powerLocked() == Power::Rebooting) {
        return DYNF_ERROR_NOT_AVAILABLE;
    }
    const Power before = _powerLocked();
    _changedLocked(m_rules.connect(listName, json, m_store), before);
    return DYNF_ERROR_NONE;
}

void VirtualTv::_finishReboot() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (_powerLocked() != Power::Rebooting) {
        return;
    }
    m_store.set(kPowerValue, PropertyValue::ofString(kPowerOn));
    _changedLocked({kPowerValue}, Power::Rebooting);
}

void VirtualTv::_changedLocked(std::vector<std::string> names, Power before) {
    const Power power = _powerLocked();
    if (power != before) {
        dlog_print(DLOG_INFO, kLogTag, "power %s -> %s", powerName(before), powerName(power));
        // The ambient screen is left when the TV goes off or restarts.
        if (power != Power::On && m_store.set(kAmbientMode, PropertyValue::ofInt(0)) &&
            std::find(names.begin(), names.end(), kAmbientMode) == names.end()) {
            names.push_back(kAmbientMode);
        }
        if (power == Power::Rebooting) {
            m_thread.post(CallbackThread::kService, std::chrono::milliseconds(m_knobs.rebootMs),
                          [this] { _finishReboot(); });
        }
    }
    if (names.empty()) {
        return;
    }
    // Subscribers hear of a change while the service is up: before it goes away, after it is
    // back.
    if (_tvAvailableLocked()) {
        _reportAvailabilityLocked();
        _notifyLocked(names);
    } else {
        _notifyLocked(names);
        _reportAvailabilityLocked();
    }
    _publishAmbientLocked();
    _saveLocked();
    _listenerLocked();
}

bool VirtualTv::applyKnobs(JsonNode* knobs, std::string& error) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_knobs.apply(knobs, error)) {
        return false;
    }
    _reportAvailabilityLocked();
    _listenerLocked();
    return true;
}

VirtualTv::Snapshot VirtualTv::snapshot() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    Snapshot snapshot;
    snapshot.power = _powerLocked();
    snapshot.ambientMode = m_store.value(kAmbientMode).intValue();
    snapshot.ambientType = m_config.ambientType;
    snapshot.tvServiceAvailable = _tvAvailableLocked();
    snapshot.knobs = m_knobs;
    snapshot.properties = m_store.values();
    snapshot.unsupported = m_store.unsupported();
    snapshot.clients = m_clients;
    if (const PropertySpec* inputs = m_store.schema().find(kInputSource)) {
        snapshot.inputs = inputs->words;
    }
    snapshot.inputs.insert(snapshot.inputs.end(), m_rules.extendedSources().begin(),
                           m_rules.extendedSources().end());
    snapshot.multiView = m_config.multiView;
    return snapshot;
}

VirtualTv::Power VirtualTv::_powerLocked() const {
    const std::string& power = m_store.value(kPowerValue).text();
    return power == kPowerOff ? Power::Off : power == kPowerReboot ? Power::Rebooting : Power::On;
}

bool VirtualTv::_tvAvailableLocked() const {
    return m_knobs.tvServiceAvailable && _powerLocked() != Power::Rebooting;
}

void VirtualTv::_notifyLocked(const std::vector<std::string>& names) {
    // Clients hear only of the properties they can read.
    std::vector<std::string> readable;
    for (const std::string& name : names) {
        const PropertySpec* row = m_store.schema().find(name);
        if (row != nullptr && row->access != Access::Internal && row->access != Access::WriteOnly) {
            readable.push_back(name);
        }
    }
    if (readable.empty()) {
        return;
    }
    const PropertyListPtr changed = m_store.valuesOf(readable);
    for (const auto& [id, subscription] : m_subscriptions) {
        const ClientPtr client = subscription.client;
        if (client->notificationCallback == nullptr) {
            continue;
        }
        // Each client gets its own list: it may change it during the call.
        std::shared_ptr<dynf_property_list_s> list = copyList(*changed);
        m_thread.post(id, std::chrono::milliseconds(0), [client, list] {
            client->notificationCallback(client.get(), kServiceName, list.get(), client->userData);
        });
    }
}

void VirtualTv::_reportAvailabilityLocked() {
    const bool available = _tvAvailableLocked();
    if (available == m_reportedAvailable) {
        return;
    }
    m_reportedAvailable = available;
    dlog_print(DLOG_INFO, kLogTag, "service %s %s", kServiceName,
               available ? "available" : "unavailable");
    for (const auto& entry : m_subscriptions) {
        _postStatusLocked(entry.second.client,
                          available ? DYNF_SERVICE_AVAILABLE : DYNF_SERVICE_UNAVAILABLE);
    }
}

void VirtualTv::_postStatusLocked(const ClientPtr& client, dynf_service_status status) {
    if (client->statusCallback == nullptr) {
        return;
    }
    m_thread.post(client->id, std::chrono::milliseconds(0), [client, status] {
        client->statusCallback(client.get(), kServiceName, status, client->userData);
    });
}

void VirtualTv::_publishAmbientLocked() const {
    const bool supported = m_store.isSupported(kAmbientMode);
    device_power_set_ambient_mode(supported ? m_store.value(kAmbientMode).intValue()
                                            : DEVICE_POWER_AMBIENT_OFF);
}

void VirtualTv::_saveLocked() const {
    std::map<std::string, PropertyValue> values = m_store.values();
    // A TV that stops while restarting comes back on.
    if (_powerLocked() == Power::Rebooting) {
        values[kPowerValue] = PropertyValue::ofString(kPowerOn);
    }
    m_stateFile.save(values);
}

void VirtualTv::_listenerLocked() const {
    if (m_listener) {
        m_listener();
    }
}

}  // namespace ipc_tv
