// A raw firmware transfer through the in-process line under the virtual clock: 100-byte blocks,
// each drained before the next (as the utility sends them), with the boot loader dropping CTS
// while it writes each page. Prints how much of the line's capacity the transfer used.

#include "Device.h"
#include "DevicePeer.h"
#include "Firmware.h"
#include "Frames.h"

#include "platform/clock/Clock.h"
#include "platform/serial/SimulatedLine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>
#include <functional>

using namespace vorix::sim;
using telvo::platform::Clock;
using telvo::platform::Handshake;
using telvo::platform::LineSettings;
using telvo::platform::SimulatedLine;

namespace {

constexpr qint64 kImageSize = 200LL * 1024;

bool runUntil(const std::function<bool()>& cond, qint64 limitUs) {
    return Clock::instance().runUntil(cond, limitUs);
}

struct Result {
    bool whole = false;
    double virtualSeconds = 0;
    double utilisation = 0;
    double toVerdictUtilisation = 0;
    int ctsDrops = 0;
    double realSeconds = 0;
};

Result transfer(int baud, int pageSize, qint64 pageWriteUs) {
    DeviceOptions o;
    o.baud = baud;
    o.pageSize = pageSize;
    o.pageWriteUs = pageWriteUs;
    DevicePeer peer(std::make_unique<Device>(QStringList{}, o, Clock::instance().nowUs()));
    SimulatedLine line(&peer);
    QByteArray rx;
    Result r;
    QObject::connect(&line, &SimulatedLine::received, [&] { rx.append(line.readAll()); });
    QObject::connect(&line, &SimulatedLine::ctsChanged, [&] {
        if (!line.cts())
            ++r.ctsDrops;
    });
    QString error;
    line.open(LineSettings{baud, Handshake::Rts}, &error);
    line.write(QByteArray("\x02"
                          "3005AD\0"
                          "1\0\x03",
                          11));
    if (!runUntil([&] { return rx.endsWith("Load frk File now."); }, 5'000'000))
        return r;

    const QByteArray image = MakeFirmwareImage(QStringLiteral("9.99"), kImageSize);
    QElapsedTimer wall;
    wall.start();
    Clock& clock = Clock::instance();
    const qint64 t0 = clock.nowUs();
    for (qsizetype at = 0; at < image.size(); at += 100) {
        line.write(image.mid(at, 100));
        if (!runUntil([&] { return line.outBufferCount() == 0; }, 10'000'000))
            return r;
    }
    // The last byte is on the device's side once its time on the wire has passed.
    runUntil([&] { return peer.device().loader().stats().bytes == image.size(); }, 1'000'000);
    const qint64 moved = clock.nowUs() - t0;
    runUntil([&] { return peer.device().loader().stats().accepted == 1; }, 5'000'000);
    const qint64 verdict = clock.nowUs() - t0;
    r.realSeconds = double(wall.nsecsElapsed()) / 1e9;

    const double capacity = baud / 10.0; // bytes a second at 8N1
    r.whole = peer.device().loader().stats().accepted == 1 &&
              peer.device().loader().stats().bytes == image.size();
    r.virtualSeconds = double(moved) / 1e6;
    r.utilisation = double(image.size()) / (capacity * double(moved) / 1e6);
    r.toVerdictUtilisation = double(image.size()) / (capacity * double(verdict) / 1e6);
    line.close();
    return r;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    Clock::instance().setVirtual(true);
    std::printf("bench_transfer: %lld-byte image, 100-byte blocks, 8N1, virtual clock\n",
                kImageSize);
    std::printf("%-8s %-18s %10s %12s %12s %10s %8s %10s\n", "baud", "loader pages", "virtual s",
                "utilisation", "to verdict", "CTS drops", "whole", "real s");
    bool allWhole = true;
    struct Case {
        int baud;
        int page;
        qint64 writeUs;
    };
    for (const Case c :
         {Case{57600, 1024, 12'000}, Case{57600, 1024, 0}, Case{57600, 256, 12'000},
          Case{57600, 4096, 50'000}, Case{115200, 1024, 12'000}, Case{115200, 1024, 0}}) {
        const Result r = transfer(c.baud, c.page, c.writeUs);
        allWhole = allWhole && r.whole;
        char label[32];
        std::snprintf(label, sizeof label, "%d B / %lld ms", c.page, c.writeUs / 1000);
        std::printf("%-8d %-18s %10.2f %12.3f %12.3f %10d %8s %10.2f\n", c.baud, label,
                    r.virtualSeconds, r.utilisation, r.toVerdictUtilisation, r.ctsDrops,
                    r.whole ? "yes" : "NO", r.realSeconds);
    }
    std::printf("device reports the image whole: %s\n", allWhole ? "yes" : "NO");
    return allWhole ? 0 : 1;
}
