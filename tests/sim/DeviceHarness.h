#pragma once
// Drives a Device without any clock: the test owns time, and moves it from alarm to alarm.

#include "Device.h"
#include "Frames.h"

#include "core/config/IniFile.h"

#include <QByteArray>
#include <QFile>
#include <ostream>

inline void PrintTo(const QByteArray& b, std::ostream* os) {
    *os << '"' << b.toPercentEncoding(" !#$&'()*+,-./:;<=>?@[]_~").toStdString() << '"';
}
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace vorix::sim::test {

inline QStringList SampleIni() {
    QFile f(qEnvironmentVariable("TELVO_SOURCE_DIR") + QStringLiteral("/data/Telvo.ini"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return telvo::core::SplitTextLines(f.readAll());
}

// A frame as the utility sends it: no checksum, length in lower-case hex.
inline QByteArray HostFrame(const QByteArray& type, const QByteArray& data) {
    return kStx + type + QByteArray::number(data.size(), 16).rightJustified(2, '0') + data + kEtx;
}
inline QByteArray Query(const QByteArray& id) {
    return HostFrame("20", id + '\0');
}
inline QByteArray Set(const QByteArray& id, const QByteArray& v) {
    return HostFrame("30", id + '\0' + v + '\0');
}

class Harness {
public:
    explicit Harness(const DeviceOptions& o = {}, const QStringList& ini = SampleIni())
        : dev(ini, o, 0) {}

    // Lets `us` of time pass, stopping at every alarm on the way.
    void run(qint64 us) {
        const qint64 end = now + us;
        for (qint64 t = dev.nextWakeUs(); t >= 0 && t <= end; t = dev.nextWakeUs()) {
            now = qMax(now, t);
            dev.advance(now);
        }
        now = end;
        dev.advance(now);
    }
    // Runs alarms one by one until the device has said something; false after `limitUs`.
    bool runUntilOutput(qint64 limitUs = 1'000'000) {
        const qint64 end = now + limitUs;
        while (!dev.hasOutput()) {
            const qint64 t = dev.nextWakeUs();
            if (t < 0 || t > end)
                return false;
            now = qMax(now, t);
            dev.advance(now);
        }
        return true;
    }
    void feed(const QByteArray& bytes) { dev.receive(bytes, now); }
    // Sends a frame, lets the device answer, returns all it said.
    QByteArray exchange(const QByteArray& frame, qint64 waitUs = 50'000) {
        feed(frame);
        run(waitUs);
        return dev.takeOutput();
    }
    // Raw bytes at the line's pace at `baud`, held back while CTS is low, as a host with RTS/CTS
    // handshaking sends them. Counts how often CTS fell.
    void stream(const QByteArray& bytes, int baud) {
        const qint64 byteUs = Device::ByteTimeUs(baud);
        for (char c : bytes) {
            while (!dev.cts()) {
                const qint64 t = dev.nextWakeUs();
                if (t < 0)
                    return; // held low for good
                now = qMax(now, t);
                dev.advance(now);
            }
            run(byteUs);
            dev.receive(QByteArray(1, c), now);
            if (!dev.cts())
                ++ctsDrops;
            output.append(dev.takeOutput());
        }
    }

    Device dev;
    qint64 now = 0;
    int ctsDrops = 0;
    QByteArray output; // what stream() collected
};

} // namespace vorix::sim::test
