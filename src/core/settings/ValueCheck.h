#pragma once
// What a setting takes, told and checked without a window or a device: the command line refuses
// a value Telvo.ini's line excludes before anything goes on the wire, and says what it takes.

#include "core/config/CommandRec.h"

#include <QString>
#include <optional>

namespace telvo::core {

// The row (0-based, as the chooser's list) of a list value given by its text (case ignored)
// or by its number; nothing when neither names one.
std::optional<int> ListRow(const CommandRec& rec, const QString& value);

// The kind as a word: "list", "range", "integer", "character", "hex byte", "byte" or "none".
QString KindWord(const CommandRec& rec);

// A row's number as it is typed: decimal, or two hex digits for a BYTEH setting ("01").
QString ValueNumberText(const CommandRec& rec, const ValueRec& row);

// What the setting takes, in words: "a number from -50 to 50", "one of Off (0), On (1)", ...
QString AllowedText(const CommandRec& rec);

// The low and high ends of an INTEGER setting's range text ("0 to 250 ms"), when it has them.
std::optional<std::pair<qint64, qint64>> IntegerBounds(const CommandRec& rec);

// Why `value` cannot be set ("Brightness takes a number from -50 to 50, not abc"), or nothing.
QString ValueProblem(const CommandRec& rec, const QString& value);

} // namespace telvo::core
