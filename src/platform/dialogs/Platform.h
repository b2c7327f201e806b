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
};

// The platform in use; the Qt one unless a test installed another.
Platform& CurrentPlatform();
void InstallPlatform(std::unique_ptr<Platform> platform);

int MessageBox(const QString& text, int buttons = vbOKOnly, const QString& title = QString());
QString OpenFileDialog(const QString& title, const QString& dir, const QString& filter);
QString SaveFileDialog(const QString& title, const QString& dir, const QString& filter);
void Beep();

// The classic End: all windows vanish at once, nothing is saved, no unload events.
[[noreturn]] void EndProgram();
bool ProgramEnded();
void ResetProgramEnded();
// Rethrows ProgramEnd once the program has ended (used by the yield).
void ThrowIfEnded();

} // namespace telvo::platform
