// Several ports at once: one process a port, their lines under their port, the worst exit code,
// and signals that stop every device's job, against vorix-sim devices on pseudo-terminals.
#include "CliFixture.h"

#include "cli/Fleet.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QSet>
#include <csignal>
#include <sys/types.h>
#include <unistd.h>

namespace telvo::test {
namespace {

// When a device heard the program: its first and last host frame, in ms of the wall clock.
struct Span {
    double first = -1;
    double last = -1;
};

class CliFleet : public CliEndToEnd {
protected:
    // The three devices of every case.
    void threeDevices() {
        for (const char* name : {"one", "two", "three"}) {
            devs.push_back(&sim(QString::fromLatin1(name)));
            ASSERT_TRUE(devs.back()->running());
        }
    }
    QStringList portArgs() const {
        QStringList out;
        for (SimProcess* d : devs)
            out << QStringLiteral("--port") << d->path();
        return out;
    }
    QString traceOf(SimProcess& dev) const {
        for (size_t i = 0; i < devs.size(); ++i)
            if (devs[i] == &dev)
                return QDir(home()).filePath(QStringList{QStringLiteral("one"),
                                                         QStringLiteral("two"),
                                                         QStringLiteral("three")}
                                                 .at(int(i)) +
                                             QStringLiteral("-trace.txt"));
        return QString();
    }

    // Each emulator stamps its trace with the time since its own start. The trace file's last
    // change is the moment of its last line, which ties that clock to the wall clock.
    Span hostSpan(SimProcess& dev) const {
        QFile f(traceOf(dev));
        if (!f.open(QIODevice::ReadOnly))
            return {};
        const double changed = double(QFileInfo(f).lastModified().toMSecsSinceEpoch());
        static const QRegularExpression re(
            QStringLiteral("^\\s*([0-9.]+)\\s+(host|device|note)\\s"));
        Span s;
        double lastLine = -1;
        for (const QByteArray& raw : f.readAll().split('\n')) {
            const auto m = re.match(QString::fromUtf8(raw));
            if (!m.hasMatch())
                continue;
            const double ms = m.captured(1).toDouble() * 1000.0;
            lastLine = ms;
            if (m.captured(2) != QLatin1String("host"))
                continue;
            if (s.first < 0)
                s.first = ms;
            s.last = ms;
        }
        if (s.first < 0)
            return {};
        const double offset = changed - lastLine;
        return {s.first + offset, s.last + offset};
    }

    // The processes whose parent is `pid`.
    static QList<qint64> childrenOf(qint64 pid) {
        QList<qint64> out;
        for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            bool number = false;
            const qint64 p = entry.toLongLong(&number);
            if (!number)
                continue;
            const QByteArray stat = readFile(QStringLiteral("/proc/%1/stat").arg(p));
            // "pid (name) state ppid ...": the name may hold spaces and parentheses.
            const QList<QByteArray> rest = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
            if (rest.size() > 1 && rest.at(1).toLongLong() == pid)
                out << p;
        }
        return out;
    }
    static bool alive(qint64 pid) { return QFile::exists(QStringLiteral("/proc/%1").arg(pid)); }

    // The parent in a process group of its own, as a shell starts a job: a signal to the group
    // reaches it and its children, and not this test.
    void startInOwnGroup(QProcess& p, const QStringList& args) {
        p.setChildProcessModifier([] { ::setpgid(0, 0); });
        StartCli(p, home(), args);
        ASSERT_TRUE(p.waitForStarted(10000));
    }

