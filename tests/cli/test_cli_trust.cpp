// What a script may trust of telvo-cli, each against vorix-sim: a read leaves the device as it
// was (the emulator's frames prove it), each device and job keeps its own files, a refused file
// or a refused setting is an exit code of its own, a failed connection says why, a load cannot
// strand the device, and SIGTERM / SIGHUP end a job as Ctrl-C does.

#include "CliFixture.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QLockFile>
#include <QSerialPort>
#include <QTcpServer>
#include <csignal>
#include <unistd.h>

using namespace telvo;
using namespace telvo::test;

namespace {

class CliTrust : public CliEndToEnd {
protected:
    // The frames the program sent that set something ("30" packets).
    QStringList setFrames(SimProcess& dev) {
        QStringList out;
        for (const QString& f : hostFrames(dev))
            if (f.startsWith(QLatin1String("(STX)30")))
                out << f;
        return out;
    }
    QString text(const QByteArray& bytes) { return QString::fromLocal8Bit(bytes); }
};

// 1. Reads change the device.
// Pins a departure (docs/ARCHITECTURE.md): the command line puts back exactly what it read,
// where the main window puts back its view.
TEST_F(CliTrust, ReadsLeaveTheSelectorsAndTheFoundInputsValuesAsFound) {
    // Input S-Vid-1 on preset Game with a brightness of its own, the digital output on profile 4.
    SimProcess& dev = sim(QStringLiteral("dev"), {QStringLiteral("--settings"),
                                                  QStringLiteral("4C=3,E1=2,B1=17,60=2,E0=3")});
    ASSERT_TRUE(dev.running());
    const QStringList found{QStringLiteral("Brightness=17"), QStringLiteral("Input=S-Vid-1"),
                            QStringLiteral("Output Type=Digital"), QStringLiteral("Preset=Game"),
                            QStringLiteral("Profile=Profile 4")};
    const QStringList ask{QStringLiteral("get"),    QStringLiteral("Brightness"),
                          QStringLiteral("Input"),  QStringLiteral("Output Type"),
                          QStringLiteral("Preset"), QStringLiteral("Profile")};
    ASSERT_EQ(on(dev, ask).lines(), found);
    ASSERT_EQ(on(dev, {QStringLiteral("info")}).exit, 0);
    // Neither info nor get sets anything.
    EXPECT_EQ(setFrames(dev), QStringList());
    const QString file = homeFile(QStringLiteral("rack.txt"));
    for (int run = 0; run < 2; ++run) {
        const CliResult saved = on(dev, {QStringLiteral("save"), file});
        ASSERT_EQ(saved.exit, 0) << saved.err.toStdString();
        EXPECT_EQ(on(dev, ask).lines(), found) << "after save " << run;
    }
    ASSERT_EQ(on(dev, {QStringLiteral("diff"), file}).exit, 0);
    EXPECT_EQ(on(dev, ask).lines(), found);
    // The last set of each selector is the value found.
    const QStringList sets = setFrames(dev);
    const auto lastSet = [&sets](const QString& code) {
        for (qsizetype i = sets.size() - 1; i >= 0; --i)
            if (sets.at(i).mid(9, 2) == code)
                return sets.at(i);
        return QString();
    };
    EXPECT_EQ(lastSet(QStringLiteral("E1")), QStringLiteral("(STX)3005E1(NUL)2(NUL)(ETX)"));
    EXPECT_EQ(lastSet(QStringLiteral("E0")), QStringLiteral("(STX)3005E0(NUL)3(NUL)(ETX)"));
    EXPECT_EQ(lastSet(QStringLiteral("60")), QStringLiteral("(STX)300560(NUL)2(NUL)(ETX)"));
    EXPECT_EQ(lastSet(QStringLiteral("4C")), QStringLiteral("(STX)30054C(NUL)3(NUL)(ETX)"));
}

TEST_F(CliTrust, ADeviceInStandbyIsPoweredOnlyWithPowerOn) {
    SimProcess& dev =
        sim(QStringLiteral("dev"),
            {QStringLiteral("--standby"), QStringLiteral("--power-up-after"), QStringLiteral("1")});
    ASSERT_TRUE(dev.running());
    const CliResult r = on(dev, {QStringLiteral("info")});
    EXPECT_EQ(r.exit, 3);
    EXPECT_TRUE(r.err.contains("standby")) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(setFrames(dev), QStringList());
    const CliResult on2 = on(dev, {QStringLiteral("--power-on"), QStringLiteral("info")});
    ASSERT_EQ(on2.exit, 0) << on2.err.toStdString();
    EXPECT_EQ(on2.lines().value(7), QStringLiteral("State:          Powered"));
    EXPECT_TRUE(setFrames(dev).contains(QStringLiteral("(STX)3005A1(NUL)1(NUL)(ETX)")));
}

// Pins a departure (docs/ARCHITECTURE.md): the command line gives up a speed query the windows
// would repeat for ever. A device that stays at its rate, silent, when told to change it (in the
// soak: power cycles, then a silence fault on the change) is asked its speed at the new rate;
// the job ends after 60 s with exit 3 and its cause, and nothing of the load was sent.
TEST_F(CliTrust, AJobWhoseDeviceStopsAnsweringAfterASpeedChangeEndsWithItsCause) {
    SimProcess& dev = sim(QStringLiteral("dev"), {QStringLiteral("--deaf-to-speed")});
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.80"), 4000);
    const CliResult r = on(dev, {QStringLiteral("--yes"), QStringLiteral("load"), file});
    EXPECT_EQ(r.exit, 3) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(": the device stopped answering: no answer at 57600 baud for 60 s "
                               "after a speed change (it may have restarted at another speed); "
                               "run the job again"))
        << r.err.toStdString();
    const QByteArray log = readFile(portFile(dev, QStringLiteral("LogFile.txt")));
    EXPECT_GE(log.count("Timeout on Speed query command"), 10) << log.right(2000).toStdString();
    EXPECT_FALSE(dev.traceHas(QStringLiteral("boot loader at")));
    EXPECT_FALSE(QFile::exists(portFile(dev, QStringLiteral("RestartLoader.txt"))));
}

