// telvo-cli as a person types it and a script reads it: short options, one usage line, switches
// that can be turned off, --baud held to Telvo.ini's rates, `names`, a bad value refused before
// anything goes on the wire (the emulator's frame trace), the device behind a port and why a
// port is refused, and the lines a load prints into a pipe.

#include "common/Fixture.h"

#include "common/CliRun.h"
#include "common/SimProcess.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QSerialPort>

using namespace telvo;
using namespace telvo::test;

namespace {

class CliShell : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        if (!QFile::exists(SimBinary()) || !QFile::exists(CliBinary()))
            GTEST_SKIP() << "vorix-sim or telvo-cli not built";
        // A reply may be slow on a busy machine.
        writeIni({QStringLiteral("Time Out = 1500")});
    }
    void TearDown() override {
        RunFixture::TearDown();
        m_sims.clear();
    }
    SimProcess& sim(const QString& name, const QStringList& options = {}) {
        QStringList args{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))};
        args << options;
        m_sims.push_back(std::make_unique<SimProcess>(home(), name, args));
        return *m_sims.back();
    }
    CliResult cli(const QStringList& args) { return RunCli(home(), args); }
    static QString err(const CliResult& r) { return QString::fromLocal8Bit(r.err); }
    static QStringList hostFrames(const SimProcess& dev) { return dev.hostFrames(); }

    std::vector<std::unique_ptr<SimProcess>> m_sims;
};

TEST_F(CliShell, ShortOptionsAreTheLongOnes) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    // -p PORT, -b RATE, -j, -q and -y bundled, -v the log to standard error.
    const CliResult r =
        cli({QStringLiteral("-p"), dev.path(), QStringLiteral("-b19200"), QStringLiteral("-jqy"),
             QStringLiteral("-v"), QStringLiteral("get"), QStringLiteral("Brightness")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    ASSERT_EQ(r.objects().size(), 1);
    EXPECT_EQ(r.objects().at(0).value(QStringLiteral("name")).toString(),
              QStringLiteral("Brightness"));
    // The trace went to standard error: the log's lines of the search.
    EXPECT_TRUE(err(r).contains(QStringLiteral("Starting Subroutine GetProbeMode")))
        << r.err.toStdString();
    const CliResult version = cli({QStringLiteral("-V")});
    EXPECT_EQ(version.exit, 0);
    EXPECT_EQ(version.out, QByteArray("telvo-cli " TELVO_VERSION "\n"));
}

TEST_F(CliShell, JsonFalseLeavesJsonOff) {
    const CliResult off = cli(
        {QStringLiteral("--json=false"), QStringLiteral("names"), QStringLiteral("Brightness")});
    ASSERT_EQ(off.exit, 0) << off.err.toStdString();
    EXPECT_EQ(off.out, QByteArray("Brightness (B1): a number from -50 to 50\n"));
    const CliResult on =
        cli({QStringLiteral("--json=true"), QStringLiteral("names"), QStringLiteral("Brightness")});
    ASSERT_EQ(on.objects().size(), 1);
    EXPECT_EQ(on.objects().at(0).value(QStringLiteral("max")).toDouble(), 50.0);
    const CliResult bad = cli({QStringLiteral("--json=maybe"), QStringLiteral("names")});
    EXPECT_EQ(bad.exit, 2);
    EXPECT_TRUE(bad.out.isEmpty());
}

TEST_F(CliShell, UsageErrorIsOneLineAndTheWayToHelp) {
    const CliResult r = cli({QStringLiteral("info"), QStringLiteral("--colour")});
    EXPECT_EQ(r.exit, 2);
    EXPECT_EQ(err(r), QStringLiteral("telvo-cli: unknown option --colour\n"
                                     "Usage: telvo-cli [OPTIONS] info (see telvo-cli --help)\n"));
    const CliResult none = cli({QStringLiteral("-x")});
    EXPECT_EQ(none.exit, 2);
    EXPECT_EQ(err(none), QStringLiteral("telvo-cli: unknown option -x\n"
                                        "Usage: telvo-cli [OPTIONS] COMMAND [ARGS...] (see "
                                        "telvo-cli --help)\n"));
}

TEST_F(CliShell, BaudMustBeARateOfTelvoIni) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult r = cli({QStringLiteral("-p"), dev.path(), QStringLiteral("-b"),
                             QStringLiteral("12345"), QStringLiteral("info")});
    EXPECT_EQ(r.exit, 2);
    EXPECT_TRUE(err(r).contains(QStringLiteral("--baud 12345 is not a rate Telvo.ini lists "
                                               "(19200, 57600, 4800, 9600, 14400, 38400)")))
        << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    // No search ran: nothing reached the device.
    EXPECT_TRUE(hostFrames(dev).isEmpty());
}

