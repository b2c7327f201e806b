#pragma once
// Starting an outside program: the program and its arguments as a list, never through a shell,
// so a path with blanks or quotes reaches the program as one argument. It does not wait.

#include <QString>
#include <QStringList>

namespace telvo::platform {

// True when the program was started. `workingDir` empty: the current directory.
bool LaunchApp(const QString& program, const QStringList& args,
               const QString& workingDir = QString());

// Tests: instead of starting anything, hand the call to `fake` (nullptr puts things back).
using LaunchHook = bool (*)(const QString& program, const QStringList& args,
                            const QString& workingDir);
void SetLaunchHook(LaunchHook fake);

} // namespace telvo::platform
