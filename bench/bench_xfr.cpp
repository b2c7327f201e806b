// XfrOneFile itself (the program's routine, with its window and receive handler) over the
// in-process line to the emulated boot loader, which drops CTS while it writes each 1024-byte
// page. The time of a transfer against its floor, bytes x 10 bit times + the device's page
// stalls; under the virtual clock (exact pacing) and on the wall clock, where the program's
// CPU time is also shown as a share of the transfer's wall time.

#include "BenchLine.h"
#include "Device.h"
#include "DevicePeer.h"
#include "Firmware.h"

#include "app/Globals.h"
#include "config/IniLoader.h"
#include "firmware/Firmware.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/Navigate.h"
#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <ctime>

using namespace telvo;

namespace {

double cpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
}

struct Result {
    bool whole = false;
    double seconds = 0;
    double floor = 0;
    double cpuShare = 0;
};

Result run(const QString& home, int baud, qint64 size, bool virtualClock) {
    platform::Clock& clock = platform::Clock::instance();
    clock.setVirtual(virtualClock);
    ui::ResetSession();
    platform::PortMap::instance().setPorts({});
    ui::InitDefaults();
    vorix::sim::DeviceOptions o;
    o.baud = baud;
    o.model = QStringLiteral("Gorda");
    o.firmware = QStringLiteral("1.24");
    auto peer = std::make_unique<vorix::sim::DevicePeer>(
        std::make_unique<vorix::sim::Device>(QStringList{}, o, clock.nowUs()));
    platform::PortMap::instance().attachPeer(1, peer.get());
    const QString rate = QString::number(baud);
    ui::SCL& s = bench::OpenCom1AsConnected(rate);
    s.txtxfrspeed->setText(rate);
    s.txtFirmware->setText(QStringLiteral("1.24"));
    ui::SetState(QStringLiteral("Idle"));
    Result r;
    ui::EnterFirmwareUpdateMode();

    const QString file = home + QStringLiteral("/bench.frk");
    QFile f(file);
    f.open(QIODevice::WriteOnly);
    f.write(vorix::sim::MakeFirmwareImage(QStringLiteral("9.99"), size));
    f.close();
    ui::ldr().txtFileName->setText(file);
    ui::SetState(QStringLiteral("OC Loading"));

    QElapsedTimer wall;
    wall.start();
    const double cpu0 = cpuSeconds();
    const qint64 t0 = clock.nowUs();
    const qint16 code = ui::XfrOneFile();
    // The transfer ends when the device holds the last byte (the program's count reaches 0 as
    // that byte starts, ten bit times earlier); the pause of 250 ms before the first block is
    // set-up, not transfer.
    const vorix::sim::Device& d = peer->device();
    while (code == 0 && d.loader().stats().bytes < size && clock.nowUs() - t0 < 600'000'000)
        platform::DoEvents();
    const double seconds = double(clock.nowUs() - t0) / 1e6 - 0.25;
    const double cpu = cpuSeconds() - cpu0;
    const double wallS = double(wall.nsecsElapsed()) / 1e9;
    const qint64 pages = (size + o.pageSize - 1) / o.pageSize;
    r.floor = double(size) * double(platform::SimulatedLine::byteTimeUs(baud)) / 1e6 +
              double(pages - 1) * double(o.pageWriteUs) / 1e6;
    r.seconds = seconds;
    r.cpuShare = virtualClock ? 0 : cpu / wallS;
    platform::Clock::instance().runUntil([&] { return d.loader().stats().accepted == 1; },
                                         5'000'000);
    r.whole = code == 0 && d.loader().stats().bytes == size;
    ui::ResetSession();
    platform::PortMap::instance().setPorts({});
    clock.clear();
    return r;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();
    std::printf(
        "bench_xfr: XfrOneFile to the emulated boot loader, 1024-byte pages, 12 ms stalls\n");
    std::printf("%-8s %-8s %9s %10s %10s %10s %8s %6s\n", "clock", "baud", "bytes", "floor s",
                "took s", "of floor", "CPU", "whole");
    bool ok = true;
    struct Case {
        bool virt;
        int baud;
        qint64 size;
    };
    for (const Case c : {Case{true, 57600, 200 * 1024}, Case{true, 115200, 200 * 1024},
                         Case{false, 57600, 24 * 1024}, Case{false, 115200, 48 * 1024}}) {
        const Result r = run(home.path(), c.baud, c.size, c.virt);
        ok = ok && r.whole;
        char cpu[16] = "-";
        if (!c.virt)
            std::snprintf(cpu, sizeof cpu, "%.1f %%", r.cpuShare * 100);
        std::printf("%-8s %-8d %9lld %10.3f %10.3f %10.3f %8s %6s\n", c.virt ? "virtual" : "wall",
                    c.baud, c.size, r.floor, r.seconds, r.floor / r.seconds, cpu,
                    r.whole ? "yes" : "NO");
    }
    std::printf("goal: of floor >= 0.99, CPU <= 5 %%\n");
    return ok ? 0 : 1;
}