// 2. Files mix between devices.
TEST_F(CliTrust, TwoSavesAtOnceEachWriteTheirOwnDevice) {
    SimProcess& a =
        sim(QStringLiteral("a"), {QStringLiteral("--settings"), QStringLiteral("D1=30")});
    SimProcess& b =
        sim(QStringLiteral("b"), {QStringLiteral("--settings"), QStringLiteral("D1=90")});
    ASSERT_TRUE(a.running() && b.running());
    // A stale Settings.txt in the program's folder must end up in neither file.
    writeHomeFile(QStringLiteral("Settings.txt"), "SetParameter=OSD Timeout, D155\r\n");
    QProcess pa, pb;
    StartCli(pa, home(),
             {QStringLiteral("--port"), a.path(), QStringLiteral("save"),
              homeFile(QStringLiteral("a1.txt"))});
    StartCli(pb, home(),
             {QStringLiteral("--port"), b.path(), QStringLiteral("save"),
              homeFile(QStringLiteral("b1.txt"))});
    const CliResult ra = Finish(pa), rb = Finish(pb);
    ASSERT_EQ(ra.exit, 0) << ra.err.toStdString();
    ASSERT_EQ(rb.exit, 0) << rb.err.toStdString();
    EXPECT_TRUE(
        readHomeFile(QStringLiteral("a1.txt")).contains("SetParameter=OSD Timeout, D130\r\n"));
    EXPECT_TRUE(
        readHomeFile(QStringLiteral("b1.txt")).contains("SetParameter=OSD Timeout, D190\r\n"));
    EXPECT_EQ(readHomeFile(QStringLiteral("Settings.txt")),
              QByteArray("SetParameter=OSD Timeout, D155\r\n"));
    // Each port kept its log apart, the program's folder none.
    EXPECT_TRUE(readFile(portFile(a, QStringLiteral("LogFile.txt"))).contains(a.path().toUtf8()));
    EXPECT_TRUE(readFile(portFile(b, QStringLiteral("LogFile.txt"))).contains(b.path().toUtf8()));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("LogFile.txt"))));
}

