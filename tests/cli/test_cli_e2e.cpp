// telvo-cli as a program, against vorix-sim processes on pseudo-terminals: every command's
// output, every exit code, --json parsed back, prompts, --trace and several ports in one run.

#include "common/Fixture.h"

#include "CliFixture.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <QThread>
#include <csignal>
#include <functional>

using namespace telvo;
using namespace telvo::test;

namespace {

TEST_F(CliEndToEnd, InfoTellsTheDeviceAndItsJsonParsesBack) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult text = on(dev, {QStringLiteral("info")});
    ASSERT_EQ(text.exit, 0) << text.err.toStdString();
    EXPECT_EQ(
        text.lines(),
        (QStringList{
            QStringLiteral("Model:          Gorda"), QStringLiteral("Firmware:       1.24"),
            QStringLiteral("Options:        SDI"),
            QStringLiteral("Port:           COM1 (") + dev.path() + QLatin1Char(')'),
            QStringLiteral("Speed:          19200"), QStringLiteral("Original speed: 19200"),
            QStringLiteral("Transfer speed: 57600"), QStringLiteral("State:          Powered")}));
    const CliResult json = on(dev, {QStringLiteral("--json"), QStringLiteral("info")});
    ASSERT_EQ(json.exit, 0);
    const QList<QJsonObject> objects = json.objects();
    ASSERT_EQ(objects.size(), 1);
    const QJsonObject o = objects.first();
    EXPECT_EQ(o.value(QStringLiteral("command")).toString(), QStringLiteral("info"));
    EXPECT_EQ(o.value(QStringLiteral("port")).toString(), dev.path());
    EXPECT_EQ(o.value(QStringLiteral("model")).toString(), QStringLiteral("Gorda"));
    EXPECT_EQ(o.value(QStringLiteral("firmware")).toString(), QStringLiteral("1.24"));
    EXPECT_EQ(o.value(QStringLiteral("com")).toString(), QStringLiteral("COM1"));
    EXPECT_EQ(o.value(QStringLiteral("device")).toString(), dev.path());
    EXPECT_EQ(o.value(QStringLiteral("speed")), QJsonValue(19200));
    EXPECT_EQ(o.value(QStringLiteral("schema")), QJsonValue(1));
    EXPECT_EQ(o.value(QStringLiteral("state")).toString(), QStringLiteral("Powered"));
    // The connection as the start-up makes it: the power query first.
    EXPECT_EQ(hostFrames(dev).value(0), QStringLiteral("(STX)2003A1(NUL)(ETX)"));
}

TEST_F(CliEndToEnd, SetSendsThroughTheChooserAndPrintsWhatTheDeviceAnswers) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult r =
        on(dev, {QStringLiteral("set"), QStringLiteral("Red Gain=1.5"),
                 QStringLiteral("Noise Reduction=medium"), QStringLiteral("Audio Delay=120")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    EXPECT_EQ(r.lines(), (QStringList{QStringLiteral("Red Gain=1.50"),
                                      QStringLiteral("Noise Reduction=Medium"),
                                      QStringLiteral("Audio Delay=120")}));
    const QStringList sent = hostFrames(dev);
    EXPECT_TRUE(sent.contains(QStringLiteral("(STX)300867(NUL)1.50(NUL)(ETX)")));
    const CliResult g = on(dev, {QStringLiteral("--json"), QStringLiteral("get"),
                                 QStringLiteral("red gain"), QStringLiteral("Noise Reduction")});
    ASSERT_EQ(g.exit, 0);
    ASSERT_EQ(g.objects().size(), 2);
    EXPECT_EQ(g.objects().at(0).value(QStringLiteral("name")).toString(),
              QStringLiteral("Red Gain"));
    EXPECT_EQ(g.objects().at(0).value(QStringLiteral("value")), QJsonValue(1.5));
    EXPECT_EQ(g.objects().at(0).value(QStringLiteral("text")).toString(), QStringLiteral("1.50"));
    EXPECT_EQ(g.objects().at(1).value(QStringLiteral("value")).toString(),
              QStringLiteral("Medium"));
    // A list value by its number is the same choice.
    const CliResult n = on(dev, {QStringLiteral("set"), QStringLiteral("Input=3")});
    EXPECT_EQ(n.lines(), QStringList{QStringLiteral("Input=S-Vid-1")});
}

TEST_F(CliEndToEnd, RefusedValueIsExit1WithTheDevicesFailureText) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    // The command line refuses what its Telvo.ini excludes; one wider than the device's lets
    // the value reach the device, which refuses it.
    replaceIniLine("Brightness = [1] B1 ; -50..50 ;", "Brightness = [1] B1 ; -50..9999 ;");
    const CliResult r = on(dev, {QStringLiteral("set"), QStringLiteral("Brightness=9999")});
    EXPECT_EQ(r.exit, 1);
    EXPECT_EQ(QString::fromLocal8Bit(r.err).trimmed(),
              QStringLiteral("telvo-cli: ") + dev.path() +
                  QStringLiteral(": Brightness: Range Error. Attempt to modify a device setting "
                                 "with vlaue out of range"));
    // The label still shows what the device has.
    EXPECT_TRUE(r.out.isEmpty());
}

