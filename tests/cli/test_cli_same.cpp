// The same job through the windows and through telvo-cli, each against a fresh vorix-sim on a
// pseudo-terminal: the device hears byte for byte the same frames and the same files are written.

#include "common/Fixture.h"

#include "app/Main.h"
#include "cli/Session.h"
#include "common/CliRun.h"
#include "common/SimProcess.h"
#include "firmware/LDR.h"
#include "ir/IRG.h"
#include "settings/SCL.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace telvo;
using namespace telvo::test;

namespace {

class SameJob : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        if (!QFile::exists(SimBinary()) || !QFile::exists(CliBinary()))
            GTEST_SKIP() << "vorix-sim or telvo-cli not built";
        // A reply may be slow on a busy machine; both runs wait as long for it.
        writeIni({QStringLiteral("Time Out = 1500")});
        ASSERT_TRUE(m_cliHome.isValid());
        QFile::copy(homeFile(QStringLiteral("Telvo.ini")), cliFile(QStringLiteral("Telvo.ini")));
    }
    void TearDown() override {
        RunFixture::TearDown();
        m_sims.clear();
        platform::Clock::instance().setVirtual(true);
    }
    QString cliFile(const QString& name) const { return QDir(m_cliHome.path()).filePath(name); }
    SimProcess& sim(const QString& name) {
        m_sims.push_back(std::make_unique<SimProcess>(
            home(), name,
            QStringList{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))}));
        return *m_sims.back();
    }
    // The windows' run: the start-up on `dev`, then `job`; breakpoints are clicked away.
    void throughWindows(SimProcess& dev, const std::function<void()>& job) {
        usePorts({dev.path()});
        ui::Main();
        ASSERT_EQ(ui::scl().txtState->text(), QStringLiteral("Powered"));
        QTimer answer;
        QObject::connect(&answer, &QTimer::timeout, [] {
            if (!ui::scl().cmdContinue->isHidden())
                QTest::mouseClick(ui::scl().cmdContinue, Qt::LeftButton);
        });
        answer.start(20);
        job();
    }
    CliResult throughCli(SimProcess& dev, const QStringList& args) {
        return RunCli(m_cliHome.path(), QStringList{QStringLiteral("--port"), dev.path()} + args);
    }
    // The connection alone, as telvo-cli makes it before any job.
    QStringList connectionFrames() {
        SimProcess& probe = sim(QStringLiteral("probe"));
        if (!probe.running() || throughCli(probe, {QStringLiteral("info")}).exit != 0)
            return {};
        return probe.frames();
    }
    // A file of the command line's job folder for `dev` (a port given by its path has its own).
    QString cliPortFile(SimProcess& dev, const QString& name) const {
        return cliFile(QStringLiteral("ports/") + cli::PortFolderName(dev.path()) +
                       QLatin1Char('/') + name);
    }
    // The walk of a save or restore: from its first set to where the command line's exact
    // put-back begins, which the windows' put-back of their view replaces by design. The
    // put-back is the run's tail of frames about the selectors (input, preset, output type,
    // profile) and the device's plain acknowledgements.
    static QStringList walkOf(const QStringList& frames) {
        const qsizetype start = firstSet(frames);
        qsizetype end = frames.size();
        static const QStringList selectors{QStringLiteral("E1"), QStringLiteral("4C"),
                                           QStringLiteral("E0"), QStringLiteral("60")};
        while (end > start) {
            const QString body =
                frames.at(end - 1).mid(frames.at(end - 1).indexOf(QLatin1String("(STX)")));
            const QString type = body.mid(5, 2);
            if (type != QLatin1String("01") && type != QLatin1String("02") &&
                !selectors.contains(body.mid(9, 2)))
                break;
            --end;
        }
        return frames.mid(start, end - start);
    }
    static qsizetype firstSet(const QStringList& frames) {
        for (qsizetype i = 0; i < frames.size(); ++i)
            if (frames.at(i).startsWith(QLatin1String("host  (STX)30")))
                return i;
        return frames.size();
    }
    static QByteArray read(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    QTemporaryDir m_cliHome;
    std::vector<std::unique_ptr<SimProcess>> m_sims;
};