TEST_F(CliTrust, SeveralPortsSaveToAFileEachOrNotAtAll) {
    SimProcess& a =
        sim(QStringLiteral("a"), {QStringLiteral("--settings"), QStringLiteral("D1=30")});
    SimProcess& b =
        sim(QStringLiteral("b"), {QStringLiteral("--settings"), QStringLiteral("D1=90")});
    ASSERT_TRUE(a.running() && b.running());
    const QStringList ports{QStringLiteral("--port"), a.path(), QStringLiteral("--port"), b.path()};
    const CliResult plain =
        cli(ports + QStringList{QStringLiteral("save"), homeFile(QStringLiteral("s.txt"))});
    EXPECT_EQ(plain.exit, 2);
    EXPECT_TRUE(plain.err.contains("{n} or {port}")) << plain.err.toStdString();
    EXPECT_TRUE(hostFrames(a).isEmpty());
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("s.txt"))));
    const CliResult each =
        cli(ports + QStringList{QStringLiteral("save"), homeFile(QStringLiteral("rack-{n}.txt"))});
    ASSERT_EQ(each.exit, 0) << each.err.toStdString();
    EXPECT_TRUE(
        readHomeFile(QStringLiteral("rack-1.txt")).contains("SetParameter=OSD Timeout, D130\r\n"));
    EXPECT_TRUE(
        readHomeFile(QStringLiteral("rack-2.txt")).contains("SetParameter=OSD Timeout, D190\r\n"));
    // Without a file, each port's own Settings.txt.
    ASSERT_EQ(cli(ports + QStringList{QStringLiteral("save")}).exit, 0);
    EXPECT_TRUE(readFile(portFile(a, QStringLiteral("Settings.txt"))).contains("D130\r\n"));
    EXPECT_TRUE(readFile(portFile(b, QStringLiteral("Settings.txt"))).contains("D190\r\n"));
}

TEST_F(CliTrust, SigtermMidRestoreLeavesEverySettingsFileAsItWas) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString rack = homeFile(QStringLiteral("rack-7.txt"));
    ASSERT_EQ(on(dev, {QStringLiteral("save"), rack}).exit, 0);
    const QByteArray own = "SetParameter=OSD Timeout, D155\r\n";
    writeHomeFile(QStringLiteral("Settings.txt"), own);
    QFile port(portFile(dev, QStringLiteral("Settings.txt")));
    ASSERT_TRUE(port.open(QIODevice::WriteOnly));
    port.write(own);
    port.close();
    const qsizetype before = hostFrames(dev).size();
    QProcess p;
    StartCli(p, home(), {QStringLiteral("--port"), dev.path(), QStringLiteral("restore"), rack});
    // Terminated once the restore has begun setting.
    ASSERT_TRUE(waitFor([&] {
        const QStringList f = hostFrames(dev);
        for (qsizetype i = before; i < f.size(); ++i)
            if (f.at(i).startsWith(QLatin1String("(STX)30")) &&
                f.at(i).mid(9, 2) == QLatin1String("B1"))
                return true;
        return false;
    }));
    ::kill(pid_t(p.processId()), SIGTERM);
    const CliResult r = Finish(p);
    EXPECT_EQ(r.exit, 143);
    EXPECT_EQ(text(r.err).trimmed().split(QLatin1Char('\n')).last(),
              QStringLiteral("telvo-cli: ") + dev.path() +
                  QStringLiteral(": terminated (SIGTERM)"));
    EXPECT_EQ(readHomeFile(QStringLiteral("Settings.txt")), own);
    EXPECT_EQ(readFile(portFile(dev, QStringLiteral("Settings.txt"))), own);
}

TEST_F(CliTrust, EachRunKeepsThePreviousRunsLog) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    ASSERT_EQ(on(dev, {QStringLiteral("get"), QStringLiteral("Brightness")}).exit, 0);
    const QByteArray first = readFile(portFile(dev, QStringLiteral("LogFile.txt")));
    ASSERT_FALSE(first.isEmpty());
    ASSERT_EQ(on(dev, {QStringLiteral("info")}).exit, 0);
    EXPECT_EQ(readFile(portFile(dev, QStringLiteral("LogFile.1.txt"))), first);
    EXPECT_NE(readFile(portFile(dev, QStringLiteral("LogFile.txt"))), first);
}

