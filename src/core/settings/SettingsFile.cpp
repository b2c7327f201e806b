#include "core/settings/SettingsFile.h"

#include "core/link/Protocol.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

#include <QByteArrayList>

namespace telvo::core {

QString SavedAnswer(const QString& reply) {
    // The length is read as decimal digits here, unlike the model and firmware answers.
    const int length = int(Val(Mid(reply, 4, 2))) - 4;
    return Mid(reply, 6, 2) + Mid(reply, 9, length < 0 ? 0 : length);
}

QString PlainSettingsLine(const QString& name, const QString& answer) {
    return QStringLiteral("SetParameter=") + name + QStringLiteral(", ") + answer;
}

QString StateSettingsLine(const QString& state, const QString& restoreCmd,
                          const QString& restoreValue, const QString& parameter,
                          const QString& answer) {
    return QStringLiteral("SetState=") + state + QStringLiteral(",") + restoreCmd + restoreValue +
           QStringLiteral("; SetParameter=") + parameter + QStringLiteral(", ") + answer;
}

QString StateType(const QString& stateName) {
    const QString name = TrimBlank(stateName);
    const qsizetype blank = name.indexOf(u' ');
    return (blank < 0 ? name : name.left(blank)).toUpper();
}

QString SetBody(const QString& saved) {
    return Left(saved, 2) + NUL() + Mid(saved, 3) + NUL();
}

SettingsLine ParseSettingsLine(const QString& line) {
    SettingsLine out;
    QString rest = line;
    // Words are compared ignoring case, this one as every other.
    out.isState = Left(line, 8).compare(QLatin1String("SetState"), Qt::CaseInsensitive) == 0;
    ParseToken(rest, QStringLiteral("="));
    if (out.isState) {
        out.state = ParseToken(rest, QStringLiteral(","));
        out.setBody = SetBody(ParseToken(rest, QStringLiteral(";")));
        out.stateType = StateType(out.state);
        ParseToken(rest, QStringLiteral("="));
    }
    out.parameter = ParseToken(rest, QStringLiteral(","));
    out.item = rest;
    return out;
}

namespace {

// A saved item: a two-character code, then the value (which may be empty).
bool isItem(const QString& item) {
    return item.size() >= 2 && item.at(0).isLetterOrNumber() && item.at(1).isLetterOrNumber();
}

bool isSettingsLine(const QString& line) {
    static const QLatin1String state("SetState="), parameter("SetParameter=");
    const SettingsLine l = ParseSettingsLine(line);
    if (l.isState) {
        const int semi = line.indexOf(QLatin1Char(';'));
        return line.startsWith(state, Qt::CaseInsensitive) && !l.state.trimmed().isEmpty() &&
               semi > 0 &&
               line.mid(semi + 1).trimmed().startsWith(parameter, Qt::CaseInsensitive) &&
               !l.parameter.trimmed().isEmpty() && isItem(l.item.trimmed());
    }
    return line.startsWith(parameter, Qt::CaseInsensitive) && line.contains(QLatin1Char(',')) &&
           !l.parameter.trimmed().isEmpty() && isItem(l.item.trimmed());
}

} // namespace

QString SettingsFileProblem(const QByteArray& bytes) {
    if (bytes.contains('\0'))
        return QStringLiteral("it is not text");
    int n = 0, settings = 0;
    for (QByteArray raw : bytes.split('\n')) {
        ++n;
        while (raw.endsWith('\r'))
            raw.chop(1);
        if (raw.trimmed().isEmpty())
            continue;
        const QString line = QString::fromLatin1(raw);
        if (!isSettingsLine(line))
            return QStringLiteral("line %1 is not a saved setting: ").arg(n) + line.left(60);
        ++settings;
    }
    return settings == 0 ? QStringLiteral("it holds no settings") : QString();
}

} // namespace telvo::core
