#include "core/settings/SettingsFile.h"

#include "core/text/Classic.h"
#include "core/link/Protocol.h"
#include "core/text/MinorSubs.h"

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

} // namespace telvo::core
