#pragma once
// The update list: which files a model sees, the page of "name,address" lines cut out of a raw
// HTTP response, the release-notes address of a file, and the names that may be written.

#include <QList>
#include <QString>
#include <QStringList>

namespace telvo::core {

struct UpdateEntry {
    QString FileName; // what the list shows; also the local name, without extension
    QString FileUrl;
    QString NotesUrl; // FileUrl less its last three characters, plus "php"
};

// "gorda_", "fenna_", "hesta_", "jorn_" by the model text (first match, case ignored; "Jorn" is
// tried before "Jorn+", so a Jorn+ gets the jorn_ files); empty without a match or in debugger
// mode, where every line is listed.
QString ModelPrefix(const QString& model, bool debuggerMode);

// A FileUrl shorter than three characters raises RuntimeError(5), as the classic Left would.
QString NotesUrlFor(const QString& fileUrl);

// Why `name` may not become a file in the firmware folder (a path separator, "..", a drive
// letter or other colon, a control character, nothing at all); empty when it may.
QString UnsafeNameReason(const QString& name);

struct UpdateListResult {
    QList<UpdateEntry> entries; // 1-based: entry 0 unused
    QStringList refused;        // a message for each line whose name was refused
};

// Cuts the header (up to the first empty line) and reads one entry from each CR LF-ended line
// that starts with `prefix` (case ignored; an empty prefix takes every line). Text behind the
// last CR LF is never a line: each of its characters counts as one empty line, as the classic
// cut does, so in debugger mode it raises the error of NotesUrlFor.
UpdateListResult ParseUpdateList(const QString& response, const QString& prefix);

// The classic Format(n, "000,000"): at least six digits, grouped by thousands.
QString FormatThousands(qint64 n);

} // namespace telvo::core
