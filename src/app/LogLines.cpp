#include "app/LogLines.h"

namespace telvo::core {

QString LogLines::text() const {
    QString out;
    for (auto it = m_lines.rbegin(); it != m_lines.rend(); ++it) {
        out += *it;
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
