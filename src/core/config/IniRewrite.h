#pragma once
// The first-run rewrites of Telvo.ini as pure functions over its lines. The INI window gathers
// the user's answers and does the file ritual around them.

#include <QString>
#include <QStringList>

namespace telvo::core {

// What the user chose in the first-run window.
struct IniChoices {
    QString Model;
    QString Baud;
    bool FRKDI = false;
    bool SDI = false;
    QString Firmware; // "Unknown" writes an empty version
    bool Beginner = true;
    bool AutoStart = false;
    QString PortEntry; // "COM3": the digits behind "COM" are written
    bool DeviceConnected = true;
};

// The key of a line for the rewrites: the trimmed text before "=", or the whole trimmed line.
// Blanks inside stay: "Current Firmware" is not "CurrentFirmware" here.
QString RewriteKey(const QString& line);

// The lines of Telvo.new written from `choices`: known keys rewritten, "Prototype" dropped,
// every other line trimmed.
QStringList RewriteForUpdate(const QStringList& lines, const IniChoices& choices);
// The template again: "PROTOTYPE" first, the known keys back at their blank values.
QStringList RewriteForReset(const QStringList& lines);
// Every line as read, except those of `key`, which become key + " = " + value.
QStringList RewriteItem(const QStringList& lines, const QString& key, const QString& value);

// What the first-run window reads of [SYSTEM]: the rates, the models, the port count.
struct IniSystemLists {
    QStringList BaudRates;
    QStringList Models;
    bool HasMaxPorts = false;
    QString MaxPorts;
};
IniSystemLists ReadInitialLists(const QStringList& lines);

} // namespace telvo::core
