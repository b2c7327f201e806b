#include "platform/serial/PortMap.h"

#include "core/link/Rfc2217.h"
#include "platform/serial/SimulatedLine.h"

#include <QFileInfo>

namespace telvo::platform {

PortMap& PortMap::instance() {
    static PortMap* map = new PortMap;
    return *map;
}

PortMap::PortMap() {
    loadFromEnvironment();
}

void PortMap::loadFromEnvironment() {
    const QString env = qEnvironmentVariable("TELVO_PORTS").trimmed();
    if (env.isEmpty()) {
        m_entries.clear();
        m_default = true;
        rescan();
        return;
    }
    setPorts(env.split(QLatin1Char(','), Qt::SkipEmptyParts));
}

void PortMap::setPorts(const QStringList& entries) {
    m_entries.clear();
    for (const QString& e : entries)
        m_entries << e.trimmed();
    m_default = false;
    m_lines.clear();
    m_ownedPeers.clear();
}

void PortMap::attachPeer(int comPort, LinePeer* peer) {
    auto& line = m_lines[comPort];
    if (!line)
        line = std::make_unique<SimulatedLine>();
    line->setPeer(peer);
    m_ownedPeers.erase(comPort);
}

void PortMap::rescan() {
#ifndef Q_OS_WIN
    if (m_default)
        m_system = ListSystemPorts();
#endif
}

QString PortMap::defaultPath(int comPort) const {
#ifdef Q_OS_WIN
    return QStringLiteral("COM%1").arg(comPort);
#else
    if (comPort < 1 || comPort > m_system.size())
        return QString();
    return m_system[comPort - 1].openPath();
#endif
}

QString PortMap::describe(int comPort) const {
    if (m_default) {
        if (comPort >= 1 && comPort <= m_system.size())
            return m_system[comPort - 1].label();
        return defaultPath(comPort);
    }
    if (comPort >= 1 && comPort <= m_entries.size())
        return m_entries[comPort - 1];
    return QString();
}

SimulatedLine* PortMap::simulatedLine(int comPort) {
    auto it = m_lines.find(comPort);
    if (it != m_lines.end())
        return it->second.get();
    if (!m_factory)
        return nullptr;
    auto peer = m_factory(comPort);
    if (!peer)
        return nullptr;
    auto line = std::make_unique<SimulatedLine>(peer.get());
    SimulatedLine* raw = line.get();
    m_ownedPeers[comPort] = std::move(peer);
    m_lines[comPort] = std::move(line);
    return raw;
}

PortTarget PortMap::resolve(int comPort) {
    PortTarget t;
    // A line a test attached wins over the map.
    if (auto it = m_lines.find(comPort); it != m_lines.end() && it->second->peer()) {
        t.kind = PortTarget::Simulated;
        t.line = it->second.get();
        return t;
    }
    QString entry;
    if (m_default)
        entry = defaultPath(comPort);
    else if (comPort >= 1 && comPort <= m_entries.size())
        entry = m_entries[comPort - 1];
    if (entry.isEmpty())
        return t;
    if (entry.compare(QLatin1String("sim"), Qt::CaseInsensitive) == 0) {
        t.line = simulatedLine(comPort);
        if (t.line)
            t.kind = PortTarget::Simulated;
        return t;
    }
    if (core::ParseNetworkAddress(entry).kind != core::NetworkAddress::None) {
        t.kind = PortTarget::Network;
        t.path = entry;
        return t;
    }
#ifndef Q_OS_WIN
    if (!QFileInfo::exists(entry))
        return t;
#endif
    t.kind = PortTarget::Device;
    t.path = entry;
    return t;
}

} // namespace telvo::platform