TEST_F(SameJob, Save) {
    SimProcess& w = sim(QStringLiteral("windows"));
    SimProcess& c = sim(QStringLiteral("cli"));
    ASSERT_TRUE(w.running() && c.running());
    throughWindows(w, [] { QTest::mouseClick(ui::scl().cmdSave, Qt::LeftButton); });
    const CliResult r = throughCli(c, {QStringLiteral("save")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    const QByteArray windowsFile = readHomeFile(QStringLiteral("Settings.txt"));
    EXPECT_GT(windowsFile.count('\n'), 100);
    EXPECT_EQ(read(cliPortFile(c, QStringLiteral("Settings.txt"))), windowsFile);
    // The same walk over the states; only the put-back after it differs.
    const QStringList walk = walkOf(c.frames());
    EXPECT_GT(walk.size(), 250);
    EXPECT_EQ(w.frames().mid(firstSet(w.frames()), walk.size()), walk);
}

TEST_F(SameJob, Restore) {
    // A file whose values differ from the device's, so that the restore has work to do.
    QByteArray file;
    {
        SimProcess& source = sim(QStringLiteral("source"));
        ASSERT_TRUE(source.running());
        ASSERT_EQ(throughCli(source, {QStringLiteral("set"), QStringLiteral("Brightness=12"),
                                      QStringLiteral("Red Gain=1.25")})
                      .exit,
                  0);
        ASSERT_EQ(
            throughCli(source, {QStringLiteral("save"), cliFile(QStringLiteral("source.txt"))})
                .exit,
            0);
        file = read(cliFile(QStringLiteral("source.txt")));
        ASSERT_TRUE(file.contains("SetState=Input Video 1,4C1; SetParameter=Brightness, B112\r\n"));
    }
    writeHomeFile(QStringLiteral("Settings.txt"), file);
    SimProcess& w = sim(QStringLiteral("windows"));
    SimProcess& c = sim(QStringLiteral("cli"));
    ASSERT_TRUE(w.running() && c.running());
    throughWindows(w, [] { QTest::mouseClick(ui::scl().cmdRestore, Qt::LeftButton); });
    const CliResult r =
        throughCli(c, {QStringLiteral("restore"), cliFile(QStringLiteral("source.txt"))});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    const QStringList walk = walkOf(c.frames());
    EXPECT_EQ(w.frames().mid(firstSet(w.frames()), walk.size()), walk);
    EXPECT_TRUE(walk.contains(QStringLiteral("host  (STX)3006B1(NUL)12(NUL)(ETX)")));
    // Neither touched the file it restored from.
    EXPECT_EQ(readHomeFile(QStringLiteral("Settings.txt")), file);
    EXPECT_EQ(read(cliFile(QStringLiteral("source.txt"))), file);
}

TEST_F(SameJob, Set) {
    const QStringList connection = connectionFrames();
    ASSERT_FALSE(connection.isEmpty());
    SimProcess& w = sim(QStringLiteral("windows"));
    SimProcess& c = sim(QStringLiteral("cli"));
    ASSERT_TRUE(w.running() && c.running());
    int before = 0;
    throughWindows(w, [&] {
        before = int(w.frames().size());
        ui::SettingLabel* brightness = nullptr;
        for (ui::SettingLabel* l :
             ui::scl().lblSettingTop + ui::scl().lblSettingMid + ui::scl().lblSettingBtm)
            if (l->accessibleName().section(QLatin1Char('='), 0, 0) == QLatin1String("Audio Delay"))
                brightness = l;
        ASSERT_NE(brightness, nullptr);
        QTest::mousePress(brightness, Qt::LeftButton, {}, QPoint(5, 5));
        ui::scl().txtValEnter->setText(QStringLiteral("120"));
        QTest::keyClick(ui::scl().txtValEnter, Qt::Key_Return);
        EXPECT_EQ(brightness->text(), QStringLiteral("Audio Delay=120"));
    });
    const CliResult r = throughCli(c, {QStringLiteral("set"), QStringLiteral("Audio Delay=120")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    EXPECT_EQ(r.lines(), QStringList{QStringLiteral("Audio Delay=120")});
    // The windows' run is the same connection, the panels' first reading, then the job; the
    // command line's is the connection, then the very same job.
    const QStringList windows = w.frames();
    const QStringList cli = c.frames();
    ASSERT_EQ(cli.mid(0, connection.size()), connection);
    EXPECT_EQ(windows.mid(0, connection.size()), connection);
    const QStringList job = cli.mid(connection.size());
    ASSERT_EQ(job.size(), 4); // the set, its answer, the query, its answer
    EXPECT_EQ(windows.mid(before), job);
}

TEST_F(SameJob, IrGenAll) {
    const QStringList connection = connectionFrames();
    ASSERT_FALSE(connection.isEmpty());
    SimProcess& w = sim(QStringLiteral("windows"));
    SimProcess& c = sim(QStringLiteral("cli"));
    ASSERT_TRUE(w.running() && c.running());
    int before = 0;
    throughWindows(w, [&] {
        before = int(w.frames().size());
        QTest::mouseClick(ui::scl().cmdDecodeIR, Qt::LeftButton);
        ASSERT_FALSE(ui::irg().isHidden());
        for (const char* name : {"all.txt", "all.hex"}) {
            scripted->paths = {homeFile(QLatin1String(name))};
            QTest::mouseClick(ui::irg().cmdGenAll, Qt::LeftButton);
        }
    });
    for (const char* name : {"all.txt", "all.hex"}) {
        const CliResult r = throughCli(
            c, {QStringLiteral("ir"), QStringLiteral("gen-all"), cliFile(QLatin1String(name))});
        ASSERT_EQ(r.exit, 0) << r.err.toStdString();
        const QByteArray windowsFile = readHomeFile(QLatin1String(name));
        EXPECT_GT(windowsFile.count('\n'), 40) << name;
        EXPECT_EQ(read(cliFile(QLatin1String(name))), windowsFile) << name;
    }
    // Gen ALL asks the device nothing: after the connection, neither run sent a frame.
    EXPECT_EQ(w.frames().size(), before);
    EXPECT_EQ(c.frames(), connection + connection);
}

TEST_F(SameJob, Load) {
    QString image = homeFile(QStringLiteral("new.frk"));
    {
        QProcess p;
        p.start(SimBinary(),
                {QStringLiteral("--make-firmware"), image, QStringLiteral("--version"),
                 QStringLiteral("2.84"), QStringLiteral("--size"), QStringLiteral("6000")});
        ASSERT_TRUE(p.waitForFinished(10000));
    }
    const QStringList connection = connectionFrames();
    SimProcess& w = sim(QStringLiteral("windows"));
    SimProcess& c = sim(QStringLiteral("cli"));
    ASSERT_TRUE(w.running() && c.running());
    int before = 0;
    throughWindows(w, [&] {
        before = int(w.frames().size());
        scripted->paths = {image};
        ui::ldr().show();
        QTest::mouseClick(ui::ldr().cmdStart, Qt::LeftButton);
        EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("2.84"));
    });
    const CliResult r = throughCli(c, {QStringLiteral("load"), image});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    const QStringList cli = c.frames();
    ASSERT_EQ(cli.mid(0, connection.size()), connection);
    const QStringList job = cli.mid(connection.size());
    EXPECT_GT(job.size(), 6);
    EXPECT_EQ(w.frames().mid(before), job);
    // The windows keep their working list; the command line leaves no working file behind.
    EXPECT_FALSE(readHomeFile(QStringLiteral("filelist.frl")).isEmpty());
    EXPECT_FALSE(QFile::exists(cliPortFile(c, QStringLiteral("filelist.frl"))));
}

} // namespace