TEST_F(CliShell, NamesListsTheSettingsAndOnesValues) {
    const CliResult all = cli({QStringLiteral("names")});
    ASSERT_EQ(all.exit, 0) << all.err.toStdString();
    const QStringList names = all.lines();
    EXPECT_EQ(names.first(), QStringLiteral("Input"));
    EXPECT_TRUE(names.contains(QStringLiteral("Noise Reduction")));
    EXPECT_TRUE(names.contains(QStringLiteral("Serial Number")));
    EXPECT_EQ(names.count(QStringLiteral("Sharpness")), 1); // the firmware's line replaces
    const CliResult list = cli({QStringLiteral("names"), QStringLiteral("noise reduction")});
    ASSERT_EQ(list.exit, 0);
    EXPECT_EQ(list.lines().first(), QStringLiteral("Noise Reduction (B6): one of"));
    EXPECT_TRUE(list.lines().contains(QStringLiteral("     2  Medium")));
    const CliResult integer =
        cli({QStringLiteral("-j"), QStringLiteral("names"), QStringLiteral("Audio Delay")});
    ASSERT_EQ(integer.objects().size(), 1);
    const QJsonObject o = integer.objects().at(0);
    EXPECT_EQ(o.value(QStringLiteral("kind")).toString(), QStringLiteral("integer"));
    EXPECT_EQ(o.value(QStringLiteral("min")).toDouble(), 0.0);
    EXPECT_EQ(o.value(QStringLiteral("max")).toDouble(), 250.0);
    const CliResult readOnly = cli({QStringLiteral("names"), QStringLiteral("Serial Number")});
    EXPECT_TRUE(readOnly.out.startsWith("Serial Number (DA): read only; "));
    const CliResult unknown = cli({QStringLiteral("names"), QStringLiteral("Loudness")});
    EXPECT_EQ(unknown.exit, 2);
    EXPECT_TRUE(err(unknown).contains(QStringLiteral("no setting named Loudness")));
}

// Pins a departure (docs/ARCHITECTURE.md): the command line checks a value against Telvo.ini
// before sending; the window leaves that to the device.
TEST_F(CliShell, BadValueNamesTheAllowedOnesAndNothingIsSent) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QStringList before = hostFrames(dev);
    const CliResult word = cli({QStringLiteral("-p"), dev.path(), QStringLiteral("set"),
                                QStringLiteral("Brightness=abc")});
    EXPECT_EQ(word.exit, 2);
    EXPECT_TRUE(
        err(word).contains(QStringLiteral("Brightness takes a number from -50 to 50, not abc")))
        << word.err.toStdString();
    const CliResult far = cli({QStringLiteral("-p"), dev.path(), QStringLiteral("set"),
                               QStringLiteral("OSD Timeout=500")});
    EXPECT_EQ(far.exit, 2);
    EXPECT_TRUE(err(far).contains(
        QStringLiteral("OSD Timeout takes a whole number, 5 to 120 seconds, not 500")));
    const CliResult list = cli({QStringLiteral("-p"), dev.path(), QStringLiteral("set"),
                                QStringLiteral("Noise Reduction=Ultra")});
    EXPECT_EQ(list.exit, 2);
    EXPECT_TRUE(err(list).contains(QStringLiteral("Noise Reduction has no value Ultra: it takes "
                                                  "one of Off (0), Low (1), Medium (2), High (3)")))
        << list.err.toStdString();
    // The device saw the searches and reads of the connections, and not one set frame.
    QStringList sent = hostFrames(dev);
    ASSERT_FALSE(sent.isEmpty());
    for (const QString& frame : sent) {
        EXPECT_FALSE(frame.startsWith(QLatin1String("(STX)30"))) << frame.toStdString();
        EXPECT_FALSE(frame.contains(QLatin1String("abc"))) << frame.toStdString();
    }
    // A good value still goes.
    const CliResult good = cli(
        {QStringLiteral("-p"), dev.path(), QStringLiteral("set"), QStringLiteral("Brightness=-5")});
    ASSERT_EQ(good.exit, 0) << good.err.toStdString();
    EXPECT_EQ(good.lines(), QStringList{QStringLiteral("Brightness=-5")});
}