TEST_F(CliTrust, ASecondJobOnAPortSaysWhichJobHasIt) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    // The test holds the port's lock as another job would.
    ASSERT_TRUE(QDir().mkpath(QFileInfo(portFile(dev, QStringLiteral("x"))).absolutePath()));
    QLockFile lock(portFile(dev, QStringLiteral("telvo-cli.lock")));
    ASSERT_TRUE(lock.tryLock(0));
    const QString holder =
        QStringLiteral("in use by job %1").arg(QCoreApplication::applicationPid());
    const CliResult refused = on(dev, {QStringLiteral("--no-wait"), QStringLiteral("info")});
    EXPECT_EQ(refused.exit, 7);
    EXPECT_TRUE(refused.err.contains(holder.toUtf8())) << refused.err.toStdString();
    EXPECT_TRUE(dev.frames().isEmpty());
    // Without --no-wait it waits its turn, saying for whom, and runs once the lock is free.
    QProcess p;
    StartCli(p, home(), {QStringLiteral("--port"), dev.path(), QStringLiteral("info")});
    QByteArray err;
    ASSERT_TRUE(waitFor([&] {
        p.waitForReadyRead(50);
        err += p.readAllStandardError();
        return err.contains("waiting for job");
    }));
    EXPECT_TRUE(err.contains(
        QStringLiteral("waiting for job %1").arg(QCoreApplication::applicationPid()).toUtf8()))
        << err.toStdString();
    EXPECT_TRUE(dev.frames().isEmpty());
    lock.unlock();
    const CliResult waited = Finish(p);
    EXPECT_EQ(waited.exit, 0) << waited.err.toStdString();
    EXPECT_EQ(waited.lines().value(0), QStringLiteral("Model:          Gorda"));
}

// 3. Failures that exit 0.
TEST_F(CliTrust, ARestoreThatCouldNotSetEverySettingIsExit1AndNamesThem) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString rack = homeFile(QStringLiteral("rack.txt"));
    ASSERT_EQ(on(dev, {QStringLiteral("save"), rack}).exit, 0);
    QByteArray bytes = readHomeFile(QStringLiteral("rack.txt"));
    const QByteArray line = "SetState=Input Video 2,4C2; SetParameter=Brightness, B10\r\n";
    ASSERT_TRUE(bytes.contains(line));
    bytes.replace(line, "SetState=Input Video 2,4C2; SetParameter=Brightness, B199\r\n");
    writeHomeFile(QStringLiteral("rack.txt"), bytes);
    const CliResult r = on(dev, {QStringLiteral("--json"), QStringLiteral("--quiet"),
                                 QStringLiteral("restore"), rack});
    EXPECT_EQ(r.exit, 1);
    ASSERT_EQ(r.objects().size(), 1);
    const QJsonObject o = r.objects().first();
    EXPECT_EQ(o.value(QStringLiteral("exit")), QJsonValue(1));
    EXPECT_EQ(o.value(QStringLiteral("failed")).toArray(),
              QJsonArray{QStringLiteral("Gorda Parameter Brightness For State Input Video 2")});
}

// Pins a departure (docs/ARCHITECTURE.md): a save asks again for an answer that is not whole.
// Noise inside an answer (a terminal server's stray bytes, a glitch on the cable) must not be
// saved: a file that holds it could never be restored.
TEST_F(CliTrust, ASaveAsksAgainForAnAnswerThatCameWithNoiseInItAndTheFileRestores) {
    const QString control = homeFile(QStringLiteral("control"));
    const QString events = homeFile(QStringLiteral("events.txt"));
    SimProcess& dev = sim(QStringLiteral("dev"), {QStringLiteral("--control"), control,
                                                  QStringLiteral("--events"), events});
    ASSERT_TRUE(dev.running());
    ASSERT_TRUE(waitFor([&] { return QFileInfo(control).exists(); }));
    const QString clean = homeFile(QStringLiteral("clean.txt"));
    ASSERT_EQ(on(dev, {QStringLiteral("save"), clean}).exit, 0);

    // Once the save itself is under way, the next answer of the device comes with noise in it.
    const QString trace = homeFile(QStringLiteral("trace.txt"));
    const QString rack = homeFile(QStringLiteral("rack.txt"));
    QProcess p;
    StartCli(p, home(),
             {QStringLiteral("--port"), dev.path(), QStringLiteral("--trace"), trace,
              QStringLiteral("save"), rack});
    ASSERT_TRUE(waitFor([&] { return readFile(trace).contains("Setting Gorda to State"); }));
    {
        QFile fifo(control);
        ASSERT_TRUE(fifo.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        ASSERT_EQ(fifo.write("splice 3\n"), 9);
    }
    const CliResult saved = Finish(p);
    ASSERT_EQ(saved.exit, 0) << saved.err.toStdString();
    EXPECT_TRUE(readFile(events).contains(" fault splice 3\n"));
    EXPECT_GE(readFile(trace).count("Error receiving result. Result="), 1);
    EXPECT_EQ(readFile(rack), readFile(clean));
    EXPECT_EQ(on(dev, {QStringLiteral("restore"), rack}).exit, 0);
}

TEST_F(CliTrust, AFileOfTheWrongKindIsRefusedBeforeAnythingIsSentOrWritten) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    writeHomeFile(QStringLiteral("garbage.txt"), "hello\r\nthis is no settings file\r\n");
    const QString garbage = homeFile(QStringLiteral("garbage.txt"));
    const CliResult restore = on(dev, {QStringLiteral("restore"), garbage});
    EXPECT_EQ(restore.exit, 4);
    EXPECT_TRUE(
        restore.err.contains("is not a settings file: line 1 is not a saved setting: hello"))
        << restore.err.toStdString();
    EXPECT_EQ(on(dev, {QStringLiteral("diff"), garbage}).exit, 4);
    const QString cube = homeFile(QStringLiteral("g.cube"));
    const CliResult gamma = cli({QStringLiteral("gamma"), QStringLiteral("export"), garbage, cube});
    EXPECT_EQ(gamma.exit, 4);
    EXPECT_TRUE(gamma.err.contains("is not a gamma file")) << gamma.err.toStdString();
    EXPECT_FALSE(QFile::exists(cube));
    writeHomeFile(QStringLiteral("junk.frk"), "this is a text file, not firmware\r\n");
    const CliResult load = on(dev, {QStringLiteral("--yes"), QStringLiteral("load"),
                                    homeFile(QStringLiteral("junk.frk"))});
    EXPECT_EQ(load.exit, 4);
    EXPECT_TRUE(load.err.contains("is not a firmware image")) << load.err.toStdString();
    // Nothing reached the device.
    EXPECT_TRUE(dev.frames().isEmpty());
}

