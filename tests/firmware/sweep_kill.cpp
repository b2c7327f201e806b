// The real-kill sweep: the program runs as its own process (this binary again, in the role of the
// program: the real start-up, windows and load routines with the sweeps' scripted user) and talks
// to a vorix-sim process over a real pseudo-terminal on the wall clock. The harness watches the
// emulator's events (each 1 KB of the image, each change of mode) and the program's stages, and
// sends the program SIGKILL at the cut point. The device is not switched off: the same emulator
// goes on, the program is started again (plain, or with "BootLoader") as a user would, the user
// takes the offered recovery, and the row says whether the device runs the new version with the
// user's settings back, where the device stood when the program died, and the wall time it took.
//
// SWEEP=points (make sweep-kill) takes every cut point once, the ways in turn; SWEEP=full every
// point in every way; without it two cases run (make test).

#include "SweepUser.h"

#include "Firmware.h"
#include "common/SimProcess.h"
#include "platform/clock/DoEvents.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <csignal>
#include <cstdio>
#include <sys/types.h>

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kNew = SweepNewVersion();
// Far beyond a case's own time (a load of 12 s, the 10 s reboot wait, a 30 s search, the
// restore): a phase still going after this is hung.
constexpr int kPhaseLimitMs = 420 * 1000;

std::vector<Case> Cases() {
    const QString mode = qEnvironmentVariable("SWEEP");
    const bool points = mode == QLatin1String("points");
    if (points || mode == QLatin1String("full"))
        return SweepCases({}, SweepPageBoundaries(), points);
    // The subset of make test: mid-image with the save, and the reboot wait.
    return {{1, Cut::KillAtByte, 32 * kSweepPage, false, true, false},
            {2, Cut::KillInReboot, 0, true, true, true}};
}

QString CaseWords(const Case& c) {
    return QStringLiteral("%1,%2,%3,%4,%5")
        .arg(int(c.cut))
        .arg(c.byte)
        .arg(int(c.menu))
        .arg(int(c.save))
        .arg(int(c.bootLoader));
}
Case CaseOf(const QString& words) {
    const QStringList w = words.split(QLatin1Char(','));
    if (w.size() != 5)
        return {};
    return {0,
            Cut(w[0].toInt()),
            w[1].toLongLong(),
            w[2] == QLatin1String("1"),
            w[3] == QLatin1String("1"),
            w[4] == QLatin1String("1")};
}

// The lines an append-only file gained since the last call.
class Tail {
public:
    explicit Tail(QString path) : m_path(std::move(path)) {}
    QStringList fresh() {
        QFile f(m_path);
        QStringList out;
        if (!f.open(QIODevice::ReadOnly) || !f.seek(m_pos))
            return out;
        const QByteArray bytes = f.readAll();
        const qsizetype end = bytes.lastIndexOf('\n');
        if (end < 0)
            return out;
        m_pos += end + 1;
        for (const QByteArray& l : bytes.left(end).split('\n'))
            out << QString::fromUtf8(l);
        return out;
    }

private:
    QString m_path;
    qint64 m_pos = 0;
};

// An event line less its time.
QString EventText(const QString& line) {
    return line.section(QLatin1Char(' '), 1);
}

// ---- the program's side: one run of the program, in the role the harness gives ----------------

class KillRole : public SweepFixture {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        m_role = qEnvironmentVariable("SWEEP_KILL_ROLE");
        if (m_role.isEmpty())
            GTEST_SKIP() << "run by the harness only";
        m_case = CaseOf(qEnvironmentVariable("SWEEP_KILL_CASE"));
        useHome(qEnvironmentVariable("SWEEP_KILL_HOME"));
        qputenv("TELVO_REGISTRY_FILE", homeFile(QStringLiteral("registry.ini")).toUtf8());
        platform::Clock::instance().setVirtual(false);
        platform::PortMap::instance().loadFromEnvironment();
    }
    void TearDown() override {
        LoaderFixture::TearDown();
        platform::Clock::instance().setVirtual(true);
    }
    const Case& sweepCase() const override { return m_case; }
    // The device's screen: the last change of mode among its events.
    QByteArray deviceShows() {
        QFile f(homeFile(QStringLiteral("events.txt")));
        if (!f.open(QIODevice::ReadOnly))
            return {};
        QByteArray shows;
        for (const QByteArray& l : f.readAll().split('\n')) {
            if (l.contains(" boot loader at "))
                shows = "loader";
            if (l.contains(" running firmware "))
                shows = "running";
            if (l.contains(" rebooting for "))
                shows = "rebooting";
        }
        return shows;
    }
    bool deviceShowsLoader() override { return deviceShows() == "loader"; }
    void stage(const char* name) {
        std::printf("STAGE %s\n", name);
        std::fflush(stdout);
    }
    // The stages the harness cannot see from the device: told once each.
    void watchStages() {
        events.in(5, [this] {
            watchStages();
            const QString shown = ui::scl().lblMessage->text();
            if (!m_searchTold && ui::scl().tmrFindGorda->Enabled()) {
                m_searchTold = true;
                stage("search");
            }
            if (!m_restoreTold && shown.startsWith(QStringLiteral("Restoring "))) {
                m_restoreTold = true;
                stage("restore");
            }
        });
    }

    QString m_role;
    Case m_case{};
    bool m_searchTold = false;
    bool m_restoreTold = false;
};

