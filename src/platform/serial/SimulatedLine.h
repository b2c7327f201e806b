#pragma once
// An in-process serial line to a device that lives in software. The line carries bytes at the
// pace of the rate each end runs at (8N1: ten bit times a byte), honours CTS when the port uses
// RTS handshaking, counts what has not yet left, and turns bytes sent at a rate the other end
// is not running at into noise, as a real cable does. The program's end works as a UART: a
// byte leaves the output count when it starts on the wire and arrives ten bit times later.

#include "core/link/LineModel.h"
#include "platform/clock/Clock.h"
#include "platform/serial/CommBackend.h"

#include <QByteArray>
#include <deque>

namespace telvo::platform {

class LineHost;

// The far end of the line: a scripted peer in tests, the device emulator otherwise.
class LinePeer {
public:
    virtual ~LinePeer() = default;
    virtual void attached(LineHost* host) { m_host = host; }
    // Bytes that reached the device, already noise when the rates differ.
    virtual void bytesArrived(const QByteArray& bytes) = 0;
    // The rate the device's own port runs at; 0 follows whatever the program set.
    virtual int baud() const { return 0; }
    // The rate the device sends at, when that is not the rate it listens at (a fault).
    virtual int txBaud() const { return baud(); }
    // The program opened or closed its end.
    virtual void hostOpenChanged(bool) {}

protected:
    LineHost* m_host = nullptr;
};

// What the line offers the device.
class LineHost {
public:
    virtual ~LineHost() = default;
    // Queues bytes for sending towards the program at the device's rate.
    virtual void peerSend(const QByteArray& bytes) = 0;
    virtual void peerSetCts(bool cts) = 0;
    virtual int hostBaud() const = 0;
    virtual bool hostOpen() const = 0;
    virtual int peerPendingBytes() const = 0;
    // The cable is cut (or mended) at the device's end.
    virtual void peerSetCut(bool cut) { (void)cut; }
};

class SimulatedLine : public CommBackend, public LineHost {
    Q_OBJECT
public:
    explicit SimulatedLine(LinePeer* peer = nullptr);
    ~SimulatedLine() override;

    void setPeer(LinePeer* peer);
    LinePeer* peer() const { return m_peer; }
    // When off, bytes arrive at once (the scripted tests of the exchange do not care for pace).
    void setPacing(bool on) { m_pacing = on; }
    // A cut cable: nothing passes either way from now on, and CTS reads low.
    void setCut(bool cut);
    bool isCut() const { return m_cut; }

    // CommBackend
    int open(const LineSettings& s, QString* error) override;
    void close() override;
    bool isOpen() const override { return m_open; }
    void apply(const LineSettings& s) override;
    qint64 write(const QByteArray& bytes) override;
    QByteArray readAll() override;
    int bytesAvailable() const override { return int(m_rx.size()); }
    bool cts() const override { return m_cts; }
    // The bytes that have not yet started on the wire (the one on it is the UART's).
    int outBufferCount() const override { return int(m_tx.size()); }
    void setWriteTimeout(int ms) override { m_writeTimeoutMs = ms; }
    int writeTimeout() const override { return m_writeTimeoutMs; }
    qintptr handle() const override { return m_open ? qintptr(this) : -1; }

    // LineHost
    void peerSend(const QByteArray& bytes) override;
    void peerSetCts(bool cts) override;
    int hostBaud() const override { return m_settings.baud; }
    bool hostOpen() const override { return m_open; }
    int peerPendingBytes() const override { return int(m_fromPeer.size()); }
    void peerSetCut(bool cut) override { setCut(cut); }

    // Every byte that left the program, in order (the wire as the device saw it sent).
    const QByteArray& wire() const { return m_wire; }
    void clearWire() { m_wire.clear(); }
    qint64 bytesDelivered() const { return m_bytesToPeer; }

    static qint64 byteTimeUs(int baud) { return core::ByteTimeUs(baud); }

private:
    void pumpTx();
    void runTx();
    void pumpRx();
    bool rxFull() const;
    // On the wall clock a wake-up carries the bytes due since the last one (each stamped with
    // its own time); this is the earliest of `nextUs` and the later of `lastUs` and now + a batch.
    static qint64 batchedDue(qint64 nextUs, qint64 lastUs);
    int peerBaud() const;
    int peerTxBaud() const;
    bool flowStopped() const;

    LinePeer* m_peer = nullptr;
    LineSettings m_settings;
    bool m_open = false;
    bool m_pacing = true;
    bool m_cut = false;
    bool m_cts = true;
    int m_writeTimeoutMs = 0;
    std::deque<char> m_tx; // written by the program, not yet on the line
    char m_onWire = 0;     // the byte on its way to the device, when m_wireBusy
    bool m_wireBusy = false;
    bool m_inTxRun = false;
    std::deque<char> m_fromPeer; // sent by the device, not yet on the line
    QByteArray m_rx;             // arrived at the program, not yet read
    QByteArray m_wire;
    qint64 m_bytesToPeer = 0;
    // When the byte on the wire out of the program arrives; with none on it, when the next starts.
    qint64 m_txLineFreeUs = 0;
    qint64 m_rxLineFreeUs = 0;
    Clock::Id m_txEvent = 0;
    Clock::Id m_rxEvent = 0;
    Clock::Id m_notifyEvent = 0;
    core::LineNoise m_noise;
};

} // namespace telvo::platform
