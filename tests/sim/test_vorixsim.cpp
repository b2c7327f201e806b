// The vorix-sim program on a pseudo-terminal, talked to through QSerialPort on the real clock:
// the path it prints, its link, its trace, rates, a firmware load, and the images it makes.

#include "DeviceHarness.h"
#include "common/CoreApp.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sys/types.h>

using namespace vorix::sim;
using namespace vorix::sim::test;

namespace {

QString SimBinary() {
    return qEnvironmentVariable("TELVO_BINARY_DIR") + QStringLiteral("/bin/vorix-sim");
}
QString SampleIniPath() {
    return qEnvironmentVariable("TELVO_SOURCE_DIR") + QStringLiteral("/data/Telvo.ini");
}

class VorixSim : public ::testing::Test {
protected:
    void SetUp() override {
        telvo::test::TestCoreApp();
        ASSERT_TRUE(QFileInfo(SimBinary()).isExecutable()) << SimBinary().toStdString();
    }
    void TearDown() override {
        if (port.isOpen())
            port.close();
        if (sim.state() != QProcess::NotRunning) {
            sim.terminate();
            sim.waitForFinished(5000);
        }
    }

    // Starts the program and reads the terminal's path from its first line.
    void start(const QStringList& extra = {}) {
        sim.start(SimBinary(), QStringList{QStringLiteral("--ini"), SampleIniPath()} + extra);
        ASSERT_TRUE(sim.waitForStarted(5000));
        QElapsedTimer t;
        t.start();
        while (!sim.canReadLine() && t.elapsed() < 10000)
            sim.waitForReadyRead(100);
        ASSERT_TRUE(sim.canReadLine()) << sim.readAllStandardError().toStdString();
        path = QString::fromLocal8Bit(sim.readLine()).trimmed();
        ASSERT_TRUE(path.startsWith(QStringLiteral("/dev/"))) << path.toStdString();
    }
    void open(int baud, const QString& at = {}) {
        port.setPortName(at.isEmpty() ? path : at);
        port.setBaudRate(baud);
        port.setDataBits(QSerialPort::Data8);
        port.setParity(QSerialPort::NoParity);
        port.setStopBits(QSerialPort::OneStop);
        ASSERT_TRUE(port.open(QIODevice::ReadWrite)) << port.errorString().toStdString();
    }
    // Reads until `done` holds for what came in, or `limitMs` passed; returns what came.
    QByteArray readUntil(const std::function<bool(const QByteArray&)>& done, int limitMs = 3000) {
        QByteArray got;
        QElapsedTimer t;
        t.start();
        while (!done(got) && t.elapsed() < limitMs) {
            if (port.waitForReadyRead(int(qMax<qint64>(1, limitMs - t.elapsed()))))
                got.append(port.readAll());
        }
        return got;
    }
    // Starts the device at `baud` (with `extra` options), opens the port and sends it into its
    // boot loader, whose banner must come.
    void enterLoader(int baud, const QStringList& extra) {
        start(QStringList{QStringLiteral("--baud"), QString::number(baud)} + extra);
        open(baud);
        port.write(Set("AD", "1"));
        const QByteArray banner =
            readUntil([](const QByteArray& b) { return b.endsWith("Load frk File now."); }, 10000);
        ASSERT_TRUE(banner.endsWith("Load frk File now.")) << banner.toStdString();
    }
    QByteArray exchange(const QByteArray& frame, int limitMs = 3000) {
        port.write(frame);
        port.waitForBytesWritten(1000);
        return readUntil([](const QByteArray& b) { return b.contains('\x03'); }, limitMs);
    }

    QProcess sim;
    QString path;
    QSerialPort port;
};

TEST_F(VorixSim, QueryOverThePseudoTerminalIsAnsweredAndTraced) {
    QTemporaryDir dir;
    const QString trace = QDir(dir.path()).filePath(QStringLiteral("trace.txt"));
    start({QStringLiteral("--trace"), trace});
    open(19200);
    EXPECT_EQ(exchange(Query("A1")), DataReply("A1", "1"));
    EXPECT_EQ(exchange(Set("B1", "-12")), AckReply());
    EXPECT_EQ(exchange(Query("B1")), DataReply("B1", "-12"));
    EXPECT_EQ(exchange(Query("ZZ")), ErrorReply(3));

    QFile f(trace);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(f.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("host    (STX)2003A1(NUL)(ETX)")))
        << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("device  (STX)2105A1(NUL)1(NUL)")));
}