TEST_F(KillRole, Run) {
    if (m_role == QLatin1String("load")) {
        // The user waits at the prompt of the cut, where the harness ends the program.
        if (m_case.cut == Cut::KillBeforeSpeed)
            m_holdAt = QStringLiteral(" baud rate to 57600");
        if (m_case.cut == Cut::KillAfterSpeed)
            m_holdAt = QStringLiteral("Ready to load selected Firmware");
        bool told = false;
        m_onHold = [this, &told] {
            if (!told)
                stage("hold");
            told = true;
        };
        start(QString(), 0);
        stage("started");
        watchStages();
        load();
        stage("loaded");
        return;
    }
    start(m_case.bootLoader ? QStringLiteral("BootLoader") : QString(), 0);
    const auto notFound = [] {
        return ui::App().DeviceState == QLatin1String("NOT CONNECTED") ||
               ui::App().DeviceState == QLatin1String("?????");
    };
    // Not found (the device left at another rate): the user asks for a search at every rate, as
    // the window offers (the rate list's first entry, then Connect).
    if (notFound()) {
        // A device that is still rebooting is waited for first: its screen says so.
        if (deviceShows() == "rebooting") {
            m_steps << QStringLiteral("waited for the reboot");
            QElapsedTimer t;
            t.start();
            while (deviceShows() == "rebooting" && t.elapsed() < 60000) {
                platform::DoEvents();
                QThread::msleep(50);
            }
        }
        m_steps << QStringLiteral("searched all rates");
        ui::scl().lstRate->setCurrentIndex(0);
        ui::scl().cmdOpen->click();
    }
    // Still not found, and the device shows its loader's prompt: the way out the program names
    // (RS by hand), here by starting it with "BootLoader".
    if (notFound() && deviceShowsLoader()) {
        m_steps << QStringLiteral("BootLoader by hand");
        start(QStringLiteral("BootLoader"), 0);
    }
    // The device still on its old firmware (the cut came before the loader): the user loads again.
    if (ui::scl().txtFirmware->text() != kNew && !notFound()) {
        m_steps << QStringLiteral("loaded again");
        load();
    }
    // A restore the user cancelled is done by hand once the device is back.
    if (m_steps.contains(QStringLiteral("cancelled the restore")) && m_case.save && !notFound() &&
        !QFile::exists(homeFile(QStringLiteral("LoadSettings.txt")))) {
        m_steps << QStringLiteral("Restore by hand");
        ui::scl().cmdRestore->click();
    }
    std::printf("STAGE done state=%s firmware=%s steps=%s\n", qPrintable(ui::App().DeviceState),
                qPrintable(ui::scl().txtFirmware->text()),
                qPrintable(m_steps.join(QLatin1Char('+'))));
    std::fflush(stdout);
}

// ---- the harness: the emulator, the program killed, the program started again -----------------

struct DeviceState {
    bool seen = false;
    QString mode;
    QString firmware;
    bool valid = false;
    qint64 image = 0;
    QMap<QByteArray, QByteArray> changed;
};