TEST_F(CliEndToEnd, UsageErrorsAreExit2) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult bad = cli({QStringLiteral("info"), QStringLiteral("--colour")});
    EXPECT_EQ(bad.exit, 2);
    EXPECT_TRUE(bad.err.startsWith("telvo-cli: unknown option --colour\nUsage: "));
    EXPECT_EQ(cli({QStringLiteral("fly")}).exit, 2);
    EXPECT_EQ(on(dev, {QStringLiteral("set"), QStringLiteral("Brightness")}).exit, 2);
    EXPECT_EQ(on(dev, {QStringLiteral("get"), QStringLiteral("Sharpness Level 9")}).exit, 2);
    EXPECT_EQ(on(dev, {QStringLiteral("diff")}).exit, 2);
    EXPECT_EQ(on(dev, {QStringLiteral("set"), QStringLiteral("Input=Video-9")}).exit, 2);
    // None of them reached the device but the two that name a setting after connecting.
    const CliResult help = cli({QStringLiteral("set"), QStringLiteral("--help")});
    EXPECT_EQ(help.exit, 0);
    EXPECT_TRUE(help.out.startsWith("NAME\n       telvo-cli set\n"));
}

TEST_F(CliEndToEnd, NoDeviceIsExit3) {
    const CliResult r = cli({QStringLiteral("--port"), emptyPort(), QStringLiteral("info")});
    EXPECT_EQ(r.exit, 3);
    EXPECT_TRUE(r.err.contains("no device found"));
    EXPECT_TRUE(r.out.isEmpty());
}

TEST_F(CliEndToEnd, FileThatCannotBeReadOrWrittenIsExit4) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult r = on(dev, {QStringLiteral("restore"), QStringLiteral("/nonexistent/s.txt")});
    EXPECT_EQ(r.exit, 4);
    EXPECT_TRUE(r.err.contains("could not read /nonexistent/s.txt"));
    EXPECT_EQ(on(dev, {QStringLiteral("diff"), QStringLiteral("/nonexistent/s.txt")}).exit, 4);
    // No Telvo.ini in the folder: nothing to go on.
    QFile::remove(homeFile(QStringLiteral("Telvo.ini")));
    EXPECT_EQ(on(dev, {QStringLiteral("info")}).exit, 4);
}

TEST_F(CliEndToEnd, PromptStopsTheJobWithItsTextUnlessYesAnswersIt) {
    writeIni({QStringLiteral("Confirm Operations = True")});
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult stopped = on(dev, {QStringLiteral("info")});
    EXPECT_EQ(stopped.exit, 5);
    EXPECT_EQ(QString::fromLocal8Bit(stopped.err).trimmed(),
              QStringLiteral("telvo-cli: ") + dev.path() +
                  QStringLiteral(": stopped at a prompt (give --yes to answer it): Confirm "
                                 "Operation: The Gorda will be checked to be on port COM1 @ "
                                 "19200 Baud"));
    EXPECT_TRUE(stopped.out.isEmpty());
    // Stopped before anything went out.
    EXPECT_TRUE(dev.frames().isEmpty());
    const CliResult yes = on(dev, {QStringLiteral("--yes"), QStringLiteral("info")});
    EXPECT_EQ(yes.exit, 0) << yes.err.toStdString();
    EXPECT_TRUE(yes.err.contains("Confirm Operation: Gorda Found on COM1"));
    EXPECT_EQ(yes.lines().value(0), QStringLiteral("Model:          Gorda"));
}

