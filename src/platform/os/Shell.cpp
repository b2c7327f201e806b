#include "platform/os/Shell.h"

#include <QDesktopServices>
#include <QMimeDatabase>
#include <QNetworkInformation>
#include <QProcess>
#include <QStandardPaths>

namespace telvo::platform {

namespace {

class DesktopShell : public Shell {
public:
    bool OpenUrl(const QUrl& url) override { return QDesktopServices::openUrl(url); }

    QString FindProgramFor(const QString& file) override {
        const QString mime = QMimeDatabase().mimeTypeForFile(file).name();
        // The desktop's default handler by its own tool, with its arguments as a list.
        const QString xdgMime = QStandardPaths::findExecutable(QStringLiteral("xdg-mime"));
        if (!xdgMime.isEmpty()) {
            QProcess p;
            p.start(xdgMime, {QStringLiteral("query"), QStringLiteral("default"), mime});
            if (p.waitForFinished(3000) && p.exitStatus() == QProcess::NormalExit) {
                // Empty when nothing is associated with the type.
                return QString::fromLocal8Bit(p.readAllStandardOutput()).trimmed();
            } else {
                p.kill();
                p.waitForFinished(1000);
            }
        }
        // Without the query tool the desktop's opener is the best there is.
        return QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    }

    WindowHandle FindBrowserWindow() override { return 0; }
    bool IsWindow(WindowHandle) override { return false; }
    void BringWindowToTop(WindowHandle) override {}

    bool IsOnline() override {
        static const bool loaded = QNetworkInformation::loadDefaultBackend();
        if (!loaded || !QNetworkInformation::instance())
            return true;
        return QNetworkInformation::instance()->reachability() !=
               QNetworkInformation::Reachability::Disconnected;
    }
};

std::unique_ptr<Shell>& slot() {
    static std::unique_ptr<Shell> s;
    return s;
}

} // namespace

Shell& CurrentShell() {
    if (!slot())
        slot() = std::make_unique<DesktopShell>();
    return *slot();
}

void InstallShell(std::unique_ptr<Shell> shell) {
    slot() = std::move(shell);
}

void InstallDesktopShell() {
    InstallShell(std::make_unique<DesktopShell>());
}

} // namespace telvo::platform