class KillSweep : public SweepFixture, public ::testing::WithParamInterface<Case> {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        if (!qEnvironmentVariable("SWEEP_KILL_ROLE").isEmpty())
            GTEST_SKIP() << "the harness's own";
        if (!QFile::exists(SimBinary()))
            GTEST_SKIP() << "vorix-sim not built";
        prepareHome();
        writeHomeFile(QStringLiteral("new.frk"), vorix::sim::MakeFirmwareImage(kNew, kSweepImage));
        // SWEEP_KEEP: the case's folder (log, events, trace) stays for a look.
        if (qEnvironmentVariableIsSet("SWEEP_KEEP")) {
            m_home->setAutoRemove(false);
            std::printf("HOME|%d|%s\n", GetParam().id, qPrintable(home()));
            std::fflush(stdout);
        }
    }
    void TearDown() override {
        for (QProcess* p : {&m_program, &m_sim}) {
            if (p->state() != QProcess::NotRunning) {
                p->kill();
                p->waitForFinished(5000);
            }
        }
        LoaderFixture::TearDown();
    }
    const Case& sweepCase() const override { return GetParam(); }
    bool deviceShowsLoader() override { return false; }

    bool startSim() {
        m_sim.setProgram(SimBinary());
        m_sim.setArguments({QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini")),
                            QStringLiteral("--events"), homeFile(QStringLiteral("events.txt")),
                            QStringLiteral("--trace"), homeFile(QStringLiteral("trace.txt")),
                            QStringLiteral("--model"), QStringLiteral("Gorda"),
                            QStringLiteral("--firmware"),
                            GetParam().menu ? QStringLiteral("1.10b") : QStringLiteral("1.24"),
                            QStringLiteral("--settings"), SweepUserSettingsWords()});
        m_sim.setStandardErrorFile(homeFile(QStringLiteral("sim.err")));
        m_sim.start();
        if (!m_sim.waitForStarted(30000))
            return false;
        while (!m_sim.canReadLine() && m_sim.waitForReadyRead(30000)) {
        }
        m_pty = QString::fromLocal8Bit(m_sim.readLine()).trimmed();
        return !m_pty.isEmpty();
    }
    // The program in a role, as its own process.
    void startProgram(const QString& role) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("SWEEP_KILL_ROLE"), role);
        env.insert(QStringLiteral("SWEEP_KILL_HOME"), home());
        env.insert(QStringLiteral("SWEEP_KILL_CASE"), CaseWords(GetParam()));
        env.insert(QStringLiteral("TELVO_PORTS"), m_pty);
        // The harness's own shard must not filter out the program's role.
        env.remove(QStringLiteral("GTEST_TOTAL_SHARDS"));
        env.remove(QStringLiteral("GTEST_SHARD_INDEX"));
        m_program.setProcessEnvironment(env);
        m_program.setProgram(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget());
        m_program.setArguments({QStringLiteral("--gtest_filter=KillRole.Run")});
        m_program.setStandardErrorFile(homeFile(role + QStringLiteral(".err")));
        m_program.setProcessChannelMode(QProcess::SeparateChannels);
        m_program.start();
        m_program.waitForStarted(30000);
        m_stages.clear();
    }
    // The program's stage lines so far, waiting up to `ms` for more.
    void readStages(int ms) {
        m_program.waitForReadyRead(ms);
        while (m_program.canReadLine()) {
            const QString l = QString::fromLocal8Bit(m_program.readLine()).trimmed();
            if (l.startsWith(QStringLiteral("STAGE ")))
                m_stages << l.mid(6);
        }
    }
    bool staged(const QString& name) const {
        for (const QString& s : m_stages)
            if (s.startsWith(name))
                return true;
        return false;
    }
    // The device as it stands now (SIGUSR2 writes it to the events).
    DeviceState deviceState() {
        DeviceState d;
        ::kill(pid_t(m_sim.processId()), SIGUSR2);
        QElapsedTimer t;
        t.start();
        while (!d.seen && t.elapsed() < 60000 && m_sim.state() == QProcess::Running) {
            for (const QString& line : m_events.fresh()) {
                m_seen << EventText(line);
                if (!EventText(line).startsWith(QStringLiteral("state ")))
                    continue;
                d.seen = true;
                for (const QString& f : EventText(line).split(QLatin1Char(' '))) {
                    const QString k = f.section(QLatin1Char('='), 0, 0);
                    const QString v = f.section(QLatin1Char('='), 1);
                    if (k == QLatin1String("mode"))
                        d.mode = v;
                    if (k == QLatin1String("firmware"))
                        d.firmware = v;
                    if (k == QLatin1String("valid"))
                        d.valid = v == QLatin1String("1");
                    if (k == QLatin1String("image"))
                        d.image = v.toLongLong();
                    if (k == QLatin1String("changed"))
                        for (const QString& kv : v.split(QLatin1Char(','), Qt::SkipEmptyParts))
                            d.changed.insert(kv.section(QLatin1Char(':'), 0, 0).toLatin1(),
                                             kv.section(QLatin1Char(':'), 1).toLatin1());
                }
            }
            if (!d.seen)
                m_sim.waitForReadyRead(20);
        }
        return d;
    }
    void kill() {
        ::kill(pid_t(m_program.processId()), SIGKILL);
        m_program.waitForFinished(30000);
    }

    // Watches the events and the program's stages; SIGKILL at the case's point. True once struck.
    bool runToCut() {
        const Case& c = GetParam();
        QElapsedTimer t;
        t.start();
        qint64 killAt = -1;
        while (m_program.state() == QProcess::Running && t.elapsed() < kPhaseLimitMs) {
            readStages(5);
            for (const QString& line : m_events.fresh()) {
                const QString e = EventText(line);
                m_seen << e;
                if (killAt >= 0)
                    continue;
                if (c.cut == Cut::KillAtByte && e == QStringLiteral("image %1").arg(c.byte))
                    killAt = t.elapsed();
                if (c.cut == Cut::KillAfterCommand &&
                    e.startsWith(QStringLiteral("boot loader at ")))
                    killAt = t.elapsed();
                if (c.cut == Cut::KillInReboot && e.startsWith(QStringLiteral("rebooting for ")))
                    killAt = t.elapsed() + 4000;
            }
            if (killAt < 0) {
                if ((c.cut == Cut::KillBeforeSpeed || c.cut == Cut::KillAfterSpeed) &&
                    staged(QStringLiteral("hold")))
                    killAt = t.elapsed();
                if (c.cut == Cut::KillInSearch && staged(QStringLiteral("search")))
                    killAt = t.elapsed() + 300;
                if (c.cut == Cut::KillInRestore && staged(QStringLiteral("restore")))
                    killAt = t.elapsed();
            }
            if (killAt >= 0 && t.elapsed() >= killAt) {
                kill();
                return true;
            }
        }
        if (m_program.state() == QProcess::Running)
            kill(); // a load that never reached the point
        return false;
    }

    // Where the device stood: its mode, and in its loader the image byte at the kill and once the
    // bytes already on their way had arrived.
    static QString Where(const DeviceState& atKill, const DeviceState& after) {
        if (!atKill.seen)
            return QStringLiteral("?");
        if (atKill.mode == QLatin1String("loader"))
            return QStringLiteral("loader, byte %1/%2").arg(atKill.image).arg(after.image);
        if (atKill.mode == QLatin1String("running"))
            return QStringLiteral("running %1").arg(atKill.firmware);
        return atKill.mode;
    }

    QProcess m_sim;
    QProcess m_program;
    QString m_pty;
    Tail m_events{QString()};
    QStringList m_stages;
    QStringList m_seen;
};

