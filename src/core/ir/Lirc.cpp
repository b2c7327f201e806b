#include "core/ir/Lirc.h"

#include "core/text/Classic.h"

#include <algorithm>
#include <cmath>

namespace telvo::core::ir {

namespace {

// The Pronto unit: a carrier word counts periods of this many microseconds.
constexpr double kProntoClock = 0.241246;
// LIRC's matching tolerance, written into the remote: relative (%) and absolute (us).
constexpr int kEps = 30;
constexpr int kAeps = 100;
// Numbers of a raw code per line, as LIRC's own tools lay them out.
constexpr int kPerLine = 6;

} // namespace

std::optional<RawCode> ProntoDurations(const QString& pronto) {
    const QStringList words = pronto.split(u' ', Qt::SkipEmptyParts);
    if (words.size() < 4)
        return std::nullopt;
    QList<qint64> w;
    for (const QString& t : words) {
        bool ok = false;
        const qint64 v = t.toLongLong(&ok, 16);
        if (!ok || v < 0)
            return std::nullopt;
        w << v;
    }
    if (w[0] != 0 || w[1] <= 0)
        return std::nullopt;
    const double period = double(w[1]) * kProntoClock;
    const qint64 declared = 2 * (w[2] + w[3]);
    const qint64 present = std::min<qint64>(declared, w.size() - 4);
    if (present <= 0)
        return std::nullopt;
    RawCode code;
    code.frequency = qint32(RoundEven(1000000.0 / period));
    for (qint64 i = 0; i < present; ++i)
        code.durations << qint32(RoundEven(double(w[4 + i]) * period));
    return code;
}

qint32 LeadOut(const RawCode& code) {
    return code.durations.size() % 2 == 0 && !code.durations.isEmpty() ? code.durations.last() : 0;
}

QString Mode2Text(const RawCode& code) {
    QString out = QStringLiteral("space %1\n").arg(kPressSilence);
    const qsizetype n = code.durations.size();
    for (qsizetype i = 0; i < n; ++i) {
        qint32 d = code.durations.at(i);
        if (i == n - 1 && i % 2 == 1)
            d += kPressSilence;
        out += (i % 2 == 0 ? QStringLiteral("pulse %1\n") : QStringLiteral("space %1\n")).arg(d);
    }
    if (n % 2 == 1)
        out += QStringLiteral("space %1\n").arg(kPressSilence);
    return out;
}

QString LircButtonName(const QString& name) {
    QString out = name.toUpper();
    for (QChar& c : out)
        if (!((c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9')))
            c = u'_';
    return out;
}

QString LircButtonName(const QString& command, const QString& value) {
    return LircButtonName(command + u'_' + value);
}

bool LircRemote::taken(const QString& name) const {
    return std::any_of(m_buttons.begin(), m_buttons.end(),
                       [&name](const LircButton& b) { return b.name == name; });
}

QString LircRemote::add(const QString& name, const RawCode& code) {
    const QString base = LircButtonName(name);
    QString unique = base;
    for (int n = 2; taken(unique); ++n)
        unique = base + u'_' + QString::number(n);
    m_buttons << LircButton{unique, code};
    return unique;
}

QString LircRemote::conf(const QStringList& header) const {
    QString out;
    for (const QString& line : header)
        out += QStringLiteral("# ") + line + u'\n';
    if (!header.isEmpty())
        out += u'\n';
    qint32 gap = 0;
    for (const LircButton& b : m_buttons)
        gap = std::max(gap, LeadOut(b.code));
    const qint32 frequency = m_buttons.isEmpty() ? 0 : m_buttons.first().code.frequency;
    out += QStringLiteral("begin remote\n\n");
    out += QStringLiteral("  name  %1\n").arg(QLatin1String(kLircRemoteName));
    out += QStringLiteral("  flags RAW_CODES\n");
    out += QStringLiteral("  eps            %1\n").arg(kEps);
    out += QStringLiteral("  aeps          %1\n\n").arg(kAeps);
    out += QStringLiteral("  frequency    %1\n").arg(frequency);
    out += QStringLiteral("  gap          %1\n\n").arg(gap);
    out += QStringLiteral("      begin raw_codes\n");
    for (const LircButton& b : m_buttons) {
        out += QStringLiteral("\n          name %1\n").arg(b.name);
        QList<qint32> d = b.code.durations;
        if (d.size() % 2 == 0)
            d.removeLast(); // the lead-out is the gap
        for (qsizetype i = 0; i < d.size(); i += kPerLine) {
            QStringList line;
            for (qsizetype j = i; j < std::min<qsizetype>(i + kPerLine, d.size()); ++j)
                line << QStringLiteral("%1").arg(d.at(j), 7);
            out += QStringLiteral("         ") + line.join(QString()) + u'\n';
        }
    }
    out += QStringLiteral("\n      end raw_codes\n\nend remote\n");
    return out;
}

} // namespace telvo::core::ir