TEST_F(VorixSim, AcknowledgementAtTheOldRateArrivesWholeBeforeTheDeviceMoves) {
    start({QStringLiteral("--baud"), QStringLiteral("19200"), QStringLiteral("--ack-old-rate")});
    open(19200);
    EXPECT_EQ(exchange(Set("A3", "6")), AckReply());
    port.setBaudRate(57600);
    EXPECT_EQ(exchange(Query("A3")), DataReply("A3", "6"));
}

TEST_F(VorixSim, AcknowledgementAtTheNewRateIsNoiseAtTheOldOne) {
    start({QStringLiteral("--baud"), QStringLiteral("19200")});
    open(19200);
    port.write(Set("A3", "6"));
    const QByteArray got = readUntil([](const QByteArray& b) { return b.contains('\x03'); }, 600);
    EXPECT_FALSE(got.contains('\x03'));
    port.setBaudRate(57600);
    EXPECT_EQ(exchange(Query("A3")), DataReply("A3", "6"));
}

TEST_F(VorixSim, ProgramAtAnotherRateHearsNoiseNeverAFrame) {
    start({QStringLiteral("--baud"), QStringLiteral("19200")});
    open(57600);
    port.write(Query("A1"));
    // Nothing is to come; a bounded wait shows that nothing framed does.
    const QByteArray got = readUntil([](const QByteArray& b) { return b.contains('\x03'); }, 600);
    EXPECT_FALSE(got.contains('\x03'));
    port.setBaudRate(19200);
    EXPECT_EQ(exchange(Query("A1")), DataReply("A1", "1"));
}

TEST_F(VorixSim, LinkNamesTheTerminalAndSurvivesReopening) {
    QTemporaryDir dir;
    const QString link = QDir(dir.path()).filePath(QStringLiteral("vorix"));
    start({QStringLiteral("--link"), link});
    EXPECT_EQ(QFileInfo(link).symLinkTarget(), path);
    open(19200, link);
    EXPECT_EQ(exchange(Query("A9")), DataReply("A9", "1.24"));
    port.close();
    open(19200, link);
    EXPECT_EQ(exchange(Query("A8")), DataReply("A8", "Vorix Gorda"));
    sim.terminate();
    ASSERT_TRUE(sim.waitForFinished(5000));
    EXPECT_FALSE(QFileInfo(link).isSymLink());
}

TEST_F(VorixSim, FirmwareLoadOverThePseudoTerminal) {
    ASSERT_NO_FATAL_FAILURE(
        enterLoader(57600, {QStringLiteral("--reboot-delay"), QStringLiteral("300"),
                            QStringLiteral("--page-write"), QStringLiteral("2")}));

    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.26"), 3000);
    for (qsizetype at = 0; at < image.size(); at += 100) {
        port.write(image.mid(at, 100));
        ASSERT_TRUE(port.waitForBytesWritten(2000));
    }
    const QByteArray said = readUntil([](const QByteArray& b) { return b.contains("Rebooting."); });
    EXPECT_TRUE(said.contains("Verify OK, version 1.26")) << said.toStdString();
    EXPECT_TRUE(said.contains("\b"));

    // The device is quiet while it reboots: ask until it answers, within a limit.
    QByteArray reply;
    QElapsedTimer t;
    t.start();
    while (!reply.contains('\x03') && t.elapsed() < 5000)
        reply = exchange(Query("A9"), 250);
    EXPECT_EQ(reply, DataReply("A9", "1.26"));
}

// A program that cannot read CTS on a pseudo-terminal writes far ahead of the line. When the
// loader fails an image, what it wrote ahead is dropped, as a serial line would never have
// carried it: here a second copy of the image queued behind the failed one never reaches the
// loader, which comes back with its banner instead of taking that copy.
TEST_F(VorixSim, WhatTheProgramWroteAheadOfAFailedImageIsDropped) {
    ASSERT_NO_FATAL_FAILURE(
        enterLoader(9600, {QStringLiteral("--fail-at-byte"), QStringLiteral("2900"),
                           QStringLiteral("--page-write"), QStringLiteral("2")}));

    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.26"), 3000);
    port.write(image + image);
    ASSERT_TRUE(port.waitForBytesWritten(5000));
    // Both copies are with the emulator long before the line reaches byte 2900 (3 s at 9600).
    port.waitForReadyRead(50);
    ASSERT_FALSE(port.readAll().contains("Failure")) << "the line reached the byte first";

    const QByteArray said = readUntil(
        [](const QByteArray& b) {
            return b.contains("Verify OK") || b.endsWith("Load frk File now.");
        },
        20000);
    EXPECT_TRUE(said.contains("Failure: transfer error at byte 2900. Please restart."))
        << said.toStdString();
    EXPECT_FALSE(said.contains("Verify OK")) << said.toStdString();
    EXPECT_TRUE(said.endsWith("Load frk File now.")) << said.toStdString();
}

