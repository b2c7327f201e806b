// The network port against the local one: vorix-sim on a pseudo-terminal, reached directly and
// through ser2net's rfc2217:// on loopback. Exchanges a second (QueryDevice, one after the other)
// and a firmware image by XfrOneFile to the boot loader at 57600, each over the network as a
// ratio of the same over the pseudo-terminal, best of three runs each. Wall clock: the device and
// the server run on it.

#include "BenchLine.h"
#include "app/Globals.h"
#include "common/Ser2Net.h"
#include "common/SimProcess.h"
#include "config/IniLoader.h"
#include "firmware/Firmware.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/Navigate.h"
#include "link/zSCL.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cstdio>
#include <memory>

using namespace telvo;
using namespace telvo::test;

namespace {

struct Result {
    double exchangesPerSecond = 0;
    double transferSeconds = 0;
    bool whole = false;
};

constexpr int kExchanges = 40;
constexpr qint64 kImage = 16 * 1024;

Result run(const QString& home, bool network) {
    Result r;
    SimProcess sim(home, network ? QStringLiteral("net") : QStringLiteral("pty"),
                   {QStringLiteral("--ini"), QStringLiteral(TELVO_SOURCE_DIR "/data/Telvo.ini")});
    if (!sim.running())
        return r;
    std::unique_ptr<Ser2Net> server;
    if (network) {
        server = std::make_unique<Ser2Net>(home, sim.path(), Ser2Net::Rfc2217);
        if (!server->running())
            return r;
    }
    ui::ResetSession();
    platform::PortMap::instance().setPorts({network ? server->address() : sim.path()});
    ui::InitDefaults();
    ui::SCL& s = bench::OpenCom1AsConnected();
    s.txtxfrspeed->setText(QStringLiteral("57600"));
    s.txtFirmware->setText(QStringLiteral("1.24"));
    ui::SetState(QStringLiteral("Idle"));

    QElapsedTimer wall;
    wall.start();
    int answered = 0;
    for (int i = 0; i < kExchanges; ++i) {
        ui::Link().Reply.clear();
        ui::QueryDevice(QStringLiteral("A1"));
        answered += !ui::Link().Reply.isEmpty();
    }
    r.exchangesPerSecond = double(answered) / (double(wall.nsecsElapsed()) / 1e9);

    const QString file = home + QStringLiteral("/bench.frk");
    QProcess make;
    make.start(SimBinary(),
               {QStringLiteral("--make-firmware"), file, QStringLiteral("--version"),
                QStringLiteral("9.99"), QStringLiteral("--size"), QString::number(kImage)});
    make.waitForFinished(10000);
    if (!ui::EnterFirmwareUpdateMode())
        return r;
    ui::ldr().txtFileName->setText(file);
    ui::SetState(QStringLiteral("OC Loading"));
    wall.restart();
    const qint16 code = ui::XfrOneFile();
    // Less the routine's own pause of 250 ms before the first block.
    r.transferSeconds = double(wall.nsecsElapsed()) / 1e9 - 0.25;
    r.whole = code == 0 && answered == kExchanges;
    ui::ResetSession();
    platform::PortMap::instance().setPorts({});
    platform::Clock::instance().clear();
    return r;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TELVO_BINARY_DIR", TELVO_BINARY_DIR);
    QApplication app(argc, argv);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();
    platform::Clock::instance().setVirtual(false);
    if (Ser2NetBinary().isEmpty()) {
        std::printf("bench_netport: ser2net not installed, skipped\n");
        return 0;
    }
    std::printf("bench_netport: %d exchanges at 19200, then a %lld-byte image at 57600\n",
                kExchanges, kImage);
    // Best of three, taken in turns: on a shared machine the server is one more process to be
    // scheduled, and a single run measures the neighbours as much as the line.
    Result pty, net;
    for (int round = 0; round < 3; ++round) {
        for (const bool network : {false, true}) {
            const Result r = run(home.path(), network);
            Result& best = network ? net : pty;
            best.whole = (round == 0 || best.whole) && r.whole;
            best.exchangesPerSecond = qMax(best.exchangesPerSecond, r.exchangesPerSecond);
            if (best.transferSeconds <= 0 || r.transferSeconds < best.transferSeconds)
                best.transferSeconds = r.transferSeconds;
        }
    }
    std::printf("%-10s %14s %12s %6s\n", "line", "exchanges/s", "transfer s", "whole");
    std::printf("%-10s %14.2f %12.3f %6s\n", "pty", pty.exchangesPerSecond, pty.transferSeconds,
                pty.whole ? "yes" : "NO");
    std::printf("%-10s %14.2f %12.3f %6s\n", "rfc2217", net.exchangesPerSecond, net.transferSeconds,
                net.whole ? "yes" : "NO");
    if (pty.exchangesPerSecond > 0 && net.transferSeconds > 0)
        std::printf("ratio rfc2217/pty: exchanges %.3f, transfer %.3f (goal >= 0.95)\n",
                    net.exchangesPerSecond / pty.exchangesPerSecond,
                    pty.transferSeconds / net.transferSeconds);
    return pty.whole && net.whole ? 0 : 1;
}
