#pragma once
// The scripted stand-in of the shell services: every call recorded, answers set in advance.

#include "platform/os/Shell.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace telvo::platform {

class ScriptedShell : public Shell {
public:
    bool OpenUrl(const QUrl& url) override {
        opened << url.toString();
        return openSucceeds;
    }
    QString FindProgramFor(const QString& file) override {
        askedFor << file;
        return program;
    }
    WindowHandle FindBrowserWindow() override { return browserWindow; }
    bool IsWindow(WindowHandle w) override { return w != 0 && w == browserWindow && browserOpen; }
    void BringWindowToTop(WindowHandle w) override { raised << w; }
    bool IsOnline() override { return online; }

    QStringList opened;
    QStringList askedFor;
    QList<WindowHandle> raised;
    QString program = QStringLiteral("/usr/bin/xdg-open");
    bool openSucceeds = true;
    bool online = true;
    WindowHandle browserWindow = 0;
    bool browserOpen = false;
};

// Installs a fresh scripted shell and returns it (owned by the shell slot).
ScriptedShell& InstallScriptedShell();

} // namespace telvo::platform
