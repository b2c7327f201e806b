#include "platform/serial/SimulatedLine.h"

#include <QScopeGuard>
#include <algorithm>

namespace telvo::platform {

namespace {

// On the wall clock, the most one wake-up carries: each byte still reaches the far end stamped
// with its own time, so this only spares the program a wake-up per byte (11,520 a second at
// 115200), and never delays a moment the program waits on.
constexpr qint64 kBatchUs = 2000;

} // namespace

SimulatedLine::SimulatedLine(LinePeer* peer) {
    setPeer(peer);
}

SimulatedLine::~SimulatedLine() {
    Clock& c = Clock::instance();
    c.cancel(m_txEvent);
    c.cancel(m_rxEvent);
    c.cancel(m_notifyEvent);
}

void SimulatedLine::setPeer(LinePeer* peer) {
    m_peer = peer;
    if (peer)
        peer->attached(this);
}

int SimulatedLine::open(const LineSettings& s, QString*) {
    m_settings = s;
    m_open = true;
    m_rx.clear();
    if (m_peer)
        m_peer->hostOpenChanged(true);
    return 0;
}

void SimulatedLine::close() {
    if (!m_open)
        return;
    m_open = false;
    // Closing a port discards what it had not yet sent and what it had not yet read.
    m_tx.clear();
    m_wireBusy = false;
    m_rx.clear();
    Clock::instance().cancel(m_txEvent);
    m_txEvent = 0;
    if (m_peer)
        m_peer->hostOpenChanged(false);
}

void SimulatedLine::apply(const LineSettings& s) {
    m_settings = s;
}

int SimulatedLine::peerBaud() const {
    const int b = m_peer ? m_peer->baud() : 0;
    return b > 0 ? b : m_settings.baud;
}

int SimulatedLine::peerTxBaud() const {
    const int b = m_peer ? m_peer->txBaud() : 0;
    return b > 0 ? b : m_settings.baud;
}

void SimulatedLine::setCut(bool cut) {
    if (cut == m_cut)
        return;
    m_cut = cut;
    // An open input reads as "off": the program sees CTS drop with the cable.
    peerSetCts(!cut);
}

bool SimulatedLine::flowStopped() const {
    const bool rts =
        m_settings.handshake == Handshake::Rts || m_settings.handshake == Handshake::RtsXonXoff;
    return rts && !m_cts;
}

qint64 SimulatedLine::write(const QByteArray& bytes) {
    if (!m_open)
        return -1;
    m_wire.append(bytes);
    // An idle line starts the first byte now; on a busy one it follows the last.
    if (!m_wireBusy && m_tx.empty())
        m_txLineFreeUs = std::max(m_txLineFreeUs, Clock::instance().nowUs());
    for (char c : bytes)
        m_tx.push_back(c);
    pumpTx();
    return bytes.size();
}

qint64 SimulatedLine::batchedDue(qint64 nextUs, qint64 lastUs) {
    const Clock& clock = Clock::instance();
    if (clock.isVirtual())
        return nextUs;
    return std::min(lastUs, std::max(nextUs, clock.nowUs() + kBatchUs));
}

void SimulatedLine::pumpTx() {
    if (m_txEvent || m_inTxRun)
        return;
    Clock& clock = Clock::instance();
    if (!m_pacing) {
        if (m_tx.empty() || flowStopped())
            return;
        QByteArray chunk;
        for (char c : m_tx)
            chunk.append(c);
        m_tx.clear();
        m_txEvent = clock.scheduleIn(0, [this, chunk] {
            m_txEvent = 0;
            if (m_cut || !m_peer)
                return;
            m_bytesToPeer += chunk.size();
            m_peer->bytesArrived(m_noise.carry(chunk, peerBaud() == m_settings.baud));
            pumpTx();
        });
        return;
    }
    const bool starting = !m_tx.empty() && !flowStopped();
    if (!m_wireBusy && !starting)
        return;
    // Next: the byte on the wire arrives, or the next one starts. The program's count reaches 0
    // as the last queued byte starts, a moment the program waits on: always a wake-up.
    qint64 due = m_txLineFreeUs;
    if (starting) {
        const qint64 lastStarts =
            m_txLineFreeUs + qint64(m_tx.size() - 1) * byteTimeUs(m_settings.baud);
        due = batchedDue(due, lastStarts);
    }
    m_txEvent = clock.schedule(due, [this] {
        m_txEvent = 0;
        runTx();
    });
}

void SimulatedLine::runTx() {
    const qint64 now = Clock::instance().nowUs();
    const qint64 bt = byteTimeUs(m_settings.baud);
    m_inTxRun = true;
    const auto done = qScopeGuard([this] { m_inTxRun = false; });
    // The bytes keep their own timetable however late the event: each arrives stamped with its
    // time, and the next starts as it arrives unless the device dropped CTS on it.
    for (;;) {
        if (m_wireBusy) {
            if (m_txLineFreeUs > now)
                break;
            m_wireBusy = false;
            if (!m_cut && m_peer) {
                ++m_bytesToPeer;
                const QByteArray one(1, m_onWire);
                const Clock::At arrival(m_txLineFreeUs);
                m_peer->bytesArrived(m_noise.carry(one, peerBaud() == m_settings.baud));
            }
        }
        if (m_tx.empty() || flowStopped() || m_txLineFreeUs > now)
            break;
        m_onWire = m_tx.front();
        m_tx.pop_front();
        m_wireBusy = true;
        m_txLineFreeUs += bt;
    }
    m_inTxRun = false;
    pumpTx();
}

void SimulatedLine::peerSend(const QByteArray& bytes) {
    // An idle line starts now (the device's own time when it speaks from a stamped moment).
    if (m_fromPeer.empty())
        m_rxLineFreeUs = std::max(m_rxLineFreeUs, Clock::instance().nowUs());
    for (char c : bytes)
        m_fromPeer.push_back(c);
    pumpRx();
}

bool SimulatedLine::rxFull() const {
    return m_open && !m_cut && m_rx.size() >= kReceiveChunk;
}

void SimulatedLine::pumpRx() {
    // A full receive buffer holds the line until the program reads (readAll pumps again).
    if (m_rxEvent || m_fromPeer.empty() || rxFull())
        return;
    Clock& clock = Clock::instance();
    const int sendBaud = peerTxBaud();
    const qint64 bt = m_pacing ? byteTimeUs(sendBaud) : 0;
    // The last byte of what the device said (a reply's ETX) is always a wake-up of its own.
    const qint64 due =
        batchedDue(m_rxLineFreeUs + bt, m_rxLineFreeUs + qint64(m_fromPeer.size()) * bt);
    m_rxEvent = clock.schedule(due, [this, bt, sendBaud] {
        m_rxEvent = 0;
        const qint64 now = Clock::instance().nowUs();
        QByteArray chunk;
        // Late events catch up with every byte due by now, as on the way out.
        const qint64 room = m_open && !m_cut ? kReceiveChunk - m_rx.size() : kReceiveChunk;
        while (!m_fromPeer.empty() && chunk.size() < room &&
               (bt == 0 || m_rxLineFreeUs + bt <= now)) {
            m_rxLineFreeUs += bt;
            chunk.append(m_fromPeer.front());
            m_fromPeer.pop_front();
        }
        if (m_open && !m_cut && !chunk.isEmpty()) {
            m_rx.append(m_noise.carry(chunk, sendBaud == m_settings.baud));
            if (!m_notifyEvent)
                m_notifyEvent = Clock::instance().scheduleIn(0, [this] {
                    m_notifyEvent = 0;
                    if (m_open && !m_rx.isEmpty())
                        Q_EMIT received();
                });
        }
        pumpRx();
    });
}

QByteArray SimulatedLine::readAll() {
    QByteArray out;
    out.swap(m_rx);
    pumpRx();
    return out;
}

void SimulatedLine::peerSetCts(bool cts) {
    if (m_cut)
        cts = false;
    if (cts == m_cts)
        return;
    m_cts = cts;
    // The line resumes from the moment CTS came back (stamped when the device's alarm ran late).
    if (cts && !m_wireBusy)
        m_txLineFreeUs = std::max(m_txLineFreeUs, Clock::instance().nowUs());
    if (m_open) {
        Q_EMIT ctsChanged();
        pumpTx();
    }
}

} // namespace telvo::platform