TEST_F(CliEndToEnd, TwoDevicesOnTwoPortsInOneRunAndTheWorstExitCode) {
    SimProcess& a = sim(QStringLiteral("a"));
    SimProcess& b = sim(QStringLiteral("b"));
    ASSERT_TRUE(a.running() && b.running());
    const QString none = emptyPort();
    // One after another, so that the objects come in the order of the ports.
    const CliResult r = cli({QStringLiteral("--json"), QStringLiteral("--jobs"),
                             QStringLiteral("1"), QStringLiteral("--port"), a.path(),
                             QStringLiteral("--port"), none, QStringLiteral("--port"), b.path(),
                             QStringLiteral("set"), QStringLiteral("Audio Delay=40")});
    EXPECT_EQ(r.exit, 3);
    const QList<QJsonObject> o = r.objects();
    ASSERT_EQ(o.size(), 3);
    EXPECT_EQ(o.at(0).value(QStringLiteral("port")).toString(), a.path());
    EXPECT_EQ(o.at(0).value(QStringLiteral("value")), QJsonValue(40));
    EXPECT_EQ(o.at(1).value(QStringLiteral("port")).toString(), none);
    EXPECT_EQ(o.at(1).value(QStringLiteral("exit")).toInt(), 3);
    EXPECT_EQ(o.at(2).value(QStringLiteral("port")).toString(), b.path());
    EXPECT_EQ(o.at(2).value(QStringLiteral("value")), QJsonValue(40));
    for (SimProcess* dev : {&a, &b})
        EXPECT_TRUE(hostFrames(*dev).contains(QStringLiteral("(STX)30066E(NUL)40(NUL)(ETX)")));
    // In text each line names its port (at once, in the order they come).
    const CliResult t = cli({QStringLiteral("--port"), a.path(), QStringLiteral("--port"), b.path(),
                             QStringLiteral("get"), QStringLiteral("Audio Delay")});
    EXPECT_EQ(t.exit, 0);
    QStringList got = t.lines();
    QStringList expected{a.path() + QStringLiteral(": Audio Delay=40"),
                         b.path() + QStringLiteral(": Audio Delay=40")};
    got.sort();
    expected.sort();
    EXPECT_EQ(got, expected);
}

TEST_F(CliEndToEnd, TraceCopiesTheLogLinesAndQuietKeepsRemarksOff) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString trace = homeFile(QStringLiteral("trace.txt"));
    const CliResult r = on(
        dev, {QStringLiteral("--trace"), trace, QStringLiteral("--quiet"), QStringLiteral("save")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    QFile f(trace);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), readFile(portFile(dev, QStringLiteral("LogFile.txt"))));
    EXPECT_TRUE(readFile(portFile(dev, QStringLiteral("LogFile.txt")))
                    .contains("Gorda Found on COM1 Operating @ 19200 baud"));
    // The breakpoint at the end of the save is a remark: --quiet keeps it off.
    EXPECT_FALSE(r.err.contains("All settings have been saved"));
}

TEST_F(CliEndToEnd, SaveDiffAndRestoreRoundTrip) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString file = homeFile(QStringLiteral("rack-7.txt"));
    const CliResult saved = on(dev, {QStringLiteral("save"), file});
    ASSERT_EQ(saved.exit, 0) << saved.err.toStdString();
    EXPECT_EQ(saved.lines(), QStringList{QStringLiteral("Saved the settings to ") + file});
    // The folders' own Settings.txt were not touched by a save elsewhere.
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Settings.txt"))));
    EXPECT_FALSE(QFile::exists(portFile(dev, QStringLiteral("Settings.txt"))));
    const QByteArray bytes = readHomeFile(QStringLiteral("rack-7.txt"));
    EXPECT_TRUE(bytes.contains("SetState=Input Video 1,4C1; SetParameter=Brightness, B10\r\n"));
    const CliResult same = on(dev, {QStringLiteral("diff"), file});
    EXPECT_EQ(same.exit, 0);
    EXPECT_EQ(same.lines(), QStringList{QStringLiteral("no setting differs")});
    ASSERT_EQ(on(dev, {QStringLiteral("set"), QStringLiteral("Brightness=33")}).exit, 0);
    const CliResult diff = on(dev, {QStringLiteral("--json"), QStringLiteral("diff"), file});
    ASSERT_EQ(diff.exit, 6);
    ASSERT_EQ(diff.objects().size(), 1);
    const QJsonObject d = diff.objects().first();
    EXPECT_EQ(d.value(QStringLiteral("setting")).toString(), QStringLiteral("Brightness"));
    EXPECT_EQ(d.value(QStringLiteral("state")).toString(), QStringLiteral("Input Video 1"));
    EXPECT_EQ(d.value(QStringLiteral("file")), QJsonValue(0));
    EXPECT_EQ(d.value(QStringLiteral("device")), QJsonValue(33));
    EXPECT_EQ(d.value(QStringLiteral("fileCode")).toString(), QStringLiteral("B10"));
    EXPECT_EQ(d.value(QStringLiteral("deviceCode")).toString(), QStringLiteral("B133"));
    const CliResult text = on(dev, {QStringLiteral("diff"), file});
    EXPECT_EQ(text.exit, 6);
    EXPECT_EQ(text.lines(),
              QStringList{QStringLiteral("Input Video 1 / Brightness: file 0, device 33")});
    const CliResult restored = on(dev, {QStringLiteral("restore"), file});
    ASSERT_EQ(restored.exit, 0) << restored.err.toStdString();
    EXPECT_EQ(on(dev, {QStringLiteral("diff"), file}).exit, 0);
    EXPECT_EQ(on(dev, {QStringLiteral("get"), QStringLiteral("Brightness")}).lines(),
              QStringList{QStringLiteral("Brightness=0")});
}

