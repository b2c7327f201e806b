#pragma once
#include <QString>

namespace telvo::platform {

// The program's folder: TELVO_HOME when set, otherwise the executable's folder. No closing
// separator, as the classic App.Path.
QString AppPath();
// A file of the program's folder; the name is looked up without regard to letter case, so that
// "FileList.frl" and "filelist.frl" are one file.
QString AppFile(const QString& name);
// Looks `name` up in `folder` ignoring case; the exact-case path when nothing matches.
QString FindFileNoCase(const QString& folder, const QString& name);
// A path written with backslashes, as the system writes them, in the platform's form.
QString NativePath(const QString& path);

} // namespace telvo::platform
