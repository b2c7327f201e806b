#pragma once
// The platform of telvo-cli: message boxes and the windows' prompts are answered from --yes or
// stop the job (exit 5) with the prompt's text; nothing ever waits on a hidden window. Also the
// run's heartbeat: Ctrl-C and the --trace copy of LogFile.txt.

#include "platform/dialogs/Platform.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <deque>

class QTimer;

namespace telvo::ui {
class IRG;
}

namespace telvo::cli {

// Why the job unwound, when it was not the routine's own end.
struct StopState {
    int code = 0;  // kStoppedAtPrompt, or 128 + the signal that ended the job
    QString text;  // the prompt's text
    QStringList told; // the prompts answered on the way, in order
};
StopState& Stopped();
// The ending signal (SIGINT, SIGTERM, SIGHUP) caught since the last call, 0 when none.
int TakeSignal();
// "interrupted", "terminated (SIGTERM)", "hung up (SIGHUP)".
QString SignalText(int sig);
void ClearStopped();
// From now on Ctrl-C, SIGTERM and SIGHUP are kept for TakeSignal instead of ending the process.
void CatchEndingSignals();

class CliPlatform : public platform::Platform {
public:
    explicit CliPlatform(bool yes) : m_yes(yes) {}
    int MessageBox(const QString& text, int buttons, const QString& title) override;
    QString OpenFileDialog(const QString& title, const QString& dir, const QString& filter) override;
    QString SaveFileDialog(const QString& title, const QString& dir, const QString& filter) override;
    void Beep() override {}
    void HideEverything() override;

    // Paths a job hands to the file dialogs it will meet, oldest first.
    std::deque<QString> paths;

private:
    bool m_yes;
};

// Watches the windows for prompts (a Continue button shown, a modal window shown) and answers
// them from the next turn of the event loop, once the prompt's text stands.
class PromptWatcher : public QObject {
public:
    explicit PromptWatcher(bool yes);
    bool eventFilter(QObject* watched, QEvent* e) override;

private:
    void answer(QWidget* button);
    bool m_yes;
};

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

// The load's bar on a terminal: "[####      ]  42%  6720 / 16000 bytes, 5700 B/s, 2 s left",
// redrawn in place; an empty text when the loader shows no transfer.
QString ProgressLine(int percent, const QString& rate);
// What the loader window or a Gen ALL walk shows now, as one line; empty when neither runs.
QString JobProgress();
// The IR window whose Gen ALL walk is counted (nullptr: none).
void WatchGenAll(ui::IRG* window);

} // namespace telvo::cli