TEST_F(CliEndToEnd, PortsListsWhatOpensAndProbeFindsTheDevice) {
    SimProcess& dev =
        sim(QStringLiteral("dev"), {QStringLiteral("--baud"), QStringLiteral("38400")});
    ASSERT_TRUE(dev.running());
    const QString none = emptyPort();
    const CliResult r =
        cli({QStringLiteral("--json"), QStringLiteral("--port"), dev.path(),
             QStringLiteral("--port"), none, QStringLiteral("ports"), QStringLiteral("--probe")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    QList<QJsonObject> o = r.objects();
    ASSERT_EQ(o.size(), 2);
    // The two ports are asked at once: the device's object first here.
    if (o.at(0).value(QStringLiteral("device")).toString() != dev.path())
        o.swapItemsAt(0, 1);
    EXPECT_EQ(o.at(0).value(QStringLiteral("device")).toString(), dev.path());
    EXPECT_TRUE(o.at(0).value(QStringLiteral("answers")).toBool());
    EXPECT_EQ(o.at(0).value(QStringLiteral("rate")).toInt(), 38400);
    EXPECT_EQ(o.at(1).value(QStringLiteral("device")).toString(), none);
    EXPECT_FALSE(o.at(1).value(QStringLiteral("answers")).toBool());
    EXPECT_EQ(
        cli({QStringLiteral("--port"), QStringLiteral("/nonexistent/tty"), QStringLiteral("ports")})
            .exit,
        3);
}

} // namespace

namespace {

TEST_F(CliEndToEnd, IrCodeOfACommandValueAndOfARemoteKey) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult list = on(dev, {QStringLiteral("--json"), QStringLiteral("ir"),
                                    QStringLiteral("code"), QStringLiteral("Noise Reduction"),
                                    QStringLiteral("--value"), QStringLiteral("medium")});
    ASSERT_EQ(list.exit, 0) << list.err.toStdString();
    ASSERT_EQ(list.objects().size(), 1);
    const QString pronto = list.objects().first().value(QStringLiteral("pronto")).toString();
    EXPECT_TRUE(pronto.startsWith(QStringLiteral("0000 006C "))) << pronto.toStdString();
    // The same value by its number gives the same pattern.
    const CliResult number =
        on(dev, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("Noise Reduction"),
                 QStringLiteral("--value"), QStringLiteral("2")});
    EXPECT_EQ(number.lines(), QStringList{pronto});
    const CliResult range =
        on(dev, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("Brightness"),
                 QStringLiteral("--value"), QStringLiteral("12")});
    ASSERT_EQ(range.exit, 0) << range.err.toStdString();
    EXPECT_EQ(range.lines().size(), 1);
    EXPECT_NE(range.lines().value(0), pronto);
    const CliResult key = on(dev, {QStringLiteral("ir"), QStringLiteral("code"),
                                   QStringLiteral("--key"), QStringLiteral("Menu")});
    ASSERT_EQ(key.exit, 0) << key.err.toStdString();
    EXPECT_TRUE(key.lines().value(0).startsWith(QStringLiteral("0000 006C ")));
    EXPECT_EQ(on(dev, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("Warp")}).exit,
              2);
    EXPECT_EQ(
        on(dev, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("Noise Reduction"),
                 QStringLiteral("--value"), QStringLiteral("Extreme")})
            .exit,
        2);
    EXPECT_EQ(on(dev, {QStringLiteral("ir"), QStringLiteral("fly")}).exit, 2);
    EXPECT_EQ(on(dev, {QStringLiteral("ir"), QStringLiteral("gen-all"),
                       QStringLiteral("/nonexistent/all.txt")})
                  .exit,
              4);
}

