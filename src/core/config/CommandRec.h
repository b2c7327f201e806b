#pragma once
// One [COMMANDS] line of Telvo.ini as a record, and its parser.

#include <QList>
#include <QString>
#include <functional>

namespace telvo::core {

struct ValueRec {
    qint16 Value = 0;
    QString Text;
};

struct CommandRec {
    QString Name;
    QString Cmd;
    QString MinText;
    QString MaxText;
    qint16 Decimals = 0;
    bool IsInteger = false;
    bool IsByte = false;
    bool IsRange = false;
    bool IsList = false;
    QList<ValueRec> Values; // 1-based: entry 0 exists and is unused
    QString Tail;
    QString Kind;
    qint16 ControlIndex = 0;
    qint16 Panel = 0;
    bool ReadOnly = false;
    bool WriteOnly = false;
    bool NotInIR = false;
    QString Action;
    QString RangeText;
};

// 1-based table: entry 0 exists and is unused.
using CommandTable = QList<CommandRec>;

// Parses one line that reached the [COMMANDS] handler into `commands` (overwriting a record of
// the same name, else appending). A badly formed panel number is reported through `messageBox`
// with the system's words; the line is used as it stands all the same.
void ParseCommandLine(const QString& line, CommandTable& commands,
                      const std::function<void(const QString&)>& messageBox);

// Index of the first record whose Cmd equals `cmd` (case ignored), 0 when none.
int FindCommandByCode(const CommandTable& commands, const QString& cmd);

// Index of the first record whose Name equals `name` (case ignored), 0 when none.
int FindCommandByName(const CommandTable& commands, const QString& name);

// A table with only its unused entry 0.
CommandTable EmptyCommandTable();

} // namespace telvo::core
