#include "platform/SimulatedLine.h"

#include <algorithm>

namespace telvo::platform {

SimulatedLine::SimulatedLine(LinePeer* peer) { setPeer(peer); }

SimulatedLine::~SimulatedLine() {
    Clock& c = Clock::instance();
    c.cancel(m_txEvent);
    c.cancel(m_rxEvent);
    c.cancel(m_notifyEvent);
}

void SimulatedLine::setPeer(LinePeer* peer) {
    m_peer = peer;
    if (peer) peer->attached(this);
}

int SimulatedLine::open(const LineSettings& s, QString*) {
    m_settings = s;
    m_open = true;
    m_rx.clear();
    if (m_peer) m_peer->hostOpenChanged(true);
    return 0;
}

void SimulatedLine::close() {
    if (!m_open) return;
    m_open = false;
    // Closing a port discards what it had not yet sent and what it had not yet read.
    m_tx.clear();
    m_rx.clear();
    Clock::instance().cancel(m_txEvent);
    m_txEvent = 0;
    if (m_peer) m_peer->hostOpenChanged(false);
}

void SimulatedLine::apply(const LineSettings& s) { m_settings = s; }

int SimulatedLine::peerBaud() const {
    const int b = m_peer ? m_peer->baud() : 0;
    return b > 0 ? b : m_settings.baud;
}

int SimulatedLine::peerTxBaud() const {
    const int b = m_peer ? m_peer->txBaud() : 0;
    return b > 0 ? b : m_settings.baud;
}

void SimulatedLine::setCut(bool cut) {
    if (cut == m_cut) return;
    m_cut = cut;
    // An open input reads as "off": the program sees CTS drop with the cable.
    peerSetCts(!cut);
}

bool SimulatedLine::flowStopped() const {
    const bool rts = m_settings.handshake == Handshake::Rts ||
                     m_settings.handshake == Handshake::RtsXonXoff;
    return rts && !m_cts;
}

QByteArray SimulatedLine::noiseFor(const QByteArray& bytes) {
    // Framing at the wrong rate: what arrives is noise, and never the frame markers.
    QByteArray out(bytes.size(), '\0');
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        m_noiseSeed = m_noiseSeed * 1664525u + 1013904223u;
        char c = char(0x80 | ((m_noiseSeed >> 24) & 0x7f));
        out[i] = c;
    }
    return out;
}

qint64 SimulatedLine::write(const QByteArray& bytes) {
    if (!m_open) return -1;
    m_wire.append(bytes);
    for (char c : bytes) m_tx.push_back(c);
    pumpTx();
    return bytes.size();
}

void SimulatedLine::pumpTx() {
    if (m_txEvent || m_tx.empty() || flowStopped()) return;
    Clock& clock = Clock::instance();
    if (!m_pacing) {
        QByteArray chunk;
        for (char c : m_tx) chunk.append(c);
        m_tx.clear();
        m_txEvent = clock.scheduleIn(0, [this, chunk] {
            m_txEvent = 0;
            if (m_cut || !m_peer) return;
            m_bytesToPeer += chunk.size();
            m_peer->bytesArrived(peerBaud() == m_settings.baud ? chunk : noiseFor(chunk));
            pumpTx();
        });
        return;
    }
    // One byte at a time at the program's rate, so that CTS stops the flow between bytes. The
    // bytes keep their own timetable: an event that fires late (the wall clock counts timers in
    // whole milliseconds) delivers every byte whose time has come, so the pace stays exact.
    const qint64 bt = byteTimeUs(m_settings.baud);
    m_txLineFreeUs = std::max(m_txLineFreeUs, clock.nowUs());
    m_txEvent = clock.schedule(m_txLineFreeUs + bt, [this, bt] {
        m_txEvent = 0;
        const qint64 now = Clock::instance().nowUs();
        while (!m_tx.empty() && !flowStopped() && m_txLineFreeUs + bt <= now) {
            m_txLineFreeUs += bt;
            QByteArray one(1, m_tx.front());
            m_tx.pop_front();
            if (!m_cut && m_peer) {
                ++m_bytesToPeer;
                m_peer->bytesArrived(peerBaud() == m_settings.baud ? one : noiseFor(one));
            }
        }
        pumpTx();
    });
}

void SimulatedLine::peerSend(const QByteArray& bytes) {
    for (char c : bytes) m_fromPeer.push_back(c);
    pumpRx();
}

void SimulatedLine::pumpRx() {
    if (m_rxEvent || m_fromPeer.empty()) return;
    Clock& clock = Clock::instance();
    const int sendBaud = peerTxBaud();
    const qint64 bt = m_pacing ? byteTimeUs(sendBaud) : 0;
    m_rxLineFreeUs = std::max(m_rxLineFreeUs, clock.nowUs());
    m_rxEvent = clock.schedule(m_rxLineFreeUs + bt, [this, bt, sendBaud] {
        m_rxEvent = 0;
        const qint64 now = Clock::instance().nowUs();
        QByteArray chunk;
        // Late events catch up with every byte due by now, as on the way out.
        while (!m_fromPeer.empty() && (bt == 0 || m_rxLineFreeUs + bt <= now)) {
            m_rxLineFreeUs += bt;
            chunk.append(m_fromPeer.front());
            m_fromPeer.pop_front();
        }
        if (m_open && !m_cut && !chunk.isEmpty()) {
            m_rx.append(sendBaud == m_settings.baud ? chunk : noiseFor(chunk));
            if (!m_notifyEvent)
                m_notifyEvent = Clock::instance().scheduleIn(0, [this] {
                    m_notifyEvent = 0;
                    if (m_open && !m_rx.isEmpty()) Q_EMIT received();
                });
        }
        pumpRx();
    });
}

QByteArray SimulatedLine::readAll() {
    QByteArray out;
    out.swap(m_rx);
    return out;
}

void SimulatedLine::peerSetCts(bool cts) {
    if (m_cut) cts = false;
    if (cts == m_cts) return;
    m_cts = cts;
    if (m_open) {
        Q_EMIT ctsChanged();
        pumpTx();
    }
}

} // namespace telvo::platform