    std::vector<SimProcess*> devs;
};

TEST_F(CliFleet, ThreePortsSaveAtOnceEachLineUnderItsPort) {
    threeDevices();
    const CliResult r = cli(portArgs() + QStringList{QStringLiteral("save"),
                                                     homeFile(QStringLiteral("ports-{n}.txt"))});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    QStringList expected;
    for (int i = 0; i < 3; ++i)
        expected << devs[size_t(i)]->path() + QStringLiteral(": Saved the settings to ") +
                        homeFile(QStringLiteral("ports-%1.txt").arg(i + 1));
    QStringList got = r.lines();
    got.sort();
    expected.sort();
    EXPECT_EQ(got, expected);
    // Standard error too: every line under the port it came from, none cut or mixed.
    for (const QString& line :
         QString::fromLocal8Bit(r.err).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        int under = 0;
        for (SimProcess* d : devs)
            if (line.startsWith(d->path() + QStringLiteral(": ")))
                ++under;
        EXPECT_EQ(under, 1) << line.toStdString();
    }
    // They ran at the same time: every device heard the program before any had heard the last
    // of it.
    double latestFirst = 0;
    double earliestLast = 1e300;
    for (SimProcess* d : devs) {
        const Span s = hostSpan(*d);
        ASSERT_GT(s.first, 0);
        latestFirst = qMax(latestFirst, s.first);
        earliestLast = qMin(earliestLast, s.last);
    }
    EXPECT_LT(latestFirst, earliestLast);
    // Each file is its own device's, in its own port's folder's sense: the JSON run saves the
    // same settings again and names each file's lines.
    const CliResult json =
        cli(portArgs() + QStringList{QStringLiteral("--json"), QStringLiteral("save"),
                                     homeFile(QStringLiteral("json-{port}.txt"))});
    ASSERT_EQ(json.exit, 0) << json.err.toStdString();
    const QList<QJsonObject> objects = json.objects();
    ASSERT_EQ(objects.size(), 3) << json.out.toStdString();
    QSet<QString> ports;
    for (const QJsonObject& o : objects) {
        const QString port = o.value(QStringLiteral("port")).toString();
        ports << port;
        int n = 0;
        for (int i = 0; i < 3; ++i)
            if (devs[size_t(i)]->path() == port)
                n = i + 1;
        ASSERT_GT(n, 0) << port.toStdString();
        const QString file =
            homeFile(QStringLiteral("json-") + cli::PortFolderName(port) + QStringLiteral(".txt"));
        EXPECT_EQ(o.value(QStringLiteral("file")).toString(), file);
        const QByteArray saved = readFile(file);
        EXPECT_EQ(o.value(QStringLiteral("lines")).toInt(), saved.count('\n'));
        EXPECT_GT(saved.size(), 100);
        EXPECT_EQ(saved, readFile(homeFile(QStringLiteral("ports-%1.txt").arg(n))));
        // Each port kept its own folder with its own log, as in a run in turn.
        EXPECT_TRUE(QFile::exists(portFile(*devs[size_t(n - 1)], QStringLiteral("LogFile.txt"))));
    }
    EXPECT_EQ(ports.size(), 3);
}

TEST_F(CliFleet, JobsOneRunsThePortsInTurnInTheOrderGiven) {
    threeDevices();
    const CliResult r =
        cli(QStringList{QStringLiteral("--jobs"), QStringLiteral("1"), QStringLiteral("--json")} +
            portArgs() + QStringList{QStringLiteral("info")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    const QList<QJsonObject> objects = r.objects();
    ASSERT_EQ(objects.size(), 3) << r.out.toStdString();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(objects[i].value(QStringLiteral("port")).toString(), devs[size_t(i)]->path());
        EXPECT_EQ(objects[i].value(QStringLiteral("model")).toString(), QStringLiteral("Gorda"));
    }
    // Each device heard the last of the program before the next heard the first.
    for (size_t i = 0; i + 1 < devs.size(); ++i) {
        const Span done = hostSpan(*devs[i]);
        const Span next = hostSpan(*devs[i + 1]);
        ASSERT_GT(done.first, 0);
        ASSERT_GT(next.first, 0);
        EXPECT_LT(done.last, next.first) << i;
    }
}

TEST_F(CliFleet, APortWithNoDeviceMakesTheWorstExitAndTheOthersStillAnswer) {
    devs.push_back(&sim(QStringLiteral("one")));
    devs.push_back(&sim(QStringLiteral("two")));
    const QString empty = emptyPort();
    const CliResult r =
        cli({QStringLiteral("--json"), QStringLiteral("--baud"), QStringLiteral("19200"),
             QStringLiteral("--port"), devs[0]->path(), QStringLiteral("--port"), empty,
             QStringLiteral("--port"), devs[1]->path(), QStringLiteral("info")});
    EXPECT_EQ(r.exit, 3) << r.err.toStdString();
    const QList<QJsonObject> objects = r.objects();
    ASSERT_EQ(objects.size(), 3) << r.out.toStdString();
    QSet<QString> answered;
    for (const QJsonObject& o : objects) {
        const QString port = o.value(QStringLiteral("port")).toString();
        if (port == empty) {
            EXPECT_EQ(o.value(QStringLiteral("exit")).toInt(), 3);
            EXPECT_TRUE(o.value(QStringLiteral("error")).toString().contains(empty))
                << o.value(QStringLiteral("error")).toString().toStdString();
        } else {
            EXPECT_EQ(o.value(QStringLiteral("model")).toString(), QStringLiteral("Gorda"));
            answered << port;
        }
    }
    EXPECT_EQ(answered, (QSet<QString>{devs[0]->path(), devs[1]->path()}));
    EXPECT_TRUE(r.err.contains((empty + QStringLiteral(": telvo-cli: ")).toLocal8Bit()))
        << r.err.toStdString();
}

TEST_F(CliFleet, CtrlCDuringThreeLoadsKeepsEachRestartFileAndEachResumes) {
    threeDevices();
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.80"), 32000);
    QProcess p;
    startInOwnGroup(p, portArgs() + QStringList{QStringLiteral("load"), file});
    ASSERT_TRUE(waitFor([&] {
        for (SimProcess* d : devs)
            if (!QFile::exists(portFile(*d, QStringLiteral("RestartLoader.txt"))) ||
                !d->traceHas(QStringLiteral("boot loader at")))
                return false;
        return true;
    }));
    const QList<qint64> children = childrenOf(p.processId());
    EXPECT_EQ(children.size(), 3);
    // Ctrl-C as a terminal sends it, twice: the second one must not leave a job behind either.
    const pid_t group = pid_t(p.processId());
    ::kill(-group, SIGINT);
    ::kill(-group, SIGINT);
    const CliResult cut = Finish(p);
    EXPECT_EQ(cut.exit, 130) << cut.err.toStdString();
    for (qint64 child : children)
        EXPECT_FALSE(alive(child)) << child;
    for (SimProcess* d : devs) {
        EXPECT_TRUE(QFile::exists(portFile(*d, QStringLiteral("RestartLoader.txt"))))
            << d->path().toStdString();
        const QString line =
            d->path() +
            QStringLiteral(
                ": telvo-cli: interrupted; RestartLoader.txt is kept: run \"telvo-cli --home ") +
            home() + QStringLiteral(" --port ") + d->path() +
            QStringLiteral(" load --resume\" to finish the load\n");
        EXPECT_TRUE(cut.err.contains(line.toLocal8Bit())) << cut.err.toStdString();
    }
    const CliResult resumed =
        cli(portArgs() + QStringList{QStringLiteral("load"), QStringLiteral("--resume")});
    ASSERT_EQ(resumed.exit, 0) << resumed.err.toStdString();
    QStringList got = resumed.lines();
    got.sort();
    QStringList expected;
    for (SimProcess* d : devs) {
        expected << d->path() +
                        QStringLiteral(": Loaded the cut-off load; the firmware is now 2.80");
        EXPECT_FALSE(QFile::exists(portFile(*d, QStringLiteral("RestartLoader.txt"))));
    }
    expected.sort();
    EXPECT_EQ(got, expected);
    // The devices run the new version.
    const CliResult info =
        cli(portArgs() + QStringList{QStringLiteral("--json"), QStringLiteral("info")});
    ASSERT_EQ(info.exit, 0) << info.err.toStdString();
    ASSERT_EQ(info.objects().size(), 3);
    for (const QJsonObject& o : info.objects())
        EXPECT_EQ(o.value(QStringLiteral("firmware")).toString(), QStringLiteral("2.80"));
}

TEST_F(CliFleet, SigtermToTheParentAloneStopsEveryJobAndLeavesNoProcess) {
    threeDevices();
    QProcess p;
    startInOwnGroup(p, portArgs() + QStringList{QStringLiteral("--json"), QStringLiteral("save"),
                                                homeFile(QStringLiteral("cut-{n}.txt"))});
    // Every device is being talked to.
    ASSERT_TRUE(waitFor([&] {
        for (SimProcess* d : devs)
            if (hostFrames(*d).isEmpty())
                return false;
        return true;
    }));
    const qint64 parent = p.processId();
    const QList<qint64> children = childrenOf(parent);
    EXPECT_EQ(children.size(), 3);
    ::kill(pid_t(parent), SIGTERM);
    const CliResult cut = Finish(p);
    EXPECT_EQ(cut.exit, 143) << cut.err.toStdString();
    // The parent ended after its children: none was left to run on without it.
    for (qint64 child : children)
        EXPECT_FALSE(alive(child)) << child;
    EXPECT_TRUE(childrenOf(parent).isEmpty());
    // One failure a port, each its own.
    QSet<QString> ports;
    for (const QJsonObject& o : cut.objects()) {
        EXPECT_EQ(o.value(QStringLiteral("exit")).toInt(), 143) << cut.out.toStdString();
        EXPECT_EQ(o.value(QStringLiteral("error")).toString(),
                  QStringLiteral("terminated (SIGTERM)"));
        ports << o.value(QStringLiteral("port")).toString();
    }
    EXPECT_EQ(cut.objects().size(), 3) << cut.out.toStdString();
    EXPECT_EQ(ports.size(), 3);
    for (int n = 1; n <= 3; ++n)
        EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("cut-%1.txt").arg(n))));
}

