#include "core/config/IniRewrite.h"

#include "core/config/IniFile.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

namespace telvo::core {

namespace {
bool keyIs(const QString& key, std::initializer_list<const char*> names) {
    for (const char* name : names)
        if (SameText(key, QLatin1String(name)))
            return true;
    return false;
}

QString optionsLine(bool frkdi, bool sdi) {
    if (!frkdi && !sdi)
        return QStringLiteral("Options = None");
    QString list;
    if (frkdi)
        list += QStringLiteral("FRKDI ");
    if (sdi)
        list += QStringLiteral("SDI ");
    return QStringLiteral("Options = ") + TrimBlank(list);
}
} // namespace

QString RewriteKey(const QString& line) {
    const QString trimmed = TrimBlank(line);
    const qsizetype eq = trimmed.indexOf(QLatin1Char('='));
    return TrimBlank(eq < 0 ? trimmed : trimmed.left(eq));
}

QStringList RewriteForUpdate(const QStringList& lines, const IniChoices& c) {
    QStringList out;
    for (const QString& raw : lines) {
        const QString line = TrimBlank(raw);
        const QString key = RewriteKey(line);
        if (keyIs(key, {"Prototype"}))
            continue;
        if (keyIs(key, {"Model"})) {
            out << QStringLiteral("Model = ") + c.Model;
        } else if (keyIs(key, {"Baud"})) {
            out << QStringLiteral("Baud = ") + c.Baud;
        } else if (keyIs(key, {"Option", "Options"})) {
            out << optionsLine(c.FRKDI, c.SDI);
        } else if (keyIs(key, {"Current Firmware"})) {
            const bool unknown = SameText(c.Firmware, QStringLiteral("Unknown"));
            out << QStringLiteral("Current Firmware = ") + (unknown ? QString() : c.Firmware);
        } else if (keyIs(key, {"User Level"})) {
            out << (c.Beginner ? QStringLiteral("User Level = 1")
                               : QStringLiteral("User Level = 0"));
        } else if (keyIs(key, {"Auto Start"})) {
            out << (c.AutoStart ? QStringLiteral("Auto Start = True")
                                : QStringLiteral("Auto Start = False"));
        } else if (keyIs(key, {"Port"})) {
            out << QStringLiteral("Port = ") + Mid(c.PortEntry, 4);
        } else if (keyIs(key, {"Vorix Connected"})) {
            out << (c.DeviceConnected ? QStringLiteral("Vorix Connected = True")
                                      : QStringLiteral("Vorix Connected = False"));
        } else {
            out << line;
        }
    }
    return out;
}

QStringList RewriteForReset(const QStringList& lines) {
    QStringList out{QStringLiteral("PROTOTYPE")};
    for (const QString& raw : lines) {
        const QString line = TrimBlank(raw);
        const QString key = RewriteKey(line);
        if (keyIs(key, {"Prototype"}))
            continue;
        if (keyIs(key, {"Model"}))
            out << QStringLiteral("Model = ");
        else if (keyIs(key, {"Baud"}))
            out << QStringLiteral("Baud = 19200");
        else if (keyIs(key, {"Option", "Options"}))
            out << QStringLiteral("Options = None");
        else if (keyIs(key, {"Current Firmware"}))
            out << QStringLiteral("Current Firmware = ");
        else if (keyIs(key, {"User Level"}))
            out << QStringLiteral("User Level = 0");
        else if (keyIs(key, {"Auto Start"}))
            out << QStringLiteral("Auto Start = False");
        else if (keyIs(key, {"Port"}))
            out << QStringLiteral("Port = 1");
        else if (keyIs(key, {"Vorix Connected"}))
            out << QStringLiteral("Vorix Connected = True");
        else
            out << line;
    }
    return out;
}

QStringList RewriteItem(const QStringList& lines, const QString& key, const QString& value) {
    QStringList out;
    for (const QString& line : lines) {
        if (TrimBlank(line).contains(QLatin1Char('=')) && SameText(RewriteKey(line), key))
            out << key + QStringLiteral(" = ") + value;
        else
            out << line;
    }
    return out;
}

IniSystemLists ReadInitialLists(const QStringList& lines) {
    IniSystemLists lists;
    bool inSystem = false;
    for (const QString& raw : lines) {
        const QString line = StripIniLine(raw);
        if (line.isEmpty())
            continue;
        if (line.startsWith(QLatin1Char('['))) {
            // The first section after [SYSTEM] ends the reading.
            if (SquashUpper(line) != QLatin1String("[SYSTEM]")) {
                if (inSystem)
                    break;
                continue;
            }
            inSystem = true;
            continue;
        }
        if (!inSystem)
            continue;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (eq < 0)
            continue;
        const QString key = TrimBlank(line.left(eq));
        QString value = TrimBlank(line.mid(eq + 1));
        if (SameText(key, QStringLiteral("Baud Rates"))) {
            lists.BaudRates.clear();
            while (!value.isEmpty()) {
                QString item = ParseToken(value, QStringLiteral(","));
                lists.BaudRates << ParseToken(item, QStringLiteral(":"));
            }
        } else if (SameText(key, QStringLiteral("Vorix Models"))) {
            lists.Models.clear();
            while (!value.isEmpty())
                lists.Models << ParseToken(value, QStringLiteral(","));
        } else if (SameText(key, QStringLiteral("Max Ports"))) {
            lists.HasMaxPorts = true;
            lists.MaxPorts = value;
        }
    }
    return lists;
}

} // namespace telvo::core
