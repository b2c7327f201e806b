// Renders the loader's screens of docs/screens: LDR in the middle of a load (boot loader text,
// CTS lamp, progress), the emergency restart window, the final speed window and the adapter
// warning. The device is the emulator on the in-process line; run it under xvfb-run.

#include "Device.h"
#include "Firmware.h"
#include "common/EmulatedDevice.h"

#include "app/Globals.h"
#include "config/DG.h"
#include "config/IniLoader.h"
#include "firmware/EX.h"
#include "firmware/Firmware.h"
#include "firmware/LDR.h"
#include "firmware/RS.h"
#include "link/Driver.h"
#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

using namespace telvo;

namespace {

void save(QWidget& w, const QString& path) {
    w.show();
    w.raise();
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
    w.grab().save(path);
    QTextStream(stdout) << path << Qt::endl;
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screens");
    QDir().mkpath(out);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    qputenv("TELVO_REGISTRY_FILE", home.filePath(QStringLiteral("registry.ini")).toUtf8());
    platform::InstallScriptedPlatform();
    platform::Clock& clock = platform::Clock::instance();
    clock.setVirtual(true);
    ui::InitDefaults();

    vorix::sim::DeviceOptions o;
    o.baud = 57600;
    o.model = QStringLiteral("Gorda");
    o.firmware = QStringLiteral("1.24");
    test::EmulatedDevice device;
    device.attach(std::make_unique<vorix::sim::Device>(QStringList{}, o, clock.nowUs()));
    ui::scl().lstPort->addItems(
        {QStringLiteral("?????"), QStringLiteral("COM1"), QStringLiteral("COM2")});
    test::OpenPort(1, 57600);
    test::ShowConnection(1, 57600, QStringLiteral("Idle"));

    const QString image = home.filePath(QStringLiteral("Gorda_v2_50.frk"));
    QFile f(image);
    f.open(QIODevice::WriteOnly);
    f.write(vorix::sim::MakeFirmwareImage(QStringLiteral("2.50"), 60 * 1024));
    f.close();
    {
        QFile list(home.filePath(QStringLiteral("FileList.frl")));
        list.open(QIODevice::WriteOnly);
        list.write((image + QStringLiteral("\r\n")).toUtf8());
    }
    ui::LDR& l = ui::ldr();
    l.resize(640, 420);
    l.show();
    // Mid-load: a third of the image gone, CTS as the loader's page leaves it.
    bool grabbed = false;
    std::function<void()> watch = [&] {
        if (!grabbed && ui::App().FilePosition >= 20 * 1024) {
            grabbed = true;
            save(l, out + QStringLiteral("/ldr-loading.png"));
        } else if (!grabbed) {
            clock.scheduleIn(50'000, watch);
        }
    };
    clock.scheduleIn(50'000, watch);
    try {
        ui::LoadTheFiles(false);
    } catch (...) {
    }
    save(l, out + QStringLiteral("/ldr-done.png"));

    {
        QFile r(home.filePath(QStringLiteral("RestartLoader.txt")));
        r.open(QIODevice::WriteOnly);
        r.write("COM1,19200,57600,0\r\n");
    }
    ui::RS& rs = ui::rs();
    rs.Text1->setText(image);
    save(rs, out + QStringLiteral("/rs-restart.png"));
    rs.hide();

    ui::scl().txtCrntSpeed->setText(QStringLiteral("19200"));
    ui::EX& ex = ui::ex();
    save(ex, out + QStringLiteral("/ex-final-speed.png"));
    ex.hide();

    save(ui::dg(), out + QStringLiteral("/dg-warning.png"));
    ui::dg().hide();
    ui::ResetSession();
    platform::PortMap::instance().setPorts({});
    clock.clear();
    return grabbed ? 0 : 1;
}
