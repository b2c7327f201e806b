// Renders the gamma tool's screens for docs/screens: the window with a computed table, the grid
// with an edited cell, and the chart of one colour and of all three. Run under a headless X
// server: xvfb-run -a build/bin/telvo_screens_gamma docs/screens

#include "ScreenShot.h"
#include "gamma/GMA.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

using namespace telvo;
using screens::save;
using screens::waitMs;

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screens");
    QDir().mkpath(out);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();

    ui::ShowGMA();
    ui::GMA& w = ui::gma();
    w.resize(1180, 780);
    waitMs(200);

    // Red 0.45, green 1.0, blue 2.2: three curves on one table.
    const std::pair<int, const char*> runs[] = {{1, "0.45"}, {2, "1.0"}, {3, "2.2"}};
    for (auto [option, g] : runs) {
        w.OptColor[size_t(option)]->setChecked(true);
        w.txtGamma->setText(QString::fromLatin1(g));
        w.cmdCompute_Click();
    }
    w.FG1_HeadClick(3);
    save(w, out + QStringLiteral("/gamma-window.png"));

    w.FG1->scrollTo(w.Grid().index(512, 1), QAbstractItemView::PositionAtTop);
    w.FG1->setCurrentIndex(w.Grid().index(515, 2));
    save(*w.Frame1, out + QStringLiteral("/gamma-grid.png"));

    w.FG1_HeadClick(2);
    save(*w.frmChart, out + QStringLiteral("/gamma-chart-green.png"));

    w.chkAllColors->setChecked(true);
    save(*w.frmChart, out + QStringLiteral("/gamma-chart-rgb.png"));
    ui::ResetGammaWindows();
    return 0;
}