TEST_F(CliFleet, AChildKilledWithoutAWordGetsItsFailureFromTheParent) {
    threeDevices();
    QProcess p;
    startInOwnGroup(p, portArgs() + QStringList{QStringLiteral("--json"), QStringLiteral("save"),
                                                homeFile(QStringLiteral("kill-{n}.txt"))});
    ASSERT_TRUE(waitFor([&] {
        for (SimProcess* d : devs)
            if (hostFrames(*d).isEmpty())
                return false;
        return true;
    }));
    // The second port's process, found by what its parent told it.
    qint64 second = 0;
    for (qint64 child : childrenOf(p.processId()))
        if (readFile(QStringLiteral("/proc/%1/environ").arg(child))
                .split('\0')
                .contains(QByteArray(cli::kFleetPortVariable) + "=2"))
            second = child;
    ASSERT_GT(second, 0);
    ::kill(pid_t(second), SIGKILL);
    const CliResult r = Finish(p);
    EXPECT_EQ(r.exit, 128 + SIGKILL) << r.err.toStdString();
    const QList<QJsonObject> objects = r.objects();
    ASSERT_EQ(objects.size(), 3) << r.out.toStdString();
    for (const QJsonObject& o : objects) {
        const QString port = o.value(QStringLiteral("port")).toString();
        if (port == devs[1]->path()) {
            EXPECT_EQ(o.value(QStringLiteral("error")).toString(),
                      QStringLiteral("its job ended by signal 9"));
            EXPECT_EQ(o.value(QStringLiteral("exit")).toInt(), 128 + SIGKILL);
            EXPECT_EQ(o.value(QStringLiteral("command")).toString(), QStringLiteral("save"));
        } else {
            EXPECT_TRUE(o.contains(QStringLiteral("lines"))) << port.toStdString();
        }
    }
    EXPECT_TRUE(r.err.contains(
        (devs[1]->path() + QStringLiteral(": telvo-cli: its job ended by signal 9\n"))
            .toLocal8Bit()))
        << r.err.toStdString();
    EXPECT_TRUE(QFile::exists(homeFile(QStringLiteral("kill-1.txt"))));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("kill-2.txt"))));
    EXPECT_TRUE(QFile::exists(homeFile(QStringLiteral("kill-3.txt"))));
}

