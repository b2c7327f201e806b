#include "platform/os/Launch.h"

#include <QProcess>

namespace telvo::platform {

namespace {
LaunchHook g_hook = nullptr;
}

void SetLaunchHook(LaunchHook fake) {
    g_hook = fake;
}

bool LaunchApp(const QString& program, const QStringList& args, const QString& workingDir) {
    if (g_hook)
        return g_hook(program, args, workingDir);
    return QProcess::startDetached(program, args, workingDir);
}

} // namespace telvo::platform
