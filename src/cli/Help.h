#pragma once
#include <QString>

namespace telvo::cli {

// The tool's --help (command empty) or a command's, man-style.
QString HelpText(const QString& command);
QString VersionText();

} // namespace telvo::cli