// 4. One message for every way a connection fails.
TEST_F(CliTrust, AFailedConnectionSaysWhyPerPort) {
    const CliResult missing = cli(
        {QStringLiteral("--port"), QStringLiteral("/nonexistent/ttyUSB9"), QStringLiteral("info")});
    EXPECT_EQ(missing.exit, 3);
    EXPECT_TRUE(missing.err.contains("/nonexistent/ttyUSB9: the device file does not exist"))
        << missing.err.toStdString();
    SimProcess& silent = sim(QStringLiteral("silent"), {QStringLiteral("--silent")});
    ASSERT_TRUE(silent.running());
    const CliResult quiet = on(silent, {QStringLiteral("info")});
    EXPECT_EQ(quiet.exit, 3);
    EXPECT_TRUE(quiet.err.contains(": opened, but silent at 19200 baud"))
        << quiet.err.toStdString();
    // Telvo.ini says 19200; the device runs at 38400.
    SimProcess& other =
        sim(QStringLiteral("other"), {QStringLiteral("--baud"), QStringLiteral("38400")});
    ASSERT_TRUE(other.running());
    const CliResult rate = on(other, {QStringLiteral("info")});
    EXPECT_EQ(rate.exit, 3);
    EXPECT_TRUE(rate.err.contains(": answered at 38400 baud, not at the 19200 given"))
        << rate.err.toStdString();
    // A device file another program holds (opened exclusively, as a terminal program would).
    SimProcess& held = sim(QStringLiteral("held"));
    ASSERT_TRUE(held.running());
    QSerialPort holder(held.path());
    ASSERT_TRUE(holder.open(QIODevice::ReadWrite));
    const CliResult busy = on(held, {QStringLiteral("info")});
    EXPECT_EQ(busy.exit, 3);
    EXPECT_TRUE(busy.err.contains(held.path().toUtf8() + ": busy (another program has it open)"))
        << busy.err.toStdString();
    holder.close();
    // A network port nobody listens on, and a host name that does not resolve.
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost));
    const QString refusedAt = QStringLiteral("socket://127.0.0.1:%1").arg(closed.serverPort());
    closed.close();
    const CliResult refused = cli({QStringLiteral("--port"), refusedAt, QStringLiteral("info")});
    EXPECT_EQ(refused.exit, 3);
    EXPECT_TRUE(refused.err.contains(refusedAt.toUtf8() + ": connection refused"))
        << refused.err.toStdString();
    const CliResult unknown =
        cli({QStringLiteral("--port"), QStringLiteral("rfc2217://no-such-host.invalid:4000"),
             QStringLiteral("info")});
    EXPECT_EQ(unknown.exit, 3);
    EXPECT_TRUE(unknown.err.contains("rfc2217://no-such-host.invalid:4000: host not found"))
        << unknown.err.toStdString();
    // Permission: a device file the user may not open (root may open anything).
    if (::geteuid() != 0) {
        SimProcess& locked = sim(QStringLiteral("locked"));
        ASSERT_TRUE(locked.running());
        QFile::setPermissions(locked.path(), QFileDevice::Permissions());
        const CliResult denied = on(locked, {QStringLiteral("info")});
        EXPECT_EQ(denied.exit, 3);
        EXPECT_TRUE(denied.err.contains("permission denied; add your user to the dialout group"))
            << denied.err.toStdString();
    }
}

