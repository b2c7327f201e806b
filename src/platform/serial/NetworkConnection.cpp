#include "platform/serial/NetworkConnection.h"

#include <QCoreApplication>
#include <QHash>
#include <QPointer>

namespace telvo::platform {

using namespace core;

namespace {
QHash<QString, QPointer<NetworkConnection>>& pool() {
    static QHash<QString, QPointer<NetworkConnection>> connections;
    return connections;
}
} // namespace

NetworkConnection& ConnectionFor(const QString& address) {
    QPointer<NetworkConnection>& slot = pool()[address.trimmed().toLower()];
    if (!slot)
        slot = new NetworkConnection(QCoreApplication::instance());
    return *slot;
}

void DropConnections() {
    for (const QPointer<NetworkConnection>& c : pool())
        delete c.data();
    pool().clear();
}

NetworkConnection::~NetworkConnection() {
    // A polite end: the server lets go at once and takes its next client.
    if (socket.state() == QAbstractSocket::ConnectedState) {
        socket.flush();
        socket.disconnectFromHost();
        if (socket.state() != QAbstractSocket::UnconnectedState)
            socket.waitForDisconnected(500);
    }
    socket.abort();
}

void NetworkConnection::reset() {
    parser = TelnetParser();
    negotiator = TelnetNegotiator();
    in.clear();
    awaiting.clear();
    lost = false;
    negotiated = false;
    cts = true;
    flowRefused = false;
    probeUnanswered = false;
    serverOptions.clear();
    banner.clear();
    rtt.reset();
    lastProbeMs = -kProbeEveryMs;
}

bool NetworkConnection::purging() const {
    for (const Awaited& a : awaiting)
        if (a.command == comport::PurgeData)
            return true;
    return false;
}

} // namespace telvo::platform
