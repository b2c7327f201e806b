#include "core/config/IniFile.h"

#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

namespace telvo::core {

QList<BaudRateRow> DefaultBaudRates() {
    return {
        BaudRateRow{},
        {QStringLiteral("19200"), QStringLiteral("4")},
        {QStringLiteral("57600"), QStringLiteral("6")},
        {QStringLiteral("4800"), QStringLiteral("1")},
        {QStringLiteral("9600"), QStringLiteral("2")},
        {QStringLiteral("14400"), QStringLiteral("3")},
        {QStringLiteral("38400"), QStringLiteral("5")},
    };
}

QStringList InitialRateList(const QList<BaudRateRow>& rates) {
    QStringList list{QStringLiteral("?????")};
    for (int i = 1; i < rates.size(); ++i)
        list.append(rates.at(i).Rate);
    return list;
}

ConfigTables::ConfigTables()
    : BaudRates(DefaultBaudRates()), Commands(EmptyCommandTable()),
      StateSettings{StateSettingRow{}}, RemoteCodes{NamedText{}}, WebSites{NamedText{}} {}

namespace {

enum Mode { kSkip = 0, kSystem = 1, kSettings = 2, kCommands = 3, kRemoteCodes = 4, kWebSites = 5 };

template <typename T> void ensureEntryZero(QList<T>& table) {
    if (table.isEmpty())
        table.append(T{});
}

template <typename T> void emptyTable(QList<T>& table) {
    table = QList<T>{T{}};
}

bool conditionPasses(const QString& item, const IniControls& controls, const QString& options) {
    const QString prefix = item.left(2).toUpper();
    QString arg = TrimBlankLeft(item.mid(2));
    if (prefix == QStringLiteral("F:")) {
        // An empty firmware field passes every firmware test.
        return controls.txtFirmware.isEmpty() || !(Val(arg) > Val(controls.txtFirmware));
    }
    if (prefix != QStringLiteral("M:") && prefix != QStringLiteral("O:"))
        return true; // unknown tests pass
    bool negated = false;
    if (arg.startsWith(u'~')) {
        negated = true;
        arg = TrimBlankLeft(arg.mid(1));
    }
    if (prefix == QStringLiteral("M:")) {
        // "Vorix" is the model not yet known: positive tests pass and negated ones fail.
        const bool unknown = SameText(controls.DeviceModel, QStringLiteral("Vorix"));
        const bool same = SameText(controls.DeviceModel, arg);
        return negated ? !(same || unknown) : (same || unknown);
    }
    const bool present = ContainsText(options, arg);
    return negated ? !present : present;
}

bool trueTest(const QString& value) {
    return SquashUpper(value) == QStringLiteral("TRUE");
}

bool keyIs(const QString& key, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (key == QLatin1String(name))
            return true;
    }
    return false;
}

void readSystemLine(const QString& line, ConfigTables& tables, IniControls& controls,
                    QList<IniReport>& reports) {
    const int eq = line.indexOf(u'=');
    const QString key = SquashUpper(line.left(eq));
    QString value = TrimBlank(line.mid(eq + 1));

    if (keyIs(key, {"OPTIONS", "OPTION"})) {
        tables.Options = value.toUpper();
    } else if (key == QLatin1String("USERLEVEL")) {
        tables.UserLevel = CInt(Val(value));
    } else if (key == QLatin1String("INTERROWSPACE")) {
        tables.InterRowSpace = CInt(Val(value));
    } else if (key == QLatin1String("MODEL")) {
        if (value.startsWith(u'*')) {
            tables.NoDeviceMode = true;
            value.remove(0, 1);
        }
        controls.DeviceModel = value;
    } else if (key == QLatin1String("VORIXCONNECTED")) {
        tables.NoDeviceMode = value.toUpper() == QStringLiteral("FALSE");
    } else if (key == QLatin1String("CURRENTFIRMWARE")) {
        controls.txtFirmware = value;
    } else if (keyIs(key, {"MAXPORTS", "MAXIMUMPORTS", "PORTCOUNT"})) {
        tables.MaxPorts = CInt(Val(value));
    } else if (key == QLatin1String("TELVOUPDATEURL")) {
        tables.UpdateUrl = value;
    } else if (key == QLatin1String("EXITSPEED")) {
        tables.ExitSpeed = value;
    } else if (key == QLatin1String("BAUDRATES")) {
        // lstRate is left as InitDefaults filled it.
        emptyTable(tables.BaudRates);
        while (!value.isEmpty()) {
            QString item = ParseToken(value, QStringLiteral(","));
            BaudRateRow row;
            row.Rate = ParseToken(item, QStringLiteral(":"));
            row.Code = item;
            tables.BaudRates.append(row);
        }
    } else if (key == QLatin1String("VORIXMODELS")) {
        QStringList models{QStringLiteral("None")};
        while (!value.isEmpty())
            models.append(ParseToken(value, QStringLiteral(",")));
        controls.lstModelsOfMDL = models;
    } else if (key == QLatin1String("CONFIRMOPERATIONS")) {
        controls.chkConfirm = trueTest(value);
    } else if (key == QLatin1String("RESTOREDEFAULTS")) {
        controls.chkDefaults = trueTest(value);
    } else if (key == QLatin1String("MAXRETRY")) {
        controls.txtretry = value;
    } else if (key == QLatin1String("TIMEOUT")) {
        controls.txtTO = value;
    } else if (key == QLatin1String("PORT")) {
        tables.PortName = QStringLiteral("COM") + value;
    } else if (keyIs(key, {"BAUD", "SPEED"})) {
        tables.BaudName = value;
    } else if (keyIs(key, {"TRANSFERSPEED", "TRANSFERBAUD"})) {
        bool found = false;
        for (int i = 1; i < controls.lstRate.size() && !found; ++i)
            found = SameText(controls.lstRate.at(i), value);
        if (found)
            tables.TransferSpeed = value;
        else
            reports.append(
                {IniReport::Alert, QStringLiteral("Illegal File Transfer Speed In ini File")});
    } else if (key == QLatin1String("SAVESETTINGS")) {
        controls.chkSaveRestore = trueTest(value);
    } else if (key == QLatin1String("FIRMWAREFOLDER")) {
        // The system's separator; a folder written with "/" already ends in one.
        if (!value.endsWith(u'\\') && !value.endsWith(u'/'))
            value += u'\\';
        tables.FirmwareDir = value;
    } else if (key == QLatin1String("SIMULATION")) {
        controls.chkSim = trueTest(value);
    } else if (key == QLatin1String("LOGTOFILE")) {
        tables.LogToFile = value.toUpper() == QStringLiteral("TRUE");
    } else if (keyIs(key, {"AUTOOPEN", "AUTOSTART"})) {
        tables.AutoOpen = trueTest(value);
    }
}

// name = SelectCmd, SelectValue : RestoreCmd, RestoreValue ; [name:cmd, ...]
// Fields keep their quotes until their last cut, so a quoted value may hold any delimiter.
void readSettingLine(const QString& line, ConfigTables& tables) {
    QString rest = line;
    const QString name = ParseToken(rest, QStringLiteral("="));
    ensureEntryZero(tables.StateSettings);
    int index = 0;
    for (int i = 1; i < tables.StateSettings.size() && index == 0; ++i) {
        if (SameText(tables.StateSettings.at(i).Name, name))
            index = i;
    }
    if (index == 0) {
        tables.StateSettings.append(StateSettingRow{});
        index = tables.StateSettings.size() - 1;
    }
    StateSettingRow& row = tables.StateSettings[index];
    row.Parameters.clear();
    row.Name = name;

    QString head = ParseToken(rest, QStringLiteral(";"), true);
    QString tail = rest;
    QString select = ParseToken(head, QStringLiteral(":"), true);
    row.SelectCmd = ParseToken(select, QStringLiteral(","));
    row.SelectValue = DropQuotes(select);
    row.RestoreCmd = ParseToken(head, QStringLiteral(","));
    row.RestoreValue = DropQuotes(head);

    if (tail.size() >= 2 && tail.startsWith(u'[') && tail.endsWith(u']')) {
        tail = tail.mid(1, tail.size() - 2);
        while (!tail.isEmpty()) {
            QString item = ParseToken(tail, QStringLiteral(","), true);
            const QString paramName = ParseToken(item, QStringLiteral(":"));
            row.Parameters.append({paramName, DropQuotes(item)});
        }
    }
}

void readNamedLine(const QString& line, QList<NamedText>& table, bool replaceSameName) {
    QString rest = line;
    const QString name = ParseToken(rest, QStringLiteral("="));
    ensureEntryZero(table);
    if (replaceSameName) {
        for (int i = 1; i < table.size(); ++i) {
            if (SameText(table.at(i).first, name)) {
                table[i] = {name, rest};
                return;
            }
        }
    }
    table.append({name, rest});
}

// The mode a section line leaves behind. Pass 1 knows only [SYSTEM] and nothing ends it; pass 2
// ignores [SYSTEM], so that section must come first in the file.
int sectionMode(int pass, const QString& section, int mode, ConfigTables& tables) {
    if (section == QLatin1String("[SYSTEM]"))
        return pass == 1 ? kSystem : mode;
    if (pass != 2)
        return mode;
    if (section == QLatin1String("[SETTINGSBYSTATE]") ||
        section == QLatin1String("[GENERALSETTINGS]") || section == QLatin1String("[SETTINGS]"))
        return kSettings;
    if (section == QLatin1String("[COMMANDS]")) {
        tables.Commands = EmptyCommandTable();
        return kCommands;
    }
    if (section == QLatin1String("[REMOTECODES]")) {
        emptyTable(tables.RemoteCodes);
        return kRemoteCodes;
    }
    if (section == QLatin1String("[WEBSITES]"))
        return kWebSites;
    return mode;
}

} // namespace

