#pragma once
// The run's connections to network ports, one an address: a server that serves one client at a
// time must see one connection for the whole run, however often the port is opened and closed.

#include "core/link/Rfc2217.h"

#include <QElapsedTimer>
#include <QMetaObject>
#include <QObject>
#include <QStringList>
#include <QTcpSocket>
#include <vector>

namespace telvo::platform {

// The connection of one address for the run, with its Telnet state; the back-end of the open
// that uses it holds it. It belongs to the application, so it ends with the run.
class NetworkConnection : public QObject {
public:
    struct Awaited {
        unsigned char command = 0;
        QByteArray value;
        qint64 sentAtMs = 0;
    };

    static constexpr int kProbeEveryMs =
        2000; // a running link's round trip is asked again after this

    explicit NetworkConnection(QObject* parent) : QObject(parent) { clock.start(); }
    ~NetworkConnection() override;
    // A fresh connection starts with no Telnet state and nothing awaited.
    void reset();
    // A purge is awaited: what arrives until its answer is stale.
    bool purging() const;

    QTcpSocket socket;
    core::TelnetParser parser;
    core::TelnetNegotiator negotiator;
    QByteArray in;
    bool lost = true;
    bool negotiated = false;
    bool cts = true;
    int lineBaud = 0;
    bool flowRefused = false;
    bool probeUnanswered = false; // the server does not answer a question of the rate
    std::vector<Awaited> awaiting;
    core::RoundTripEstimate rtt;
    int published = -1;
    qint64 lastProbeMs = -kProbeEveryMs;
    QElapsedTimer clock;
    int connections = 0;
    QStringList serverOptions;
    QByteArray banner;
    bool overflowTold = false;
    std::vector<QMetaObject::Connection> wires;
};

// The connection of `address` (compared without case or blanks), made on first use.
NetworkConnection& ConnectionFor(const QString& address);
// Ends every connection of the run.
void DropConnections();

} // namespace telvo::platform
