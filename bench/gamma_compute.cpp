// The gamma tool's tables: one full table (1024 rows, three colours) from a gamma value, one from
// a reference file of formulas (read, evaluated, corrected), and the window's Compute with its
// grid, yields and chart. Times in milliseconds, median and best of the runs; goal 50 ms each.

#include "core/gamma/Gamma.h"
#include "core/gamma/GammaFiles.h"
#include "gamma/GMA.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace telvo;

namespace {

void report(const char* what, int runs, const std::function<void()>& fn) {
    std::vector<double> ms;
    fn(); // warm-up
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        fn();
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    const double median = ms[ms.size() / 2];
    std::printf("%-46s median %8.3f ms  best %8.3f ms  (goal 50 ms: %s)\n", what, median,
                ms.front(), median <= 50.0 ? "met" : "MISSED");
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();

    volatile int sink = 0;
    report("table from gamma 2.2 (1024 x 3)", 50, [&] {
        core::GammaCells cells;
        core::ComputeTable(core::Exponent{false, 2.2}, core::EmptyRefData(), 0, 0.45, cells);
        sink = sink + int(cells.at(512, 1).size());
    });

    const QString path = home.filePath(QStringLiteral("display.txt"));
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly))
            return 1;
        f.write("' a measured display\r\n"
                "FunctionRED=X^2.2 ' red\r\n"
                "FunctionGreen=X^(2.2+0.2)\r\n"
                "FunctionBlue=(X^1.8)*(X^0.4) ' blue\r\n");
    }
    report("table from a reference file of formulas", 50, [&] {
        core::Reference ref;
        core::ReadReferenceLines(core::ReadTextFileLines(path), ref);
        core::ApplyReference(ref);
        core::GammaCells cells;
        for (int option = 1; option <= 3; ++option)
            core::ComputeTable(core::Exponent{true, 0}, ref.DSPrefData, option, 0.45, cells);
        sink = sink + int(cells.at(512, 2).size());
    });

    ui::GMA& w = ui::gma();
    w.resize(1100, 760);
    w.show();
    w.txtGamma->setText(QStringLiteral("2.2"));
    report("window Compute: grid, a yield a row, chart", 20, [&] { w.cmdCompute_Click(); });
    ui::ResetGammaWindows();
    return sink < 0;
}
