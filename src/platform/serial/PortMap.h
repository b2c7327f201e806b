#pragma once
// "COM" and a number stays the system's name for a port. TELVO_PORTS (comma-separated device
// paths, "rfc2217://HOST:PORT" or "socket://HOST:PORT" for a port served over the network, or
// the word "sim") maps COM1, COM2, ... in order; without it COMn is the machine's n-th serial port
// in the stable order of SystemPorts.h (on Windows, the native COMn).

#include "platform/serial/SystemPorts.h"
#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>

namespace telvo::platform {

class SimulatedLine;
class LinePeer;

struct PortTarget {
    enum Kind { Missing, Device, Simulated, Network } kind = Missing;
    QString path; // the device file, or the network address
    SimulatedLine* line = nullptr;
};

class PortMap {
public:
    static PortMap& instance();

    // Reads TELVO_PORTS; an unset variable gives the machine's ports.
    void loadFromEnvironment();
    // Lists the machine's ports again (only while TELVO_PORTS is unset).
    void rescan();
    void setPorts(const QStringList& entries); // "sim" or a device path for COM1, COM2, ...
    QStringList ports() const { return m_entries; }
    bool usesDefault() const { return m_default; }

    // Makes the device behind a "sim" entry. Installed by the program, or by a test.
    using PeerFactory = std::function<std::unique_ptr<LinePeer>(int comPort)>;
    void setPeerFactory(PeerFactory f) { m_factory = std::move(f); }
    // Puts a given device behind COMn (a test's scripted peer); the map does not own it.
    void attachPeer(int comPort, LinePeer* peer);

    PortTarget resolve(int comPort);
    SimulatedLine* simulatedLine(int comPort);

    QString defaultPath(int comPort) const;
    // The device behind COMn for the port list's tooltip and the log: path, maker, product.
    QString describe(int comPort) const;

private:
    PortMap();
    QStringList m_entries;
    bool m_default = true;
    QList<SystemPort> m_system;
    PeerFactory m_factory;
    std::map<int, std::unique_ptr<SimulatedLine>> m_lines;
    std::map<int, std::unique_ptr<LinePeer>> m_ownedPeers;
};

} // namespace telvo::platform
