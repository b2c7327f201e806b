#include "cli/Fleet.h"

#include "cli/CliPlatform.h"
#include "cli/Report.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTimer>
#include <csignal>
#include <memory>
#include <vector>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace telvo::cli {

int FleetPosition() {
    bool ok = false;
    const int n = qEnvironmentVariableIntValue(kFleetPortVariable, &ok);
    return ok && n > 0 ? n : 0;
}

bool RunsAsFleet(const Options& o) {
    static const QStringList inTurn{QStringLiteral("gamma"), QStringLiteral("names"),
                                    QStringLiteral("console")};
    return o.ports.size() > 1 && FleetPosition() == 0 && !inTurn.contains(o.command);
}

void FollowParent() {
#ifdef __linux__
    // As SIGTERM to the child itself: a load keeps its restart file and says how to resume.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
}

namespace {

// One port's job: its process and what it has told so far.
struct Child {
    QString port;
    int position = 0; // among the --port options, from 1
    QProcess process;
    QByteArray out; // a line of standard output not yet whole
    QByteArray err;
    bool started = false;
    bool done = false;
    bool toldFailure = false; // it wrote its own failure (the object, or the line)
    int exit = kDone;
};

class Fleet {
public:
    Fleet(const Options& o, const QStringList& arguments) : m_opts(o), m_args(arguments) {
        for (int i = 0; i < o.ports.size(); ++i) {
            auto c = std::make_unique<Child>();
            c->port = o.ports.at(i);
            c->position = i + 1;
            m_children.push_back(std::move(c));
        }
    }

    int run() {
        QTimer signals;
        QObject::connect(&signals, &QTimer::timeout, &m_loop, [this] { lookAtSignals(); });
        signals.start(50);
        startMore();
        if (m_running > 0)
            m_loop.exec();
        // Ports never started, when a signal stopped the run first, are told too.
        for (auto& c : m_children)
            if (!c->started) {
                c->exit = 128 + m_signal;
                failFor(*c, SignalText(m_signal) + QStringLiteral("; its job was not started"));
            }
        int worst = kDone;
        for (auto& c : m_children)
            worst = qMax(worst, c->exit);
        return worst;
    }

private:
    int cap() const {
        const int all = int(m_children.size());
        return m_opts.jobs > 0 ? qMin(m_opts.jobs, all) : all;
    }

    void startMore() {
        while (m_signal == 0 && m_running < cap() && m_next < m_children.size())
            start(*m_children.at(m_next++));
    }

    void start(Child& c) {
        c.started = true;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QLatin1String(kFleetPortVariable), QString::number(c.position));
        c.process.setProcessEnvironment(env);
        c.process.setProgram(QCoreApplication::applicationFilePath());
        c.process.setArguments(m_args);
        QObject::connect(&c.process, &QProcess::readyReadStandardOutput, &m_loop,
                         [this, &c] { take(c, false); });
        QObject::connect(&c.process, &QProcess::readyReadStandardError, &m_loop,
                         [this, &c] { take(c, true); });
        QObject::connect(&c.process, &QProcess::finished, &m_loop,
                         [this, &c](int code, QProcess::ExitStatus status) {
                             finished(c, status == QProcess::NormalExit ? code : 128 + code,
                                      status != QProcess::NormalExit);
                         });
        QObject::connect(&c.process, &QProcess::errorOccurred, &m_loop,
                         [this, &c](QProcess::ProcessError e) {
                             if (e == QProcess::FailedToStart)
                                 finished(c, kDeviceFailed, false);
                         });
        ++m_running;
        c.process.start();
        // No job of a run over several ports reads standard input.
        c.process.closeWriteChannel();
    }

    // Whole lines only, each written at once: two children's words never share a line.
    void take(Child& c, bool fromErr) {
        QByteArray& pending = fromErr ? c.err : c.out;
        pending += fromErr ? c.process.readAllStandardError() : c.process.readAllStandardOutput();
        const int end = int(pending.lastIndexOf('\n'));
        if (end < 0)
            return;
        const QByteArray whole = pending.left(end);
        pending.remove(0, end + 1);
        for (const QByteArray& line : whole.split('\n'))
            pass(c, line, fromErr);
    }

    void pass(Child& c, const QByteArray& line, bool fromErr) {
        const QString text = QString::fromLocal8Bit(line);
        if (fromErr) {
            if (text.startsWith(QLatin1String("telvo-cli: ")))
                c.toldFailure = true;
            Err(c.port + QStringLiteral(": ") + text + QLatin1Char('\n'));
            return;
        }
        if (m_opts.json) {
            // Each object already names its port.
            if (QJsonDocument::fromJson(line).object().contains(QLatin1String("error")))
                c.toldFailure = true;
            Out(text + QLatin1Char('\n'));
            return;
        }
        Out(c.port + QStringLiteral(": ") + text + QLatin1Char('\n'));
    }

    void finished(Child& c, int code, bool crashed) {
        if (c.done)
            return;
        c.done = true;
        --m_running;
        // A last line without its end is still told, on a line of its own.
        for (bool fromErr : {false, true}) {
            take(c, fromErr);
            QByteArray& pending = fromErr ? c.err : c.out;
            if (!pending.isEmpty())
                pass(c, pending, fromErr);
            pending.clear();
        }
        c.exit = code;
        if (crashed)
            failFor(c, QStringLiteral("its job ended by signal %1").arg(code - 128));
        else if (c.process.error() == QProcess::FailedToStart)
            failFor(c, QStringLiteral("cannot start ") + c.process.program());
        else if (code != kDone && code != kDiffers && !c.toldFailure)
            failFor(c, QStringLiteral("its job ended with exit %1").arg(code));
        startMore();
        if (m_running == 0)
            m_loop.quit();
    }

    // A failure the child could not tell itself, in the form it would have told it.
    void failFor(const Child& c, const QString& text) {
        Err(c.port + QStringLiteral(": telvo-cli: ") + text + QLatin1Char('\n'));
        if (m_opts.json)
            Out(JsonLine({{QStringLiteral("command"), m_opts.command},
                          {QStringLiteral("error"), text},
                          {QStringLiteral("exit"), c.exit},
                          {QStringLiteral("port"), c.port}}));
    }

    // Ctrl-C reaches the children from the terminal; SIGTERM and SIGHUP to this process alone do
    // not: each is passed on (a second one to a child that has it already changes nothing), and
    // this process waits for every child to end.
    void lookAtSignals() {
        const int sig = TakeSignal();
        if (sig == 0)
            return;
        if (m_signal == 0)
            m_signal = sig;
        for (auto& c : m_children)
            if (c->started && !c->done && c->process.processId() > 0)
                ::kill(pid_t(c->process.processId()), sig);
        if (m_running == 0)
            m_loop.quit();
    }

    const Options& m_opts;
    QStringList m_args;
    std::vector<std::unique_ptr<Child>> m_children;
    size_t m_next = 0;
    int m_running = 0;
    int m_signal = 0;
    QEventLoop m_loop;
};

} // namespace

int RunFleet(const Options& o, const QStringList& arguments) {
    CatchEndingSignals();
    Fleet fleet(o, arguments);
    return fleet.run();
}

} // namespace telvo::cli
