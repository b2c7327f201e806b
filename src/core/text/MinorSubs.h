#pragma once
// The small text routines every reader of text in the program shares.

#include <QString>
#include <optional>

namespace telvo::core {

// Text before the first `delimiter` outside double quotes, trimmed; `text` becomes what follows,
// trimmed. Quotes toggle the quoted state and are dropped unless `keepQuotes`.
QString ParseToken(QString& text, const QString& delimiter, bool keepQuotes = false);

// The text with every double quote removed, trimmed: what ParseToken returns when no delimiter
// stands in the text.
QString DropQuotes(const QString& text);

// Upper case with every blank removed.
QString SquashUpper(const QString& text);

// Removes "/" + letter from `text` when it stands there; true when it did.
bool TakeFlag(QString& text, const QString& letter);

// Lower-case hexadecimal, at least one digit, padded with "0" to `width` when width > 0.
QString HexField(qint64 value, int width);
QString HexField(const QString& value, int width); // the text's Val; empty counts as 0
QString ToHex4(qint64 value);

// One or two hexadecimal digits; nullopt for any other length (the caller reports it).
std::optional<int> Hex2IntChecked(const QString& text);
// The message the caller shows when Hex2IntChecked gives nullopt.
QString Hex2IntMessage(const QString& text);
int HexDigitValue(QChar c);
// Any length; a value past 32 bits raises RuntimeError(kOverflow).
qint64 HexToLong(const QString& text);
QChar HexDigitChar(int n);

QString CutAtNul(const QString& text); // empty when the text holds no NUL
QString TextBefore(const QString& text, const QString& mark);
QString ParentFolder(const QString& path);
bool FolderExists(const QString& path);
bool FileExists(const QString& path);

// A file filter as the system writes it, "Gamma Files (*.gma)|*.gma" (pairs of description and
// pattern), in the form of Qt's dialogs: "Gamma Files (*.gma)", pairs joined by ";;". A filter
// with no "|" is already in that form.
QString DialogFilter(const QString& filter);

// Control characters as "(STX)" and the like.
QString Printable(const QString& text);
QString ControlName(int code); // "(NUL)" .. "(US)"

} // namespace telvo::core
