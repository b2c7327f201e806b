// A full refresh of the panels (every row of the sample Telvo.ini) against the emulated device on
// the in-process line at 19200 baud, on the real clock: its time as a ratio of the line's floor,
// the time the bytes of both directions take on the wire at that rate.

#include "BenchLine.h"
#include "CpuTime.h"
#include "Device.h"
#include "DevicePeer.h"
#include "app/Globals.h"
#include "config/IniLoader.h"
#include "core/config/IniFile.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

using namespace telvo;

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();
    platform::Clock::instance().setVirtual(false);
    QFile::copy(QStringLiteral(TELVO_SOURCE_DIR "/data/Telvo.ini"),
                home.filePath(QStringLiteral("Telvo.ini")));
    ui::InitDefaults();
    ui::ReadIniFile(1);
    ui::ReadIniFile(2);
    ui::Config().LogToFile = false;
    ui::BuildPanels();

    QFile ini(home.filePath(QStringLiteral("Telvo.ini")));
    ini.open(QIODevice::ReadOnly);
    vorix::sim::DeviceOptions o;
    o.replyDelayUs = 0; // the device's thinking time is its own: measure the program and the line
    auto device = std::make_unique<vorix::sim::Device>(core::SplitTextLines(ini.readAll()), o,
                                                       platform::Clock::instance().nowUs());
    qint64 wireBytes = 0;
    device->setTrace([&](vorix::sim::Device::TraceKind kind, const QByteArray& bytes) {
        if (kind != vorix::sim::Device::TraceKind::Note)
            wireBytes += bytes.size();
    });
    vorix::sim::DevicePeer peer(std::move(device));
    platform::PortMap::instance().setPorts({});
    platform::PortMap::instance().attachPeer(1, &peer);
    platform::PortMap::instance().simulatedLine(1)->setPacing(true);
    ui::SCL& s = bench::OpenCom1AsConnected();

    const double cpu0 = cpuSeconds();
    QElapsedTimer wall;
    wall.start();
    ui::RefreshPanels(7);
    const double seconds = wall.nsecsElapsed() / 1e9;
    const double cpu = cpuSeconds() - cpu0;
    const double floor = wireBytes * 10.0 / 19200.0;
    std::printf("refresh of all panels @19200: %.3f s for %lld bytes on the wire, line floor "
                "%.3f s, ratio %.3f (goal >= 0.95); CPU %.1f%% of the time\n",
                seconds, static_cast<long long>(wireBytes), floor, floor / seconds,
                100.0 * cpu / seconds);
    s.P1->setPortOpen(false);
    platform::PortMap::instance().setPorts({});
    return 0;
}
