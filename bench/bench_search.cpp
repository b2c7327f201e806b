// The time of a full search as a ratio of its floor: ports that exist x rates tried x txtTO.
// 16 configured ports of which 3 exist; the device answers on the last of them at the last rate
// tried (38400). Twice: over the in-process line, and over pseudo-terminals with vorix-sim.

#include "DevicePeer.h"
#include "app/Globals.h"
#include "config/IniLoader.h"
#include "link/Driver.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPeer.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <cstdio>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

using namespace telvo;

namespace {

constexpr int kPorts = 16;
constexpr int kRates = 6;
constexpr int kTimeoutMs = 250;

struct Result {
    bool found = false;
    QString port;
    double ms = 0;
};

// Builds the port list, then times FindDevice(0) alone.
Result search() {
    ui::ResetSession();
    ui::InitDefaults();
    ui::Config().MaxPorts = kPorts;
    ui::BuildPortList();
    ui::scl().lstPort->setCurrentIndex(0);
    ui::scl().lstRate->setCurrentIndex(0);
    const qint64 t0 = platform::Clock::instance().nowUs();
    Result r;
    r.found = ui::FindDevice(0);
    r.port = ui::scl().txtPort->text();
    r.ms = double(platform::Clock::instance().nowUs() - t0) / 1000.0;
    return r;
}

std::unique_ptr<vorix::sim::DevicePeer> device(const QString& ini) {
    vorix::sim::DeviceOptions o;
    o.baud = 38400;
    QString error;
    auto d = vorix::sim::Device::FromIniFile(ini, o, &error, platform::Clock::instance().nowUs());
    if (!d)
        d = std::make_unique<vorix::sim::Device>(QStringList{}, o,
                                                 platform::Clock::instance().nowUs());
    return std::make_unique<vorix::sim::DevicePeer>(std::move(d));
}

QStringList configured(const QMap<int, QString>& existing) {
    QStringList entries;
    for (int i = 1; i <= kPorts; ++i)
        entries << existing.value(i, QStringLiteral("/nonexistent/telvo-bench-%1").arg(i));
    return entries;
}

void report(QTextStream& out, const char* what, const Result& r, double cpuMs) {
    const double floorMs = 3.0 * kRates * kTimeoutMs;
    out << what << ": " << (r.found ? "found on " + r.port : QStringLiteral("NOT FOUND")) << ", "
        << QString::number(r.ms, 'f', 1) << " ms for a floor of " << floorMs << " ms: ratio "
        << QString::number(r.ms / floorMs, 'f', 3);
    if (cpuMs >= 0)
        out << " (" << QString::number(cpuMs, 'f', 1) << " ms of real time)";
    out << Qt::endl;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();
    const QString ini = QStringLiteral(TELVO_SOURCE_DIR "/data/Telvo.ini");
    QFile::copy(ini, home.filePath(QStringLiteral("Telvo.ini")));
    out << "Full search: " << kPorts
        << " configured ports, 3 there, device on the last at 38400, txtTO " << kTimeoutMs
        << " ms, txtretry 1" << Qt::endl;

    platform::PortMap& map = platform::PortMap::instance();
    {
        // In-process line, virtual clock: the logic's own cost, free of the wall clock.
        platform::Clock::instance().setVirtual(true);
        platform::ScriptedPeer empty1, empty2;
        auto dev = device(ini);
        map.setPorts(configured({}));
        map.attachPeer(4, &empty1);
        map.attachPeer(9, &empty2);
        map.attachPeer(14, dev.get());
        QElapsedTimer cpu;
        cpu.start();
        const Result r = search();
        report(out, "in-process line, virtual clock", r, double(cpu.nsecsElapsed()) / 1e6);
        ui::ResetSession();
        map.setPorts({});
    }
    {
        // In-process line on the wall clock.
        platform::Clock::instance().setVirtual(false);
        platform::ScriptedPeer empty1, empty2;
        auto dev = device(ini);
        map.setPorts(configured({}));
        map.attachPeer(4, &empty1);
        map.attachPeer(9, &empty2);
        map.attachPeer(14, dev.get());
        const Result r = search();
        report(out, "in-process line, wall clock   ", r, -1);
        ui::ResetSession();
        map.setPorts({});
    }
    const QString sim = QStringLiteral(TELVO_BINARY_DIR "/bin/vorix-sim");
    if (!QFile::exists(sim)) {
        out << "pseudo-terminals: vorix-sim not built, skipped" << Qt::endl;
        return 0;
    }
    {
        // Real serial code: two terminals with nothing on the far end, the emulator on the third.
        int masters[2];
        QMap<int, QString> there;
        for (int i = 0; i < 2; ++i) {
            masters[i] = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
            ::grantpt(masters[i]);
            ::unlockpt(masters[i]);
            there[i == 0 ? 4 : 9] = QString::fromLocal8Bit(::ptsname(masters[i]));
        }
        QProcess proc;
        proc.start(
            sim, {QStringLiteral("--ini"), ini, QStringLiteral("--baud"), QStringLiteral("38400")});
        proc.waitForStarted(5000);
        while (!proc.canReadLine() && proc.waitForReadyRead(5000)) {
        }
        there[14] = QString::fromLocal8Bit(proc.readLine()).trimmed();
        map.setPorts(configured(there));
        const Result r = search();
        report(out, "pseudo-terminals, vorix-sim   ", r, -1);
        ui::ResetSession();
        map.setPorts({});
        proc.terminate();
        proc.waitForFinished(3000);
        for (int m : masters)
            ::close(m);
    }
    return 0;
}
