#pragma once
// The system's 8-bit character set (Windows-1252): the code a character has in it, and text
// written in it. Characters it does not hold become "?", as the classic conversion gives.

#include <QByteArray>
#include <QString>

namespace telvo::core {

// The character's code, 0 to 255; 63 ("?") for a character the set does not hold.
int AnsiCode(QChar c);
// The text in the 8-bit set, one byte a character.
QByteArray ToAnsi(const QString& text);

} // namespace telvo::core
