#pragma once
// The lines of Settings.txt: how a saved answer is written, and how a line is read back.

#include <QByteArray>
#include <QString>

namespace telvo::core {

// Code and value of a saved answer, side by side: the command (characters 6, 7) and the value
// from character 9 for as many characters as the length field (characters 4, 5, read as a
// decimal number) less 4. A length that comes out below 0 gives no value.
QString SavedAnswer(const QString& reply);

// "SetParameter=" name ", " code value
QString PlainSettingsLine(const QString& name, const QString& answer);
// "SetState=" state "," restoreCmd restoreValue "; SetParameter=" parameter ", " code value
QString StateSettingsLine(const QString& state, const QString& restoreCmd,
                          const QString& restoreValue, const QString& parameter,
                          const QString& answer);

// The first word of a state's name in upper case: "Input 1" gives "INPUT".
QString StateType(const QString& stateName);

// A frame body for a "30" set from a saved text: its first two characters, NUL, the rest, NUL.
QString SetBody(const QString& saved);

// One line of the file, cut as the restore cuts it.
struct SettingsLine {
    bool isState = false; // the first 8 characters are "SetState"
    QString state;        // state lines: the state's name
    QString setBody;      // state lines: the body that sets the state
    QString stateType;    // state lines: StateType(state)
    QString parameter;    // the parameter's (or plain row's) name
    QString item;         // code and value as saved
};
SettingsLine ParseSettingsLine(const QString& line);

// Why `bytes` is not a settings file ("line 3 is not a setting: ..."), or empty when every line
// is one the save writes. Checked before a restore sends anything.
QString SettingsFileProblem(const QByteArray& bytes);

} // namespace telvo::core