int FilterIniLine(QString& line, int mode, const IniControls& controls, const QString& options) {
    const int eq = line.indexOf(u'=');
    if (eq < 0)
        return kSkip;
    const int open = line.left(eq).indexOf(u'(');
    if (open < 0)
        return mode;
    // An opening bracket that is never closed makes the line malformed: it is skipped.
    const int close = line.indexOf(u')', open);
    if (close < 0)
        return kSkip;
    QString list = line.mid(open + 1, close - open - 1);
    line = line.left(open) + line.mid(close + 1);
    try {
        while (!list.isEmpty()) {
            if (!conditionPasses(ParseToken(list, QStringLiteral(",")), controls, options))
                return kSkip;
        }
    } catch (const RuntimeError&) {
        return kSkip; // a firmware number past range: the line is malformed
    }
    return mode;
}

QList<IniReport> ReadIniText(int pass, const QStringList& lines, ConfigTables& tables,
                             IniControls& controls) {
    QList<IniReport> reports;
    ensureEntryZero(tables.BaudRates);
    ensureEntryZero(tables.Commands);
    ensureEntryZero(tables.StateSettings);
    ensureEntryZero(tables.RemoteCodes);
    ensureEntryZero(tables.WebSites);

    const auto messageBox = [&reports](const QString& text) {
        reports.append({IniReport::MessageBox, text});
    };

    int mode = kSkip;
    for (const QString& raw : lines) {
        QString line = StripIniLine(raw);
        if (line.isEmpty())
            continue;
        if (line.startsWith(u'[')) {
            mode = sectionMode(pass, SquashUpper(line), mode, tables);
            continue;
        }
        if (mode == kSkip)
            continue;
        try {
            switch (FilterIniLine(line, mode, controls, tables.Options)) {
            case kSystem:
                readSystemLine(line, tables, controls, reports);
                break;
            case kSettings:
                readSettingLine(line, tables);
                break;
            case kCommands:
                ParseCommandLine(line, tables.Commands, messageBox);
                break;
            case kRemoteCodes:
                readNamedLine(line, tables.RemoteCodes, true);
                break;
            case kWebSites:
                readNamedLine(line, tables.WebSites, false);
                break;
            default:
                break;
            }
        } catch (const RuntimeError&) {
            // A number too large for its field: the line is malformed and skipped.
        }
    }
    return reports;
}

