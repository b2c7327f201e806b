#pragma once
// The program's own command line: the start-up words, which stand anywhere as text, and the
// few options a desktop program answers before it opens a window.

#include <QString>
#include <QStringList>

namespace telvo::core {

struct StartupLine {
    enum Action { Run, Help, Version, Error } action = Run;
    QString output; // what to print (standard output for Help and Version, error for Error)
};

// `args` without the program's own name. An argument starting with "--" is an option unless it
// holds one of the start-up words or is the toolkit's own (--platform, --style ...); an unknown
// option is an error with the usage line.
StartupLine ReadStartupLine(const QStringList& args);
QString UsageLine();
QString HelpText();
QString VersionText();

} // namespace telvo::core
