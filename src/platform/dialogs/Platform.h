#pragma once
// Message boxes, dialogs, the beep and the abrupt end of the program, behind one interface so
// that tests install a scripted stand-in (platform/doubles/ScriptedPlatform.h).

#include <QString>
#include <QStringList>
#include <deque>
#include <exception>
#include <memory>

namespace telvo::platform {

// Classic message box styles and answers, as the routines use them.
enum MsgButtons { vbOKOnly = 0, vbOKCancel = 1, vbYesNoCancel = 3, vbYesNo = 4 };
enum MsgResult { vbOK = 1, vbCancel = 2, vbYes = 6, vbNo = 7 };

// Thrown by EndProgram: unwinds every nested wait up to the event loop or the caller of Main.
struct ProgramEnd : std::exception {
    const char* what() const noexcept override { return "program ended"; }
};

// What a routine tells as it goes, as values. The windows show each of them as text and need
// none of these; a platform with no person at a window (the command line) reads these instead of
// the windows' text and the log.

// A status line's prompt that the routine waits on.
struct Prompt {
    enum Kind { Confirm, Breakpoint };
    Kind kind = Confirm;
    QString
        text; // the routine's words, without the window's "Confirm Operation: " and "(Click ...)"
};
// Who answers a prompt: the window's buttons (a person), or the platform at once with Continue.
enum class PromptAnswer { Window, Continue };

// How far a long job has come.
struct Progress {
    enum Kind { Transfer, GenAll };
    Kind kind = Transfer;
    qint64 done = 0; // bytes sent, or commands walked
    qint64 total = 0;
    int percent = 0;
    QString text; // a transfer's bytes, rate and time left, as the loader shows them
};

class Platform {
public:
    virtual ~Platform() = default;
    virtual int MessageBox(const QString& text, int buttons, const QString& title) = 0;
    virtual QString OpenFileDialog(const QString& title, const QString& dir,
                                   const QString& filter) = 0;
    virtual QString SaveFileDialog(const QString& title, const QString& dir,
                                   const QString& filter) = 0;
    virtual void Beep() = 0;
    // Makes every window vanish; the caller then unwinds with ProgramEnd.
    virtual void HideEverything() = 0;

    virtual PromptAnswer AnswerPrompt(const Prompt&) { return PromptAnswer::Window; }
    // A status line or an alert, as the routine gave it.
    virtual void StatusShown(const QString&, bool /*alert*/) {}
    // An exchange with the device failed: the device's error text, or the time-out's.
    virtual void ExchangeFailed(const QString&) {}
    // A port's backend remarked on its connection ("COM1: HOST:PORT: Host not found").
    virtual void PortNoted(const QString&) {}
    virtual void ProgressMade(const Progress&) {}
    virtual void ProgressEnded(Progress::Kind) {}
    // A window only a person can answer (INI, MDL, FWR, DG, RS, EX) is shown and waited on.
    virtual void WindowWaits(const QString& /*title*/) {}
    // A speed query went unanswered at the rate the port followed the device to, `silentMs`
    // after the first such follow. The routine asks again for as long as it takes (a device
    // restarting its port); the windows wait with it.
    virtual void SpeedQueryUnanswered(const QString& /*rate*/, qint64 /*silentMs*/) {}
};

// The platform in use; the Qt one unless a test installed another.
Platform& CurrentPlatform();
void InstallPlatform(std::unique_ptr<Platform> platform);

int MessageBox(const QString& text, int buttons = vbOKOnly, const QString& title = QString());
QString OpenFileDialog(const QString& title, const QString& dir, const QString& filter);
QString SaveFileDialog(const QString& title, const QString& dir, const QString& filter);
void Beep();
// The reports above, to the platform in use.
PromptAnswer AnswerPrompt(const Prompt& prompt);
void StatusShown(const QString& text, bool alert);
void ExchangeFailed(const QString& why);
void PortNoted(const QString& text);
void ProgressMade(const Progress& progress);
void ProgressEnded(Progress::Kind kind);
void WindowWaits(const QString& title);
void SpeedQueryUnanswered(const QString& rate, qint64 silentMs);

// The classic End: all windows vanish at once, nothing is saved, no unload events.
[[noreturn]] void EndProgram();
bool ProgramEnded();
void ResetProgramEnded();
// Rethrows ProgramEnd once the program has ended (used by the yield).
void ThrowIfEnded();

} // namespace telvo::platform