TEST_F(CliEndToEnd, ConsoleSendsEachLineAndShowsTheDebuggersAnswers) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    QProcess p;
    StartCli(p, home(), {QStringLiteral("--port"), dev.path(), QStringLiteral("console")});
    p.write("ver\nmodel\n");
    p.closeWriteChannel();
    const CliResult r = Finish(p);
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.startsWith("Vorix debugger, firmware 1.24\r\n>")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains(">ver\r\n1.24\r\n>")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains(">model\r\nVorix Gorda\r\n>")) << r.out.toStdString();
    // Opened with "debug" and closed again, as the window's ON and Exit do.
    EXPECT_TRUE(dev.traceHas(QStringLiteral("debugger on")));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("debugger off")));
    EXPECT_EQ(on(dev, {QStringLiteral("console"), QStringLiteral("now")}).exit, 2);
}

TEST_F(CliEndToEnd, GammaMakeAndExportWriteTheToolsFiles) {
    const QString gma = homeFile(QStringLiteral("tv.gma"));
    const CliResult made =
        cli({QStringLiteral("gamma"), QStringLiteral("make"), QStringLiteral("--source"),
             QStringLiteral("0.45"), QStringLiteral("--scalar"), QStringLiteral("2.2"), gma});
    ASSERT_EQ(made.exit, 0) << made.err.toStdString();
    EXPECT_EQ(made.lines(),
              QStringList{QStringLiteral("Wrote ") + gma + QStringLiteral(" (gamma 2.2)")});
    const QByteArray bytes = readHomeFile(QStringLiteral("tv.gma"));
    EXPECT_TRUE(bytes.startsWith("Scalar Gamma=2.2\r\n")) << bytes.left(80).toStdString();
    EXPECT_TRUE(bytes.contains("UseRefData=0"));
    const QString cube = homeFile(QStringLiteral("tv.cube"));
    const CliResult exported = cli(
        {QStringLiteral("--json"), QStringLiteral("gamma"), QStringLiteral("export"), gma, cube});
    ASSERT_EQ(exported.exit, 0) << exported.err.toStdString();
    EXPECT_EQ(exported.objects().value(0).value(QStringLiteral("file")).toString(), cube);
    const QByteArray lut = readHomeFile(QStringLiteral("tv.cube"));
    EXPECT_TRUE(lut.startsWith("TITLE \"tv\"\nLUT_1D_SIZE 1024\n")) << lut.left(80).toStdString();
    EXPECT_EQ(lut.count('\n'), 4 + 1024);
    EXPECT_EQ(cli({QStringLiteral("gamma"), QStringLiteral("export"), gma,
                   homeFile(QStringLiteral("tv.cal"))})
                  .exit,
              0);
    EXPECT_TRUE(readHomeFile(QStringLiteral("tv.cal")).startsWith("CAL\n"));
    // A reference file of formulas.
    writeHomeFile(QStringLiteral("lcd.txt"),
                  "FunctionRED=X^2.2\r\nFunctionGreen=CopyRed\r\nFunctionBlue=CopyRed\r\n");
    const CliResult ref =
        cli({QStringLiteral("gamma"), QStringLiteral("make"), QStringLiteral("--source"),
             QStringLiteral("0.45"), QStringLiteral("--scalar"), QStringLiteral("1.0"),
             QStringLiteral("--reference"), homeFile(QStringLiteral("lcd.txt")),
             homeFile(QStringLiteral("lcd.gma"))});
    ASSERT_EQ(ref.exit, 0) << ref.err.toStdString();
    EXPECT_TRUE(readHomeFile(QStringLiteral("lcd.gma")).contains("UseRefData=1"));
    EXPECT_EQ(cli({QStringLiteral("gamma"), QStringLiteral("make"), gma}).exit, 2);
    EXPECT_EQ(cli({QStringLiteral("gamma"), QStringLiteral("export"), gma,
                   homeFile(QStringLiteral("x.png"))})
                  .exit,
              2);
    EXPECT_EQ(cli({QStringLiteral("gamma"), QStringLiteral("export"),
                   homeFile(QStringLiteral("none.gma")), cube})
                  .exit,
              4);
}

