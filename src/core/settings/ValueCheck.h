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

// A value as the device holds it, so that two spellings of one value compare equal: a list's
// row ("medium", "2" and "Medium" are row 2), a range's number at the setting's decimals ("1.5"
// and "1.50"), an integer's or a hex byte's number; any other kind's text as it stands.
// Nothing when the text names no value of the setting.
std::optional<QString> DeviceTerms(const CommandRec& rec, const QString& value);

// Whether two texts (a label's, a typed one) are the same value on the device; texts that are
// no value of the setting are the same only when they are equal.
bool SameDeviceValue(const CommandRec& rec, const QString& a, const QString& b);

// A value to be set as a label shows it once the device holds it: a list row's text, a number
// at the setting's decimals, a hex byte in capitals.
QString ValueAsShown(const CommandRec& rec, const QString& value);

} // namespace telvo::core
