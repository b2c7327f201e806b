#include "platform/AppPath.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace telvo::platform {

QString AppPath() {
    const QString home = qEnvironmentVariable("TELVO_HOME");
    if (!home.isEmpty()) return QDir::cleanPath(home);
    return QCoreApplication::applicationDirPath();
}

QString FindFileNoCase(const QString& folder, const QString& name) {
    QString exact = QDir(folder).filePath(name);
    if (QFileInfo::exists(exact)) return exact;
    const QStringList entries = QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& e : entries)
        if (e.compare(name, Qt::CaseInsensitive) == 0) return QDir(folder).filePath(e);
    return exact;
}

QString AppFile(const QString& name) { return FindFileNoCase(AppPath(), name); }

QString NativePath(const QString& path) {
    QString p = path;
#ifndef Q_OS_WIN
    p.replace(QLatin1Char('\\'), QLatin1Char('/'));
#endif
    return p;
}

} // namespace telvo::platform
