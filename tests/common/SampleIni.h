#pragma once
// The sample Telvo.ini with the [SYSTEM] lines a test (or a screen) wants in place of its own.
// QtCore only, so that the tools that render the windows use it too.

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>

namespace telvo::test {

// The sample's port, rate and start-up lines: a test that brings its own device and start-up
// leaves them out (and puts in those it wants).
inline const QStringList kPortAndStartKeys{
    QStringLiteral("Port"), QStringLiteral("Baud"), QStringLiteral("Max Ports"),
    QStringLiteral("Auto Start"), QStringLiteral("Confirm Operations")};

// The key of an ini line as the tests compare keys: before its '=' (a bare key is all key),
// without spaces, in capitals.
inline QByteArray IniLineKey(const QByteArray& line) {
    const qsizetype eq = line.indexOf('=');
    return QByteArray(eq < 0 ? line : line.left(eq)).replace(' ', "").toUpper();
}

// `ini` with the lines `system` first in its [SYSTEM] section. Its own lines of the same keys, and
// of the keys named in `drop`, go (in whichever section); every line ends in CR LF.
inline QByteArray IniWithSystem(const QByteArray& ini, const QStringList& system,
                                const QStringList& drop = {}) {
    QList<QByteArray> gone;
    for (const QString& s : system + drop)
        gone << IniLineKey(s.toLatin1());
    QByteArray out;
    for (QByteArray line : ini.split('\n')) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.contains('=') && gone.contains(IniLineKey(line)))
            continue;
        out += line + "\r\n";
        if (line.trimmed() == "[SYSTEM]")
            for (const QString& s : system)
                out += s.toLatin1() + "\r\n";
    }
    return out;
}

// The project's sample, data/Telvo.ini of the source tree `sourceDir`.
inline QByteArray ReadSampleIni(const QString& sourceDir) {
    QFile f(sourceDir + QStringLiteral("/data/Telvo.ini"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

} // namespace telvo::test