TEST_F(CliFleet, ASignalBeforeAPortsTurnToldForThatPortToo) {
    threeDevices();
    QProcess p;
    startInOwnGroup(p, portArgs() + QStringList{QStringLiteral("--jobs"), QStringLiteral("1"),
                                                QStringLiteral("--json"), QStringLiteral("save"),
                                                homeFile(QStringLiteral("hup-{n}.txt"))});
    ASSERT_TRUE(waitFor([&] { return !hostFrames(*devs[0]).isEmpty(); }));
    ::kill(pid_t(p.processId()), SIGHUP);
    const CliResult cut = Finish(p);
    EXPECT_EQ(cut.exit, 129) << cut.err.toStdString();
    const QList<QJsonObject> objects = cut.objects();
    ASSERT_EQ(objects.size(), 3) << cut.out.toStdString();
    // In turn: the first port was cut, the others never began and never heard the program.
    EXPECT_EQ(objects[0].value(QStringLiteral("port")).toString(), devs[0]->path());
    EXPECT_EQ(objects[0].value(QStringLiteral("error")).toString(),
              QStringLiteral("hung up (SIGHUP)"));
    for (int i = 1; i < 3; ++i) {
        EXPECT_EQ(objects[i].value(QStringLiteral("port")).toString(), devs[size_t(i)]->path());
        EXPECT_EQ(objects[i].value(QStringLiteral("error")).toString(),
                  QStringLiteral("hung up (SIGHUP); its job was not started"));
        EXPECT_EQ(objects[i].value(QStringLiteral("exit")).toInt(), 129);
        EXPECT_TRUE(hostFrames(*devs[size_t(i)]).isEmpty());
    }
}

} // namespace
} // namespace telvo::test