using CliLoad = CliEndToEnd;

TEST_F(CliLoad, ImageLoadsAndTheDeviceRunsIt) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.81"), 8000);
    const CliResult r = on(dev, {QStringLiteral("--json"), QStringLiteral("load"), file});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    ASSERT_EQ(r.objects().size(), 1);
    EXPECT_EQ(r.objects().first().value(QStringLiteral("firmware")).toString(),
              QStringLiteral("2.81"));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.81")));
    EXPECT_FALSE(QFile::exists(portFile(dev, QStringLiteral("RestartLoader.txt"))));
    // Standard error is no terminal here: lines, no bar redrawn in place.
    EXPECT_FALSE(r.err.contains('\r'));
}

TEST_F(CliLoad, ListLoadsEachImageInTurn) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString a = image(QStringLiteral("a.frk"), QStringLiteral("2.91"), 4000);
    const QString b = image(QStringLiteral("b.frk"), QStringLiteral("2.92"), 4000);
    writeHomeFile(QStringLiteral("two.frl"),
                  (a + QStringLiteral("\r\n") + b + QStringLiteral("\r\n")).toUtf8());
    const CliResult r = on(dev, {QStringLiteral("load"), homeFile(QStringLiteral("two.frl"))});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.91")));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.92")));
    EXPECT_EQ(r.lines().value(0).section(QStringLiteral("; "), 1),
              QStringLiteral("the firmware is now 2.92"));
}

TEST_F(CliLoad, UsageAndFiles) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.81"), 4000);
    EXPECT_EQ(on(dev, {QStringLiteral("load"), file, QStringLiteral("--save-settings"),
                       QStringLiteral("--restore-defaults")})
                  .exit,
              2);
    EXPECT_EQ(on(dev, {QStringLiteral("load")}).exit, 2);
    EXPECT_EQ(on(dev, {QStringLiteral("load"), QStringLiteral("--resume"), file}).exit, 2);
    EXPECT_EQ(on(dev, {QStringLiteral("load"), homeFile(QStringLiteral("none.frk"))}).exit, 4);
    // Nothing was cut off: nothing to resume.
    const CliResult r = on(dev, {QStringLiteral("load"), QStringLiteral("--resume")});
    EXPECT_EQ(r.exit, 4);
    EXPECT_TRUE(r.err.contains("there is no cut-off load to resume"));
    EXPECT_TRUE(dev.frames().isEmpty());
}

TEST_F(CliLoad, CtrlCMidLoadKeepsTheRestartFileAndResumeFinishesTheLoad) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.80"), 32000);
    QProcess p;
    // Interrupted once the device sits in its boot loader with the load under way.
    ASSERT_TRUE(startLoadIntoLoader(p, dev, file));
    ::kill(pid_t(p.processId()), SIGINT);
    const CliResult cut = Finish(p);
    EXPECT_EQ(cut.exit, 130);
    // The last line, after the load's stage lines.
    EXPECT_EQ(QString::fromLocal8Bit(cut.err).trimmed().section(QLatin1Char('\n'), -1),
              QStringLiteral("telvo-cli: ") + dev.path() +
                  QStringLiteral(": interrupted; RestartLoader.txt is kept: run \"telvo-cli "
                                 "--home ") +
                  home() + QStringLiteral(" --port ") + dev.path() +
                  QStringLiteral(" load --resume\" to finish the load"));
    EXPECT_EQ(readFile(portFile(dev, QStringLiteral("RestartLoader.txt"))),
              QByteArray("COM1,19200,57600,0\r\n"));
    EXPECT_FALSE(dev.traceHas(QStringLiteral("Verify OK")));

    const CliResult resumed = on(dev, {QStringLiteral("load"), QStringLiteral("--resume")});
    ASSERT_EQ(resumed.exit, 0) << resumed.err.toStdString();
    EXPECT_EQ(resumed.lines(),
              QStringList{QStringLiteral("Loaded the cut-off load; the firmware is now 2.80")});
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.80")));
    EXPECT_FALSE(QFile::exists(portFile(dev, QStringLiteral("RestartLoader.txt"))));
}

} // namespace
