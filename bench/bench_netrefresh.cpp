// A refresh of all panels over rfc2217:// at a round trip of 0 and of 100 ms: vorix-sim on a
// pseudo-terminal, ser2net on loopback, and the tests' delaying proxy in front of it. Each time
// is printed against its floor: the bytes of both directions on the wire at 19200 baud, plus one
// round trip an exchange. Best of three. Wall clock: the device, the server and the proxy run on
// it.

#include "BenchLine.h"
#include "app/Globals.h"
#include "common/DelayProxy.h"
#include "common/Ser2Net.h"
#include "common/SimProcess.h"
#include "config/IniLoader.h"
#include "link/zSCL.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/LinkLatency.h"
#include "platform/serial/PortMap.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <cstdio>
#include <memory>

using namespace telvo;
using namespace telvo::test;

namespace {

struct Result {
    double seconds = 0;
    qint64 wireBytes = 0;
    int exchanges = 0;
    bool whole = false;
};

// Bytes of a frame as the trace prints it: "(STX)2003A1(NUL)(ETX)" is 8.
qint64 frameBytes(const QString& printable) {
    static const QRegularExpression name(QStringLiteral("\\([A-Z]{2,3}\\)"));
    QString one = printable;
    return one.replace(name, QStringLiteral("x")).size();
}

Result run(const QString& home, int roundTripMs) {
    Result r;
    SimProcess sim(home, QStringLiteral("far%1").arg(roundTripMs),
                   {QStringLiteral("--ini"), home + QStringLiteral("/Telvo.ini"),
                    QStringLiteral("--reply-delay"), QStringLiteral("0")});
    if (!sim.running())
        return r;
    Ser2Net server(home, sim.path(), Ser2Net::Rfc2217);
    if (!server.running())
        return r;
    DelayProxy proxy(quint16(server.address().section(QLatin1Char(':'), -1).toUInt()), roundTripMs,
                     0);
    ui::ResetSession();
    platform::SetLinkRoundTripMs(0);
    platform::PortMap::instance().setPorts({proxy.address(QStringLiteral("rfc2217"))});
    ui::InitDefaults();
    ui::ReadIniFile(1);
    ui::ReadIniFile(2);
    ui::Config().LogToFile = false;
    ui::BuildPanels();
    ui::SCL& s = bench::OpenCom1AsConnected();
    // The link measured as a connection's first exchange measures it.
    ui::QueryDevice(QStringLiteral("A1"));
    const int before = int(sim.frames().size());

    QElapsedTimer wall;
    wall.start();
    ui::RefreshPanels(7);
    r.seconds = double(wall.nsecsElapsed()) / 1e9;
    int asked = 0, answered = 0;
    const QStringList frames = sim.frames().mid(before);
    for (const QString& f : frames) {
        if (f.startsWith(QLatin1String("host  "))) {
            ++asked;
            r.wireBytes += frameBytes(f.mid(6));
        } else if (f.startsWith(QLatin1String("device  "))) {
            ++answered;
            r.wireBytes += frameBytes(f.mid(8));
        }
    }
    r.exchanges = asked;
    r.whole = asked > 0 && asked == answered;
    s.P1->setPortOpen(false);
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
    QFile::copy(QStringLiteral(TELVO_SOURCE_DIR "/data/Telvo.ini"),
                home.filePath(QStringLiteral("Telvo.ini")));
    platform::InstallScriptedPlatform();
    platform::Clock::instance().setVirtual(false);
    if (Ser2NetBinary().isEmpty()) {
        std::printf("bench_netrefresh: ser2net not installed, skipped\n");
        return 0;
    }
    std::printf("bench_netrefresh: a refresh of all panels over rfc2217:// at 19200, against its "
                "floor (line time + one round trip an exchange)\n");
    std::printf("%-10s %10s %10s %10s %8s %6s\n", "round trip", "exchanges", "time s", "floor s",
                "ratio", "whole");
    bool allWhole = true;
    for (const int roundTripMs : {0, 100}) {
        Result best;
        for (int round = 0; round < 3; ++round) {
            const Result r = run(home.path(), roundTripMs);
            if (round == 0 || (r.whole && r.seconds < best.seconds))
                best = r;
        }
        const double floor =
            double(best.wireBytes) * 10.0 / 19200.0 + best.exchanges * (roundTripMs / 1000.0);
        std::printf("%7d ms %10d %10.3f %10.3f %8.3f %6s\n", roundTripMs, best.exchanges,
                    best.seconds, floor, floor > 0 ? best.seconds / floor : 0.0,
                    best.whole ? "yes" : "NO");
        allWhole = allWhole && best.whole;
    }
    std::printf("goal: ratio <= 1.1\n");
    return allWhole ? 0 : 1;
}
