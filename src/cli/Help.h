#pragma once
#include <QString>

namespace telvo::cli {

// The tool's --help (command empty) or a command's, man-style.
QString HelpText(const QString& command);
QString VersionText();
// A usage error as told on standard error: the error, then one usage line (the command's form
// when the command is known) that sends to --help.
QString UsageText(const QString& error, const QString& command);

} // namespace telvo::cli
