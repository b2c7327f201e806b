#pragma once
#include <QString>

namespace telvo::platform {

// The program's folder: TELVO_HOME when set; else, for an installed program (the sample
// Telvo.ini in <prefix>/share/telvo beside <prefix>/bin) or one whose folder it may not write,
// the user's data folder (QStandardPaths::AppDataLocation); else the executable's folder. No
// closing separator, as the classic App.Path.
QString AppPath();
// The installed sample Telvo.ini, or empty when the program runs from its build tree.
QString InstalledSample();
// An installed program's first start: the user's data folder is made and seeded with the
// sample Telvo.ini (the first-run windows then do the rest). Nothing when Telvo.ini is there
// or the folder is TELVO_HOME or the executable's.
void PrepareAppFolder();
// A file of the program's folder; the name is looked up without regard to letter case, so that
// "FileList.frl" and "filelist.frl" are one file.
QString AppFile(const QString& name);
// The folder of one device's working files (LogFile.txt, Settings.txt, RestartLoader.txt,
// LoadSettings.txt, the loader's and IR tool's temporary files): the program's folder unless a
// run of the command line gave each port its own. Empty `folder` goes back to the program's.
void SetJobFolder(const QString& folder);
QString JobFolder();
// A file of the job's folder, looked up as AppFile looks.
QString JobFile(const QString& name);
// Looks `name` up in `folder` ignoring case; the exact-case path when nothing matches.
QString FindFileNoCase(const QString& folder, const QString& name);
// A path written with backslashes, as the system writes them, in the platform's form.
QString NativePath(const QString& path);

} // namespace telvo::platform
