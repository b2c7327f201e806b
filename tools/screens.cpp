// Renders the screens of docs/screens: the main window connected to the emulator, the System
// Debugger with the device's own text, and the first-run window. Run it through
// tools/make-screens.sh, which starts it under a headless X server.

#include "ScreenShot.h"
#include "app/Globals.h"
#include "app/Main.h"
#include "common/SampleIni.h"
#include "config/INI.h"
#include "link/DBG.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <QTest>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

using namespace telvo;
using screens::save;
using screens::waitMs;

namespace {

// The sample Telvo.ini with `system` put in place of the [SYSTEM] lines of the same keys.
QByteArray sampleWith(const QStringList& system, bool prototype) {
    const QByteArray ini =
        test::IniWithSystem(test::ReadSampleIni(QStringLiteral(TELVO_SOURCE_DIR)), system);
    return prototype ? "PROTOTYPE\r\n" + ini : ini;
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString outDir =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screens");
    QDir().mkpath(outDir);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();
    const QString iniPath = home.filePath(QStringLiteral("Telvo.ini"));
    {
        QFile f(iniPath);
        f.open(QIODevice::WriteOnly);
        f.write(sampleWith({QStringLiteral("Auto Start = True"), QStringLiteral("Max Ports = 1"),
                            QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")},
                           false));
    }
    QProcess sim;
    sim.start(QStringLiteral(TELVO_BINARY_DIR "/bin/vorix-sim"),
              {QStringLiteral("--ini"), iniPath});
    sim.waitForStarted(5000);
    while (!sim.canReadLine() && sim.waitForReadyRead(5000)) {
    }
    qputenv("TELVO_PORTS", sim.readLine().trimmed());
    platform::PortMap::instance().loadFromEnvironment();

    // The developer's run, so that the debugger's button is there.
    ui::SetCommandLine(QStringLiteral("FRKdebugger"));
    ui::Main();
    ui::SCL& s = ui::scl();
    save(s, outDir + QStringLiteral("/scl-connected.png"));
    // A list setting's chooser open over the panels.
    for (ui::SettingLabel* l : s.lblSettingTop)
        if (l->accessibleName() == QLatin1String("Aspect Ratio")) {
            QTest::mousePress(l, Qt::LeftButton, {}, QPoint(20, 8));
            break;
        }
    save(s, outDir + QStringLiteral("/scl-chooser.png"));
    s.frmSelect->hide();
    // The beginner's window.
    ui::Config().UserLevel = 1;
    ui::SetUserLayout(1);
    save(s, outDir + QStringLiteral("/scl-beginner.png"));
    ui::Config().UserLevel = 0;
    ui::SetUserLayout(0);

    ui::DBG& d = ui::dbg();
    d.show();
    d.cmdDbgr->click();
    waitMs(1000);
    d.txtSend->setText(QStringLiteral("help"));
    d.cmdsend->click();
    waitMs(1000);
    d.txtSend->setText(QStringLiteral("ver"));
    save(d, outDir + QStringLiteral("/dbg-console.png"));
    d.cmdExit->click();
    sim.terminate();
    sim.waitForFinished(3000);

    ui::ResetSession();
    {
        QFile f(iniPath);
        f.open(QIODevice::WriteOnly | QIODevice::Truncate);
        f.write(sampleWith({QStringLiteral("Model ="), QStringLiteral("Current Firmware ="),
                            QStringLiteral("Max Ports = 4")},
                           true));
    }
    qputenv("TELVO_PORTS", "/dev/null,/nonexistent/b");
    platform::PortMap::instance().loadFromEnvironment();
    ui::INI& w = ui::ini();
    w.show();
    waitMs(2500);
    save(w, outDir + QStringLiteral("/ini-window.png"));
    return 0;
}
