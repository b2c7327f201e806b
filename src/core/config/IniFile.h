#pragma once
// The reader of Telvo.ini as a pure function: text in, tables and control values out. The window
// side applies what it found to the controls and shows the reports.

#include "core/config/CommandRec.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <optional>

namespace telvo::core {

using NamedText = QPair<QString, QString>; // (name, text)

struct StateSettingRow {
    QString Name;
    QString SelectCmd;
    QString SelectValue;
    QString RestoreCmd;
    QString RestoreValue;
    QList<NamedText> Parameters; // (name, cmd), 0-based
};

struct BaudRateRow {
    QString Rate;
    QString Code;
};

// Shared configuration state: defaults from InitDefaults, filled by the two passes.
// Tables are 1-based with an unused entry 0.
struct ConfigTables {
    QString Options;
    qint16 UserLevel = 0;
    qint16 InterRowSpace = 60;
    bool NoDeviceMode = false;
    qint16 MaxPorts = 16;
    QString UpdateUrl;
    QString ExitSpeed;
    QList<BaudRateRow> BaudRates;
    QString PortName;
    QString BaudName;
    QString TransferSpeed;
    QString FirmwareDir;
    bool LogToFile = true;
    bool AutoOpen = false;
    CommandTable Commands;
    QList<StateSettingRow> StateSettings;
    QList<NamedText> RemoteCodes;
    QList<NamedText> WebSites;

    ConfigTables(); // the defaults of InitDefaults
};

QList<BaudRateRow> DefaultBaudRates(); // 1-based, entry 0 unused

// What InitDefaults puts in lstRate: "?????" at index 0, then the rates of `rates` in order.
QStringList InitialRateList(const QList<BaudRateRow>& rates);

// Rows of a 1-based table, entry 0 not counted.
template <typename T> qsizetype TableRows(const QList<T>& table) {
    return table.isEmpty() ? 0 : table.size() - 1;
}

// The values of main-window controls that the reader looks at and sets. The caller fills them
// from the controls before a pass and writes them back after it.
struct IniControls {
    QString DeviceModel = QStringLiteral("Vorix"); // caption of DeviceModel
    QString txtFirmware;
    QStringList lstRate; // list texts as InitDefaults left them (InitialRateList), index 0 "?????"
    std::optional<bool> chkConfirm;
    std::optional<bool> chkDefaults;
    std::optional<bool> chkSaveRestore;
    std::optional<bool> chkSim;
    std::optional<QString> txtretry;
    std::optional<QString> txtTO;
    std::optional<QStringList> lstModelsOfMDL; // VORIXMODELS: "None" then the items
};

// What the reader tells the user, in order.
struct IniReport {
    enum Kind { Alert, MessageBox } kind;
    QString text;
};

// Returns the mode for the line, or 0 when the line has no "=" or its condition fails; the
// condition is cut out of `line`.
int FilterIniLine(QString& line, int mode, const IniControls& controls, const QString& options);

// One pass over the lines of the file. Reports come back in order: "Illegal File Transfer Speed
// In ini File" as Alert, the command parser's message boxes as MessageBox. A line that raises a
// run-time error (a number past 16 bits) is skipped like any other malformed line.
QList<IniReport> ReadIniText(int pass, const QStringList& lines, ConfigTables& tables,
                             IniControls& controls);

// Comment and trim steps of a line: trimmed, cut at the first apostrophe.
QString StripIniLine(const QString& line);

// The first line of the text that is not empty after stripping; empty when there is none.
QString FirstIniLine(const QStringList& lines);

// True when that first line is the word PROTOTYPE (any case): a template not yet initialised.
bool IsPrototypeFile(const QStringList& lines);

// Splits file bytes into lines: CR LF or LF, UTF-8 with Latin-1 for invalid bytes.
QStringList SplitTextLines(const QByteArray& bytes);

} // namespace telvo::core
