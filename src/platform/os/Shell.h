#pragma once
// The shell services the support window rests on: opening a document or an address in the
// program the desktop associates with it, naming that program, finding the browser's window,
// and whether the machine is online. Tests install a scripted stand-in that records each call
// (platform/doubles/ScriptedShell.h).

#include <QString>
#include <QStringList>
#include <QUrl>
#include <memory>
#include <optional>

namespace telvo::platform {

// A top-level window of another program; 0 is none.
using WindowHandle = quintptr;

class Shell {
public:
    virtual ~Shell() = default;
    // Opens `url` (a web address or a local file) in its associated program; false when the
    // desktop could not start one. Never a shell command line.
    virtual bool OpenUrl(const QUrl& url) = 0;
    // The program that opens `file`, or empty when none is associated.
    virtual QString FindProgramFor(const QString& file) = 0;
    // The browser's top-level window. On this desktop another program's windows cannot be
    // watched, so it is always 0 here, and callers skip the wait on it and stay visible.
    virtual WindowHandle FindBrowserWindow() = 0;
    virtual bool IsWindow(WindowHandle w) = 0;
    virtual void BringWindowToTop(WindowHandle w) = 0;
    // True unless the system reports that no network is reachable; true when it cannot tell.
    virtual bool IsOnline() = 0;
};

Shell& CurrentShell();
void InstallShell(std::unique_ptr<Shell> shell);

// Puts the desktop's own shell back.
void InstallDesktopShell();

} // namespace telvo::platform