TEST_F(CliShell, PortsTellTheDeviceFileAndWhyAPortIsRefused) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult free =
        cli({QStringLiteral("-j"), QStringLiteral("-p"), dev.path(), QStringLiteral("ports")});
    ASSERT_EQ(free.exit, 0) << free.err.toStdString();
    ASSERT_EQ(free.objects().size(), 1);
    EXPECT_TRUE(free.objects().at(0).value(QStringLiteral("opens")).toBool());
    for (const char* key : {"manufacturer", "product", "serialNumber", "byId"})
        EXPECT_TRUE(free.objects().at(0).contains(QLatin1String(key))) << key;
    // Another program holds the port.
    QSerialPort holder(dev.path());
    ASSERT_TRUE(holder.open(QIODevice::ReadWrite)) << holder.errorString().toStdString();
    const CliResult busy = cli({QStringLiteral("-p"), dev.path(), QStringLiteral("ports")});
    EXPECT_EQ(busy.exit, 3);
    EXPECT_EQ(busy.lines(), QStringList{QStringLiteral("COM1  ") + dev.path() +
                                        QStringLiteral("  refused: busy (another program has it "
                                                       "open)")});
    holder.close();
    const CliResult missing =
        cli({QStringLiteral("-p"), QStringLiteral("/nonexistent/tty"), QStringLiteral("ports")});
    EXPECT_EQ(missing.exit, 3);
    EXPECT_EQ(missing.lines(), QStringList{QStringLiteral(
                                   "COM1  /nonexistent/tty  refused: the device file does not "
                                   "exist")});
}

TEST_F(CliShell, LoadInAPipeTellsEachStageAndEveryTenth) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString image = homeFile(QStringLiteral("new.frk"));
    QProcess make;
    make.start(SimBinary(),
               {QStringLiteral("--make-firmware"), image, QStringLiteral("--version"),
                QStringLiteral("2.81"), QStringLiteral("--size"), QStringLiteral("8000")});
    ASSERT_TRUE(make.waitForFinished(30000));
    const CliResult r = cli({QStringLiteral("-p"), dev.path(), QStringLiteral("load"), image});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    const QStringList lines = err(r).split(QLatin1Char('\n'));
    // Where the first line that starts with `start` stands; -1 when none does.
    const auto at = [&lines](const QString& start) {
        for (int i = 0; i < lines.size(); ++i)
            if (lines.at(i).startsWith(start))
                return i;
        return -1;
    };
    // Each list in the order it happened. The tenths are read from the loader's bar between
    // looks at the log, so only the middle of the transfer is placed among the stages.
    const QList<QStringList> orders{
        {QStringLiteral("Checking Com Port COM1"),
         QStringLiteral("Gorda Found on COM1 Operating @ 19200 baud"),
         QStringLiteral("Sending command to set Gorda baud rate to 57600"),
         QStringLiteral("Setting Gorda into Firmware Update Mode"),
         QStringLiteral("Sending: 50%  "), QStringLiteral("Waiting 10 seconds while Gorda reboots"),
         QStringLiteral("Load complete, Ready to start search")},
        // The device's verdict, once, after the last block went.
        {QStringLiteral("Sending: 100%  "),
         QStringLiteral("The device verified the image: Verify OK, version 2.81"),
         QStringLiteral("Load complete, Ready to start search")},
        {QStringLiteral("Sending: 0%  "), QStringLiteral("Sending: 50%  "),
         QStringLiteral("Sending: 100%  8000 / 8000 bytes")}};
    for (const QStringList& order : orders) {
        int last = -1;
        for (const QString& stage : order) {
            const int where = at(stage);
            EXPECT_GT(where, last) << stage.toStdString() << "\n" << r.err.toStdString();
            last = qMax(last, where);
        }
    }
    for (int tenth = 0; tenth <= 10; ++tenth)
        EXPECT_GE(at(QStringLiteral("Sending: %1%  ").arg(tenth * 10)), 0) << tenth;
    EXPECT_EQ(r.err.count("The device verified the image"), 1);
    // The loader's count of blocks is no stage.
    EXPECT_LT(at(QStringLiteral("Bytes processed")), 0);
    // Lines, never a bar redrawn in place.
    EXPECT_FALSE(r.err.contains('\r'));
    const CliResult quiet = cli(
        {QStringLiteral("-q"), QStringLiteral("-p"), dev.path(), QStringLiteral("load"), image});
    ASSERT_EQ(quiet.exit, 0) << quiet.err.toStdString();
    EXPECT_FALSE(quiet.err.contains("Sending:"));
}

} // namespace