// The event lines of a file, less their times, once `done` holds for them or after `limitMs`.
QStringList EventsUntil(const QString& path, const std::function<bool(const QStringList&)>& done,
                        int limitMs = 10000) {
    QStringList lines;
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < limitMs) {
        QFile f(path);
        lines.clear();
        if (f.open(QIODevice::ReadOnly))
            for (const QByteArray& l : f.readAll().split('\n'))
                if (!l.isEmpty())
                    lines << QString::fromUtf8(l).section(QLatin1Char(' '), 1);
        if (done(lines))
            break;
        QThread::msleep(10);
    }
    return lines;
}

TEST_F(VorixSim, EventsTellModesImagePagesAndTheStateAskedFor) {
    QTemporaryDir dir;
    const QString events = QDir(dir.path()).filePath(QStringLiteral("events.txt"));
    start({QStringLiteral("--baud"), QStringLiteral("57600"), QStringLiteral("--reboot-delay"),
           QStringLiteral("300"), QStringLiteral("--page-write"), QStringLiteral("2"),
           QStringLiteral("--events"), events, QStringLiteral("--settings"),
           QStringLiteral("D3=3,4C=2,B1=17,4C=1")});
    const auto has = [](const QString& text) {
        return [text](const QStringList& l) { return l.contains(text); };
    };
    ::kill(pid_t(sim.processId()), SIGUSR2);
    const QString before = QStringLiteral(
        "state mode=running firmware=1.24 valid=1 rate=57600 image=0 changed=B1@in2:17,D3:3");
    EXPECT_TRUE(EventsUntil(events, has(before)).contains(before));

    open(57600);
    port.write(Set("AD", "1"));
    ASSERT_TRUE(port.waitForBytesWritten(5000));
    EXPECT_TRUE(EventsUntil(events, has(QStringLiteral("boot loader at 57600")))
                    .contains(QStringLiteral("boot loader at 57600")));
    readUntil([](const QByteArray& b) { return b.endsWith("Load frk File now."); });
    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.26"), 3000);
    port.write(image);
    ASSERT_TRUE(port.waitForBytesWritten(5000));
    const QString running = QStringLiteral("running firmware 1.26 at 57600");
    const QStringList seen = EventsUntil(events, has(running));
    EXPECT_EQ(seen.filter(QRegularExpression(QStringLiteral("^image "))),
              (QStringList{QStringLiteral("image 0"), QStringLiteral("image 1024"),
                           QStringLiteral("image 2048")}));
    EXPECT_TRUE(seen.contains(QStringLiteral("rebooting for 300 ms")));
    EXPECT_TRUE(seen.contains(running));
    // The load wiped the settings; the loader's count of the image stays.
    ::kill(pid_t(sim.processId()), SIGUSR2);
    const QString after =
        QStringLiteral("state mode=running firmware=1.26 valid=1 rate=57600 image=3000 changed=");
    EXPECT_TRUE(EventsUntil(events, has(after)).contains(after));
}

TEST_F(VorixSim, SettingsAtPowerOnMustBeIdEqualsValue) {
    QProcess bad;
    bad.start(SimBinary(), {QStringLiteral("--ini"), SampleIniPath(), QStringLiteral("--settings"),
                            QStringLiteral("D3")});
    ASSERT_TRUE(bad.waitForFinished(10000));
    EXPECT_EQ(bad.exitCode(), 2);
    EXPECT_TRUE(bad.readAllStandardError().contains("--settings: expected ID=VALUE, got D3"));
}

TEST_F(VorixSim, MakesFirmwareImagesItsLoaderAccepts) {
    telvo::test::TestCoreApp();
    QTemporaryDir dir;
    const QString file = QDir(dir.path()).filePath(QStringLiteral("Gorda_1.24.frk"));
    QProcess make;
    make.start(SimBinary(),
               {QStringLiteral("--make-firmware"), file, QStringLiteral("--version"),
                QStringLiteral("1.24"), QStringLiteral("--size"), QStringLiteral("4096")});
    ASSERT_TRUE(make.waitForFinished(10000));
    EXPECT_EQ(make.exitCode(), 0);
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray image = f.readAll();
    EXPECT_EQ(image.size(), 4096);
    const auto header = CheckFirmwareImage(image);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->version, "1.24");

    QProcess bad;
    bad.start(SimBinary(), {QStringLiteral("--make-firmware"), file, QStringLiteral("--size"),
                            QStringLiteral("10")});
    ASSERT_TRUE(bad.waitForFinished(10000));
    EXPECT_EQ(bad.exitCode(), 2);
}

} // namespace