TEST_P(KillSweep, KilledAndRecovered) {
    const Case& c = GetParam();
    ASSERT_TRUE(startSim());
    m_events = Tail(homeFile(QStringLiteral("events.txt")));
    startProgram(QStringLiteral("load"));
    const bool struck = runToCut();
    const DeviceState atKill = deviceState();
    QElapsedTimer took;
    took.start();
    // What the program had written before it died still reaches the device.
    QThread::msleep(1000);
    const DeviceState drained = deviceState();

    startProgram(QStringLiteral("recover"));
    bool hung = true;
    while (took.elapsed() < kPhaseLimitMs) {
        readStages(200);
        if (m_program.state() == QProcess::NotRunning) {
            hung = false;
            break;
        }
    }
    readStages(0);
    if (hung)
        kill();
    const qint64 tookS = took.elapsed() / 1000;
    const DeviceState end = deviceState();

    const bool version = end.mode == QLatin1String("running") && end.valid && end.firmware == kNew;
    QByteArray found;
    const bool settings =
        !c.save ||
        SweepUserSettingsBack(
            [&end](const QByteArray& key) { return end.changed.value(key, "default"); }, &found);
    const bool recovered = struck && version && settings && !hung;
    const QString said = m_stages.isEmpty() ? QString() : m_stages.last();
    QString steps = said.startsWith(QStringLiteral("done "))
                        ? said.section(QStringLiteral("steps="), 1)
                        : QStringLiteral("?");
    if (steps.isEmpty())
        steps = QStringLiteral("as offered");
    std::printf(
        "ROW|%4d|%-44s|%-7s|%-4s|%-10s|%-6s|%-26s|%-16s|%-8s|%-24s|%5llds|%s\n", c.id,
        c.name().c_str(), c.way(), c.save ? "save" : "-", c.start(), struck ? "killed" : "MISSED",
        qPrintable(Where(atKill, drained)),
        qPrintable(end.mode + QLatin1Char(' ') + end.firmware + (end.valid ? "" : " (lost)")),
        c.save ? (settings ? "back" : "LOST") : "-", qPrintable(steps),
        static_cast<long long>(tookS),
        recovered ? "recovered"
        : hung    ? "NOT RECOVERED (hung)"
                  : "NOT RECOVERED");
    std::fflush(stdout);
    if (!recovered)
        std::printf("DETAIL|%4d|program: %s|settings: %s|device events: %s\n", c.id,
                    qPrintable(said), found.constData(),
                    qPrintable(m_seen
                                   .filter(QRegularExpression(QStringLiteral(
                                       "^(boot|running|rebooting|rate|loader:|line)")))
                                   .join(QStringLiteral("; "))));
    EXPECT_TRUE(struck);
    EXPECT_TRUE(version) << "device: " << end.mode.toStdString() << " "
                         << end.firmware.toStdString();
    EXPECT_TRUE(settings) << found.toStdString();
    EXPECT_FALSE(hung);
}

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
    return "c" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(Points, KillSweep, ::testing::ValuesIn(Cases()), caseName);

} // namespace
