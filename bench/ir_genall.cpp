// Gen ALL of a table of 1,000 commands to a text file, driven through the IR window as a user's
// click drives it: CPU and wall time, and the ratio to one plain write of the same bytes. Then the
// time of one GenerateIR (the core alone) and of one pattern through the window.

#include "CpuTime.h"
#include "app/Globals.h"
#include "app/Tools.h"
#include "core/config/CommandRec.h"
#include "core/ir/GenIR.h"
#include "ir/IRG.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPlatform.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <sys/resource.h>

using namespace telvo;

namespace {

// 1,000 commands: 700 lists of three values, 200 ranges, 100 integer entries.
core::CommandTable table() {
    core::CommandTable t = core::EmptyCommandTable();
    for (int i = 0; i < 1000; ++i) {
        const QString code = QStringLiteral("%1").arg(i % 256, 2, 16, QLatin1Char('0')).toUpper();
        QString line = QStringLiteral("Command %1 = [1] %2 ; ").arg(i).arg(code);
        if (i % 10 < 7)
            line += QStringLiteral("(0)Off,(1)On,(12)Twelve ;");
        else if (i % 10 < 9)
            line += QStringLiteral("-50..50 ;");
        else
            line += QStringLiteral("INTEGER ; 0 to 250");
        core::ParseCommandLine(line, t, {});
    }
    return t;
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    QApplication app(argc, argv);
    auto& scripted = platform::InstallScriptedPlatform();
    platform::Clock::instance().setVirtual(true);
    ui::Config().Commands = table();
    ui::Config().LogToFile = false;
    ui::IRG& w = ui::irg();
    w.show();
    app.processEvents();

    const QString path = home.filePath(QStringLiteral("all.txt"));
    scripted.paths.push_back(path);
    QElapsedTimer wall;
    const double cpu0 = cpuSeconds();
    wall.start();
    w.cmdGenAll_Click();
    const double genWall = wall.nsecsElapsed() / 1e9;
    const double genCpu = cpuSeconds() - cpu0;

    QFile f(path);
    f.open(QIODevice::ReadOnly);
    const QByteArray bytes = f.readAll();
    f.close();
    const QString copy = home.filePath(QStringLiteral("copy.txt"));
    wall.restart();
    {
        QFile out(copy);
        out.open(QIODevice::WriteOnly | QIODevice::Truncate);
        out.write(bytes);
        out.close();
    }
    const double plain = wall.nsecsElapsed() / 1e9;
    const int patterns = int(bytes.count('\n') / 2);
    std::printf("Gen ALL, 1000 commands (%d patterns, %lld bytes): %.3f s CPU, %.3f s wall "
                "(goal: 1 s CPU)\n",
                patterns, static_cast<long long>(bytes.size()), genCpu, genWall);
    std::printf("  as a ratio of one plain write of the same bytes (%.6f s): %.0f\n", plain,
                genWall / plain);

    // One GenerateIR of the core: the worked example of a device command.
    core::ir::IRState s;
    s.Message = [](const QString&) {};
    s.Yield = [] {};
    core::ir::InitIR(s);
    const core::ir::IRInputs in{QStringLiteral("45"), QStringLiteral("69"), QStringLiteral("1"),
                                core::ir::ValueOption::Dec};
    const int n = 20000;
    QString out;
    wall.restart();
    for (int i = 0; i < n; ++i)
        core::ir::GenerateIR(s, core::ir::FormAbsolute, in, out);
    std::printf("GenerateIR (core, FormAbsolute): %.2f us\n", wall.nsecsElapsed() / 1e3 / n);

    // One pattern through the window, as a click in the value list makes it.
    const int m = 2000;
    w.txtFChex->setText(QStringLiteral("45"));
    w.txtFCdec->setText(QStringLiteral("69"));
    w.txtValue->setText(QStringLiteral("1"));
    ui::IRG::SetOption(w.optDec, true);
    wall.restart();
    for (int i = 0; i < m; ++i) {
        w.txtOutput->clear();
        w.ProduceIR();
    }
    std::printf("ProduceIR (window, one pattern): %.2f us\n", wall.nsecsElapsed() / 1e3 / m);
    ui::ResetSession();
    return 0;
}
