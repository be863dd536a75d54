// The plug-in object.
#include "Core/IPControlProtocol.h"

#include "Core/IPControlCore.h"

namespace {
IPControlProtocol g_protocol;
}

IPControlProtocol::IPControlProtocol() : m_core(new IPControlCore()) {}

IPControlProtocol::~IPControlProtocol() {
    delete m_core;
}

bool IPControlProtocol::Init() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_core->create();
}

bool IPControlProtocol::Deinit() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_core->destroy();
}

IPControlProtocol& IPControlProtocol::get() {
    return g_protocol;
}