// 5. A load that strands the device.
TEST_F(CliTrust, ACutLoadIsNamedByEveryJobAndAResumeStoppedAtAPromptKeepsItsFile) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.80"), 32000);
    QProcess p;
    const QString restart = portFile(dev, QStringLiteral("RestartLoader.txt"));
    ASSERT_TRUE(startLoadIntoLoader(p, dev, file));
    // A dropped SSH session ends it as Ctrl-C does.
    ::kill(pid_t(p.processId()), SIGHUP);
    const CliResult cut = Finish(p);
    EXPECT_EQ(cut.exit, 129);
    EXPECT_TRUE(cut.err.contains(": hung up (SIGHUP); RestartLoader.txt is kept"))
        << cut.err.toStdString();
    ASSERT_TRUE(QFile::exists(restart));
    const CliResult info = on(dev, {QStringLiteral("info")});
    EXPECT_EQ(info.exit, 1);
    EXPECT_TRUE(info.err.contains("in its boot loader: run `telvo-cli load --resume`"))
        << info.err.toStdString();
    // A resume that stops at a prompt leaves the restart file for the next try.
    writeIni({QStringLiteral("Confirm Operations = True")});
    const CliResult stopped = on(dev, {QStringLiteral("load"), QStringLiteral("--resume")});
    EXPECT_EQ(stopped.exit, 5) << stopped.err.toStdString();
    EXPECT_TRUE(QFile::exists(restart));
    writeIni({});
    const CliResult resumed = on(dev, {QStringLiteral("load"), QStringLiteral("--resume")});
    ASSERT_EQ(resumed.exit, 0) << resumed.err.toStdString();
    EXPECT_EQ(resumed.lines(),
              QStringList{QStringLiteral("Loaded the cut-off load; the firmware is now 2.80")});
    EXPECT_FALSE(QFile::exists(restart));
    // No temporary file stays behind.
    EXPECT_FALSE(QFile::exists(portFile(dev, QStringLiteral("Temp$$.hex"))));
    EXPECT_FALSE(QFile::exists(portFile(dev, QStringLiteral("filelist.frl"))));
}

TEST_F(CliTrust, ACutAfterTheDevicesVerdictSaysSoAndTheResumeTellsTheVersionItReads) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.85"), 4000);
    QProcess p;
    StartCli(p, home(), {QStringLiteral("--port"), dev.path(), QStringLiteral("load"), file});
    // Interrupted while the device reboots into the image it has verified, once the program has
    // seen the verdict and waits out the reboot.
    ASSERT_TRUE(waitFor([&] {
        return readFile(portFile(dev, QStringLiteral("LogFile.txt"))).contains("reboots");
    }));
    // The program logs the reboot wait when the last block has gone; the device gives its verdict
    // only once it has checked the image, a little later, and the program tells when it has read
    // it.
    QByteArray told;
    ASSERT_TRUE(waitFor([&] {
        p.waitForReadyRead(20);
        told += p.readAllStandardError();
        return told.contains("The device verified the image: Verify OK, version 2.85");
    }));
    ::kill(pid_t(p.processId()), SIGINT);
    CliResult cut = Finish(p);
    cut.err.prepend(told);
    EXPECT_EQ(cut.exit, 130);
    EXPECT_TRUE(cut.err.contains(
        ": interrupted; the device had accepted the image and is rebooting into it; "
        "RestartLoader.txt is kept"))
        << cut.err.toStdString();
    const CliResult resumed = on(dev, {QStringLiteral("load"), QStringLiteral("--resume")});
    ASSERT_EQ(resumed.exit, 0) << resumed.err.toStdString();
    EXPECT_EQ(resumed.lines(),
              QStringList{QStringLiteral("Loaded the cut-off load; the firmware is now 2.85")});
    EXPECT_FALSE(QFile::exists(portFile(dev, QStringLiteral("RestartLoader.txt"))));
}

} // namespace
