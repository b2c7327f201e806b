#include "core/support/UpdateList.h"

#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

namespace telvo::core {

namespace {
const QString kCrLf = QStringLiteral("\r\n");
constexpr int kInvalidCall = 5;
} // namespace

QString ModelPrefix(const QString& model, bool debuggerMode) {
    if (debuggerMode)
        return {};
    static const std::pair<const char*, const char*> kPrefixes[] = {{"Gorda", "gorda_"},
                                                                    {"Fenna", "fenna_"},
                                                                    {"Hesta", "hesta_"},
                                                                    {"Jorn", "jorn_"},
                                                                    {"Jorn+", "jornp_"}};
    for (const auto& [word, prefix] : kPrefixes)
        if (ContainsText(model, QLatin1String(word)))
            return QLatin1String(prefix);
    return {};
}

QString NotesUrlFor(const QString& fileUrl) {
    if (fileUrl.size() < 3)
        throw RuntimeError(kInvalidCall, QStringLiteral("Invalid procedure call or argument"));
    return fileUrl.left(fileUrl.size() - 3) + QStringLiteral("php");
}

QString UnsafeNameReason(const QString& name) {
    if (name.isEmpty())
        return QStringLiteral("it is empty");
    if (name.contains(u'/') || name.contains(u'\\'))
        return QStringLiteral("it holds a path separator");
    if (name.contains(QStringLiteral("..")))
        return QStringLiteral("it holds \"..\"");
    if (name.contains(u':'))
        return QStringLiteral("it holds a drive letter or colon");
    for (const QChar c : name)
        if (c.unicode() < 32 || c.unicode() == 127 || c.category() == QChar::Other_Control)
            return QStringLiteral("it holds a control character");
    return {};
}

UpdateListResult ParseUpdateList(const QString& response, const QString& prefix) {
    UpdateListResult result;
    result.entries.append(UpdateEntry{});
    const qsizetype n = response.size();
    qsizetype pos = 0;
    bool noMoreLineEnds = false;
    // One cut: the text up to the next CR LF, and the rest behind it. Without a CR LF the cut
    // gives an empty line and drops one character.
    auto cut = [&]() -> QString {
        if (!noMoreLineEnds) {
            const qsizetype p = response.indexOf(kCrLf, pos);
            if (p >= 0) {
                QString line = response.mid(pos, p - pos);
                pos = p + 2;
                return line;
            }
            noMoreLineEnds = true;
        }
        ++pos;
        return {};
    };

    QString line = QStringLiteral("1");
    while (!line.isEmpty() && pos < n)
        line = cut();
    if (!line.isEmpty())
        return result; // a response that is all header

    while (pos < n) {
        if (noMoreLineEnds) {
            // Every line left is empty: it matches only the empty prefix, and then its address
            // is too short.
            if (prefix.isEmpty())
                NotesUrlFor(QString());
            break;
        }
        line = cut();
        if (!line.startsWith(prefix, Qt::CaseInsensitive))
            continue;
        UpdateEntry e;
        QString rest = line;
        e.FileName = ParseToken(rest, QStringLiteral(","));
        e.FileUrl = rest;
        e.NotesUrl = NotesUrlFor(e.FileUrl);
        const QString why = UnsafeNameReason(e.FileName);
        if (!why.isEmpty()) {
            result.refused << QStringLiteral("The file name '") + Printable(e.FileName) +
                                  QStringLiteral("' was refused: ") + why;
            continue;
        }
        result.entries.append(e);
    }
    return result;
}

QString FormatThousands(qint64 n) {
    const bool negative = n < 0;
    QString digits = QString::number(negative ? -n : n);
    while (digits.size() < 6)
        digits.prepend(u'0');
    QString out;
    const qsizetype len = digits.size();
    for (qsizetype i = 0; i < len; ++i) {
        if (i > 0 && (len - i) % 3 == 0)
            out += u',';
        out += digits[i];
    }
    return negative ? u'-' + out : out;
}

} // namespace telvo::core
