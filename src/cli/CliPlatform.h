#pragma once
// The platform of telvo-cli: message boxes and the windows' prompts are answered from --yes or
// stop the job (exit 5) with the prompt's text; nothing ever waits on a hidden window. What the
// routines tell (prompts, failed exchanges, progress, status lines) arrives here as values, and
// the jobs read it from here, never from the windows' text or the log. Also the run's heartbeat:
// Ctrl-C and the --trace copy of LogFile.txt.

#include "platform/dialogs/Platform.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <deque>
#include <optional>

class QTimer;

namespace telvo::cli {

// A message box or a prompt that was answered on the way.
struct Told {
    enum Kind { Message, Confirm, Breakpoint };
    Kind kind = Message;
    QString words; // the routine's words (a prompt's with its blanks made single)
    // As a person would have read it: a prompt with its "Confirm Operation: " or "Breakpoint: ".
    QString shown() const;
    // Words that tell of a failed step ("Could not ...", "Unable ...", "Critical Situation"); a
    // confirmation asks, so it tells none.
    bool failure() const;
};

// Why the job unwound, when it was not the routine's own end.
struct StopState {
    int code = 0;     // kStoppedAtPrompt, or 128 + the signal that ended the job
    QString text;     // the prompt's text
    QList<Told> told; // the prompts answered and the boxes shown on the way, in order
};
StopState& Stopped();
// The ending signal (SIGINT, SIGTERM, SIGHUP) caught since the last call, 0 when none.
int TakeSignal();
// "interrupted", "terminated (SIGTERM)", "hung up (SIGHUP)".
QString SignalText(int sig);
void ClearStopped();
// From now on Ctrl-C, SIGTERM and SIGHUP are kept for TakeSignal instead of ending the process.
void CatchEndingSignals();

// How long a job waits for a device that stopped answering after a speed change. The windows
// wait for ever, as a person watching them can; a script cannot, and a device power-cycled in
// the meantime is back at its power-on rate, where the wait would never end.
constexpr qint64 kSpeedQueryLimitMs = 60'000;

class CliPlatform : public platform::Platform {
public:
    explicit CliPlatform(bool yes) : m_yes(yes) {}
    int MessageBox(const QString& text, int buttons, const QString& title) override;
    QString OpenFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override;
    QString SaveFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override;
    void Beep() override {}
    void HideEverything() override;
    platform::PromptAnswer AnswerPrompt(const platform::Prompt& prompt) override;
    void StatusShown(const QString& text, bool alert) override;
    void ExchangeFailed(const QString& why) override;
    void PortNoted(const QString& text) override;
    void ProgressMade(const platform::Progress& progress) override;
    void ProgressEnded(platform::Progress::Kind kind) override;
    void WindowWaits(const QString& title) override;
    void SpeedQueryUnanswered(const QString& rate, qint64 silentMs) override;

    // Paths a job hands to the file dialogs it will meet, oldest first.
    std::deque<QString> paths;

private:
    bool m_yes;
};

// What the routines told of the job in hand besides its prompts, as values.
struct Heard {
    QString alert;                // the last alert the job showed
    QStringList exchangeFailures; // each failed exchange's text, in order (may be empty)
    QStringList portNotes;        // the port backends' remarks, in order
    // The transfer and the Gen ALL walk while each runs.
    std::optional<platform::Progress> transfer;
    std::optional<platform::Progress> walk;
};
Heard& HeardSoFar();
void ClearHeard();

// Stops the job from inside an event: the routine's next yield unwinds it.
void StopJob(int code, const QString& text);

// Ctrl-C and the --trace copy, looked at every few milliseconds from the event loop.
class Heartbeat : public QObject {
public:
    Heartbeat(const QString& traceFile, bool progress, QObject* parent);
    ~Heartbeat() override;
    void beat();

private:
    QTimer* m_timer;
    QString m_trace;
    qint64 m_offset = 0;
    bool m_progress;
    QString m_shown; // the progress line last drawn
    // What the ending signals did before, put back at the end (a child of a run over several
    // ports keeps catching them until it exits).
    void (*m_before[3])(int) = {};
};

} // namespace telvo::cli
