#include "platform/os/AppPath.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace telvo::platform {

QString InstalledSample() {
    const QString sample = QDir::cleanPath(QCoreApplication::applicationDirPath() +
                                           QStringLiteral("/../share/telvo/Telvo.ini"));
    return QFileInfo::exists(sample) ? sample : QString();
}

namespace {
// Decided once: where the executable stands does not change during a run.
QString ownFolder() {
    static const QString folder = [] {
        QString exe = QCoreApplication::applicationDirPath();
        if (InstalledSample().isEmpty() && QFileInfo(exe).isWritable())
            return exe;
        return QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
    }();
    return folder;
}
} // namespace

QString AppPath() {
    const QString home = qEnvironmentVariable("TELVO_HOME");
    if (!home.isEmpty())
        return QDir::cleanPath(home);
    return ownFolder();
}

void PrepareAppFolder() {
    const QString folder = AppPath();
    if (!qEnvironmentVariable("TELVO_HOME").isEmpty() ||
        folder == QCoreApplication::applicationDirPath())
        return;
    QDir().mkpath(folder);
    const QString sample = InstalledSample();
    if (sample.isEmpty() || QFileInfo::exists(AppFile(QStringLiteral("Telvo.ini"))))
        return;
    const QString target = QDir(folder).filePath(QStringLiteral("Telvo.ini"));
    // The installed copy is read-only for the user; theirs must take the first-run rewrite.
    if (QFile::copy(sample, target))
        QFile::setPermissions(target, QFile::permissions(target) | QFileDevice::WriteOwner);
}

QString FindFileNoCase(const QString& folder, const QString& name) {
    QString exact = QDir(folder).filePath(name);
    if (QFileInfo::exists(exact))
        return exact;
    const QStringList entries =
        QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& e : entries)
        if (e.compare(name, Qt::CaseInsensitive) == 0)
            return QDir(folder).filePath(e);
    return exact;
}

QString AppFile(const QString& name) {
    return FindFileNoCase(AppPath(), name);
}

namespace {
QString& jobFolder() {
    static QString folder;
    return folder;
}
} // namespace

void SetJobFolder(const QString& folder) {
    jobFolder() = folder;
}

QString JobFolder() {
    return jobFolder().isEmpty() ? AppPath() : jobFolder();
}

QString JobFile(const QString& name) {
    return FindFileNoCase(JobFolder(), name);
}

QString NativePath(const QString& path) {
    QString p = path;
#ifndef Q_OS_WIN
    p.replace(QLatin1Char('\\'), QLatin1Char('/'));
#endif
    return p;
}

} // namespace telvo::platform
