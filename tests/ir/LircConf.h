#pragma once
// A lircd.conf remote as the IR tests read it back.

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace telvo::test {

// A lircd.conf remote, read back: its settings and its buttons with their numbers.
struct Conf {
    QStringList comments;
    QMap<QString, QString> settings;
    QStringList names;
    QList<QList<qint32>> codes;
};
inline Conf parseConf(const QByteArray& bytes) {
    Conf c;
    bool inCodes = false;
    for (const QString& raw : QString::fromUtf8(bytes).split(u'\n')) {
        const QString line = raw.trimmed();
        if (line.startsWith(u'#')) {
            c.comments << line.mid(2);
            continue;
        }
        const QStringList w = line.split(u' ', Qt::SkipEmptyParts);
        if (w.isEmpty())
            continue;
        if (w.size() == 2 && w[0] == u"begin" && w[1] == u"raw_codes")
            inCodes = true;
        else if (w.size() == 2 && w[0] == u"end" && w[1] == u"raw_codes")
            inCodes = false;
        else if (inCodes && w[0] == u"name") {
            c.names << w.value(1);
            c.codes << QList<qint32>{};
        } else if (inCodes) {
            for (const QString& n : w)
                c.codes.last() << n.toInt();
        } else if (w.size() == 2) {
            c.settings[w[0]] = w[1];
        }
    }
    return c;
}

} // namespace telvo::test
