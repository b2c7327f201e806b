#include "cli/CliPlatform.h"
#include "cli/Progress.h"

#include "app/MajorSubs.h"
#include "cli/Args.h"
#include "cli/Report.h"

#include <QApplication>
#include <QFile>
#include <QTimer>
#include <QWidget>
#include <csignal>

namespace telvo::cli {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

// Ctrl-C, SIGTERM and SIGHUP (a dropped SSH session) all end the job the same way; the signal is
// kept for the exit code.
extern "C" void onSignal(int sig) {
    g_interrupted = sig;
}

const int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

} // namespace

QString Told::shown() const {
    if (kind == Confirm)
        return (QStringLiteral("Confirm Operation: ") + words).simplified();
    if (kind == Breakpoint)
        return (QStringLiteral("Breakpoint: ") + words).simplified();
    return words;
}

bool Told::failure() const {
    if (kind == Confirm)
        return false;
    return words.startsWith(QLatin1String("Could not")) ||
           words.startsWith(QLatin1String("Unable")) ||
           words.startsWith(QLatin1String("Critical Situation"));
}

Heard& HeardSoFar() {
    static Heard h;
    return h;
}

void ClearHeard() {
    HeardSoFar() = Heard();
}

int TakeSignal() {
    const int sig = g_interrupted;
    g_interrupted = 0;
    return sig;
}

QString SignalText(int sig) {
    if (sig == SIGTERM)
        return QStringLiteral("terminated (SIGTERM)");
    if (sig == SIGHUP)
        return QStringLiteral("hung up (SIGHUP)");
    return QStringLiteral("interrupted");
}

StopState& Stopped() {
    static StopState s;
    return s;
}

void ClearStopped() {
    Stopped() = StopState();
}

void CatchEndingSignals() {
    for (int sig : kEndingSignals)
        std::signal(sig, onSignal);
}

namespace {
// The first reason stands: a prompt met while unwinding from Ctrl-C is not the cause.
void markStop(int code, const QString& text) {
    StopState& s = Stopped();
    if (s.code != 0)
        return;
    s.code = code;
    s.text = text;
}
} // namespace

void StopJob(int code, const QString& text) {
    markStop(code, text);
    try {
        platform::EndProgram();
    } catch (const platform::ProgramEnd&) {
        // Unwound by the routine's next yield, which sees the program ended.
    }
}

int CliPlatform::MessageBox(const QString& text, int buttons, const QString&) {
    const int kind = buttons & 7;
    Report::instance().note(text);
    Stopped().told << Told{Told::Message, text};
    if (kind == platform::vbOKOnly)
        return platform::vbOK;
    if (!m_yes) {
        markStop(kStoppedAtPrompt, text);
        platform::EndProgram();
    }
    return kind == platform::vbYesNo || kind == platform::vbYesNoCancel ? platform::vbYes
                                                                        : platform::vbOK;
}

QString CliPlatform::OpenFileDialog(const QString& title, const QString&, const QString&) {
    if (!paths.empty()) {
        QString p = paths.front();
        paths.pop_front();
        return p;
    }
    markStop(kStoppedAtPrompt, title);
    platform::EndProgram();
}

QString CliPlatform::SaveFileDialog(const QString& title, const QString& dir,
                                    const QString& filter) {
    return OpenFileDialog(title, dir, filter);
}

void CliPlatform::HideEverything() {
    for (QWidget* w : QApplication::topLevelWidgets())
        w->hide();
}

platform::PromptAnswer CliPlatform::AnswerPrompt(const platform::Prompt& prompt) {
    const Told told{prompt.kind == platform::Prompt::Confirm ? Told::Confirm : Told::Breakpoint,
                    prompt.text.simplified()};
    // A confirmation is a choice: only --yes makes it. A breakpoint only tells.
    if (told.kind == Told::Confirm && !m_yes) {
        markStop(kStoppedAtPrompt, told.shown());
        platform::EndProgram();
    }
    Report::instance().note(told.shown());
    Stopped().told << told;
    return platform::PromptAnswer::Continue;
}

void CliPlatform::StatusShown(const QString& text, bool alert) {
    if (alert)
        HeardSoFar().alert = text;
    TellStep(text);
}

void CliPlatform::ExchangeFailed(const QString& why) {
    HeardSoFar().exchangeFailures << why;
}

void CliPlatform::PortNoted(const QString& text) {
    HeardSoFar().portNotes << text;
}

void CliPlatform::ProgressMade(const platform::Progress& progress) {
    if (progress.kind == platform::Progress::GenAll) {
        HeardSoFar().walk = progress;
        return;
    }
    HeardSoFar().transfer = progress;
    TellTransfer(progress);
}

void CliPlatform::ProgressEnded(platform::Progress::Kind kind) {
    if (kind == platform::Progress::GenAll) {
        HeardSoFar().walk.reset();
        return;
    }
    HeardSoFar().transfer.reset();
    TellTransferEnded();
}

void CliPlatform::WindowWaits(const QString& title) {
    // The job stops from the wait's first turn of the loop, as a person's answer would come.
    QTimer::singleShot(0, qApp, [title] {
        StopJob(kStoppedAtPrompt,
                QStringLiteral("the window \"") + title + QStringLiteral("\" waits for an answer"));
    });
}

void CliPlatform::SpeedQueryUnanswered(const QString& rate, qint64 silentMs) {
    if (silentMs < kSpeedQueryLimitMs)
        return;
    markStop(kNoDevice, QStringLiteral("the device stopped answering: no answer at %1 baud for %2 "
                                       "s after a speed change (it may have restarted at "
                                       "another speed); run the job again")
                            .arg(rate)
                            .arg(kSpeedQueryLimitMs / 1000));
    platform::EndProgram();
}

Heartbeat::Heartbeat(const QString& traceFile, bool progress, QObject* parent)
    : QObject(parent), m_timer(new QTimer(this)), m_trace(traceFile), m_progress(progress) {
    for (int i = 0; i < 3; ++i)
        m_before[i] = std::signal(kEndingSignals[i], onSignal);
    connect(m_timer, &QTimer::timeout, this, &Heartbeat::beat);
    m_timer->start(50);
}

Heartbeat::~Heartbeat() {
    beat();
    if (!m_shown.isEmpty())
        Err(QStringLiteral("\n"));
    for (int i = 0; i < 3; ++i)
        std::signal(kEndingSignals[i], m_before[i]);
}

void Heartbeat::beat() {
    if (const int sig = TakeSignal(); sig != 0)
        StopJob(128 + sig, SignalText(sig));
    if (m_progress) {
        const QString line = JobProgress();
        if (line != m_shown) {
            // Redrawn in place; a finished bar keeps its line.
            if (!line.isEmpty())
                Err(QStringLiteral("\r\x1b[K") + line);
            else if (!m_shown.isEmpty())
                Err(QStringLiteral("\n"));
            m_shown = line;
        }
    }
    if (m_trace.isEmpty())
        return;
    const QByteArray fresh = ReadLogSince(m_offset);
    if (fresh.isEmpty())
        return;
    if (m_trace == QLatin1String("-")) {
        Err(QString::fromUtf8(fresh).remove(QLatin1Char('\r')));
        return;
    }
    QFile out(m_trace);
    if (out.open(QIODevice::Append))
        out.write(fresh);
}

} // namespace telvo::cli
