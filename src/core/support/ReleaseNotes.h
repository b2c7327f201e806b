#pragma once
// The release notes of a firmware file are a web page; the useful middle is cut out of its first
// line by text markers and becomes a small local page.

#include <QByteArray>
#include <QString>
#include <optional>

namespace telvo::core {

// `#BeginEditable "content" -->`, quotes included.
QString ReleaseNotesMarker();

// The first line of a file as one line-input reads it: up to the first CR or LF, one character
// a byte (Latin-1), so that toLatin1() gives back the bytes read.
QString FirstLineOf(const QByteArray& bytes);

// What lies behind the marker, trimmed, cut before the first download heading found (tried in
// a fixed order) and then closed by "</td></tr></table>"; the whole rest when no heading is
// found. nullopt when the marker is missing.
std::optional<QString> CutReleaseNotes(const QString& firstLine);

} // namespace telvo::core
