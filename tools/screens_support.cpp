// Renders the screens of the support and options windows under docs/screens: SUP with the
// update list of a small web server on the loopback interface, SUP with the overwrite question,
// SUP as shipped (the notice), and ADV. Run it under a headless X server:
//   xvfb-run -a -s "-screen 0 1280x1024x24" build/bin/telvo_screens_support docs/screens

#include "ScreenShot.h"
#include "common/LoopbackServer.h"

#include "app/Globals.h"
#include "app/Tools.h"
#include "options/ADV.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/doubles/ScriptedPriority.h"
#include "platform/doubles/ScriptedShell.h"
#include "platform/os/Priority.h"
#include "platform/os/Shell.h"
#include "settings/SCL.h"
#include "support/SUP.h"
#include "support/SupportState.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

using namespace telvo;
using screens::save;
using screens::waitMs;

namespace {} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString outDir =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screens");
    QDir().mkpath(outDir);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();
    platform::InstallScriptedShell();
    platform::ScriptedPriority& pri = platform::InstallScriptedPriority();
    pri.priorityClass = platform::NORMAL_PRIORITY_CLASS;

    test::LoopbackServer server;
    server.page(QStringLiteral("/update.txt"),
                "gorda_2_0_151,http://127.0.0.1/gorda_2_0_151.frk\r\n"
                "gorda_2_0_148,http://127.0.0.1/gorda_2_0_148.frk\r\n"
                "gorda_1_9_102,http://127.0.0.1/gorda_1_9_102.frk\r\n"
                "fenna_1_4_020,http://127.0.0.1/fenna_1_4_020.frk\r\n");
    ui::Config().UpdateUrl = server.url(QStringLiteral("/update.txt"));
    ui::Config().FirmwareDir = home.path() + QStringLiteral("/Firmware Files/");
    QDir().mkpath(ui::Config().FirmwareDir);
    ui::Config().WebSites = {
        core::NamedText{},
        {QStringLiteral("Telvo Home"), QStringLiteral("http://www.telvo.example/")},
        {QStringLiteral("User Forum"), QStringLiteral("http://forum.telvo.example/")},
        {QStringLiteral("Firmware Archive"), QStringLiteral("http://files.telvo.example/")}};
    ui::scl().DeviceModel->setText(QStringLiteral("Gorda"));
    ui::scl().txtCrntSpeed->setText(QStringLiteral("19200"));

    ui::SupportSettings().UpdateServiceOn = true;
    ui::ShowSUP();
    ui::sup().lstResponse->setCurrentRow(0);
    save(ui::sup(), outDir + QStringLiteral("/support-list.png"));
    ui::sup().Frame4->show();
    ui::sup().lblWWW->setText(QStringLiteral("Retrieving frk file 'gorda_2_0_151.frk'"));
    save(ui::sup(), outDir + QStringLiteral("/support-overwrite.png"));
    ui::sup().Frame4->hide();
    ui::sup().hide();

    ui::ResetSupportWindows();
    ui::SupportSettings().UpdateServiceOn = false;
    ui::ShowSUP();
    save(ui::sup(), outDir + QStringLiteral("/support-notice.png"));
    ui::sup().hide();

    ui::ShowADV();
    save(ui::adv(), outDir + QStringLiteral("/adv-options.png"));
    // The windows go before the application they belong to.
    ui::ResetSession();
    return 0;
}