QString StripIniLine(const QString& line) {
    const QString trimmed = TrimBlank(line);
    const int quote = trimmed.indexOf(u'\'');
    return quote < 0 ? trimmed : trimmed.left(quote);
}

QString FirstIniLine(const QStringList& lines) {
    for (const QString& raw : lines) {
        QString line = StripIniLine(raw);
        if (!line.isEmpty())
            return line;
    }
    return {};
}

bool IsPrototypeFile(const QStringList& lines) {
    // The comment-cut line is not trimmed again: "PROTOTYPE ' note" is no template, which also
    // keeps the first-run rewrite (that drops only a bare "Prototype" key) from looping.
    return SameText(FirstIniLine(lines), QStringLiteral("PROTOTYPE"));
}

namespace {

// The code point of the UTF-8 sequence at `i`, or -1 when the bytes there are not valid UTF-8.
qint32 decodeUtf8(const QByteArray& bytes, qsizetype i, int& length) {
    const auto byte = [&](qsizetype k) { return static_cast<quint8>(bytes.at(k)); };
    const quint8 lead = byte(i);
    quint32 cp = 0;
    quint32 minimum = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, cp = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, cp = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, cp = lead & 0x07, minimum = 0x10000;
    } else {
        return -1;
    }
    if (i + length > bytes.size())
        return -1;
    for (int k = 1; k < length; ++k) {
        const quint8 next = byte(i + k);
        if ((next & 0xC0) != 0x80)
            return -1;
        cp = (cp << 6) | (next & 0x3F);
    }
    if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return -1;
    return static_cast<qint32>(cp);
}

QString decodeText(const QByteArray& bytes) {
    QString text;
    text.reserve(bytes.size());
    qsizetype i = 0;
    // A byte-order mark would hide the first section line.
    if (bytes.startsWith("\xEF\xBB\xBF"))
        i = 3;
    while (i < bytes.size()) {
        const quint8 b = static_cast<quint8>(bytes.at(i));
        if (b < 0x80) {
            text += QChar(b);
            ++i;
            continue;
        }
        int length = 1;
        const qint32 cp = decodeUtf8(bytes, i, length);
        if (cp < 0) {
            text += QChar(b); // Latin-1
            ++i;
        } else {
            const char32_t c = static_cast<char32_t>(cp);
            text += QString::fromUcs4(&c, 1);
            i += length;
        }
    }
    return text;
}

} // namespace

QStringList SplitTextLines(const QByteArray& bytes) {
    const QString text = decodeText(bytes);
    QStringList lines = text.split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast(); // the line end of the last line, or no text at all
    for (QString& line : lines) {
        if (line.endsWith(u'\r'))
            line.chop(1);
    }
    return lines;
}

} // namespace telvo::core
