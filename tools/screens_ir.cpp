// Renders the IR window's screens of docs/screens (ir-*.png): a run with "Model = *Gorda", which
// shows the IR window alone, in each of its modes with output. Run it under a headless X server:
//   xvfb-run -a -s "-screen 0 1280x1024x24" build/bin/telvo_screens_ir docs/screens

#include "ScreenShot.h"
#include "app/Globals.h"
#include "app/Main.h"
#include "ir/IRG.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <functional>

using namespace telvo;
using screens::save;
using screens::waitMs;

namespace {

void select(QListWidget* list, const QString& text) {
    const auto items = list->findItems(text, Qt::MatchExactly);
    if (!items.isEmpty())
        list->setCurrentItem(items.first());
    waitMs(200);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString outDir =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screens");
    QDir().mkpath(outDir);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::ScriptedPlatform& scripted = platform::InstallScriptedPlatform();
    {
        QFile in(QStringLiteral(TELVO_SOURCE_DIR "/data/Telvo.ini"));
        in.open(QIODevice::ReadOnly);
        QByteArray text = in.readAll();
        text.replace("Model = Gorda", "Model = *Gorda");
        text.replace("Vorix Connected = True", ""); // a later "True" would undo the star
        QFile out(home.filePath(QStringLiteral("Telvo.ini")));
        out.open(QIODevice::WriteOnly);
        out.write(text);
    }
    ui::Main(); // NoDeviceMode: the IR window alone, the main window hidden
    ui::IRG& w = ui::irg();
    w.resize(760, w.sizeHint().height());
    waitMs(300);
    if (!ui::scl().isHidden())
        QTextStream(stderr) << "main window shown in NoDeviceMode" << Qt::endl;

    select(w.lstCmnds, QStringLiteral("Input"));
    select(w.lstValues, QStringLiteral("HDMI-1"));
    save(w, outDir + QStringLiteral("/ir-discrete.png"));

    select(w.lstCmnds, QStringLiteral("Brightness"));
    w.txtValue->setText(QStringLiteral("-12"));
    w.cmdGen_Click();
    save(w, outDir + QStringLiteral("/ir-discrete-range.png"));

    w.optRemote->setChecked(true); // runs its Click
    select(w.lstRemote, QStringLiteral("Power"));
    save(w, outDir + QStringLiteral("/ir-remote.png"));

    w.optManual->setChecked(true);
    w.txtFChex->setText(QStringLiteral("45"));
    w.txtFCdec->setText(QStringLiteral("69"));
    ui::IRG::SetOption(w.optDec, true);
    w.txtValue->setText(QStringLiteral("1"));
    w.ProduceIR();
    save(w, outDir + QStringLiteral("/ir-manual.png"));

    // Gen ALL under way: a title in the progress line, the bar counting the commands.
    scripted.paths.push_back(home.filePath(QStringLiteral("all.txt")));
    std::function<void()> shoot = [&] {
        if (w.prgGenAll->value() < 4) {
            QTimer::singleShot(0, &w, shoot);
            return;
        }
        w.frmIR->setUpdatesEnabled(true); // the walk paints at a frame rate only
        save(w, outDir + QStringLiteral("/ir-genall.png"));
        w.cmdCancelAll->click();
    };
    QTimer::singleShot(0, &w, shoot);
    w.cmdGenAll_Click();
    return 0;
}
