#include "core/log/LogLines.h"

namespace telvo::core {

QString LogLines::text() const {
    QString out;
    for (qsizetype i = 0; i < count(); ++i) {
        out += row(i);
        out += QStringLiteral("\r\n");
    }
    return out;
}

QString LogTimeText(const QTime& t) {
    return QStringLiteral("%1:%2.%3")
        .arg(t.minute(), 2, 10, QLatin1Char('0'))
        .arg(t.second(), 2, 10, QLatin1Char('0'))
        .arg(t.second());
}

} // namespace telvo::core
