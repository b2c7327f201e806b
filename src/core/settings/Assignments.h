#pragma once
// Settings given as NAME=VALUE, on the command line or in a file, and the plain settings of a
// file that save wrote, as values to be applied.

#include "core/config/CommandRec.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace telvo::core {

struct Assignment {
    int line = 0; // the line of the file it came from (from 1); 0 for a command-line word
    QString name;
    QString value;
};

// "NAME=VALUE", blanks around both trimmed; nothing without "=" or without a name.
std::optional<Assignment> ParseAssignment(const QString& text);

struct AssignmentFile {
    QList<Assignment> items;
    bool saved = false;     // a file that save wrote
    int leftLines = 0;      // saved: the lines of states, which need the device switched first
    QStringList leftStates; // saved: those states, each once, in the file's order
    QString problem;        // why the file is neither kind ("line 3 is ..."); empty when it is one
};

// A file of "NAME=VALUE" lines ("#" comment lines and blank lines skipped), or one that save
// wrote: its plain lines become the setting of their code in `commands` with the value as a
// label shows it (a list's text); the name as written and the raw value when no record has the
// code.
AssignmentFile ReadAssignments(const QByteArray& bytes, const CommandTable& commands);

} // namespace telvo::core
