#include "core/support/ReleaseNotes.h"

#include "core/text/Classic.h"

namespace telvo::core {

QString ReleaseNotesMarker() {
    return QStringLiteral("#BeginEditable \"content\" -->");
}

QString FirstLineOf(const QByteArray& bytes) {
    qsizetype end = 0;
    while (end < bytes.size() && bytes[end] != '\r' && bytes[end] != '\n')
        ++end;
    // One character a byte, whatever the page's character set: the markers are plain ASCII, and
    // the cut text goes back out as the very bytes that came in (ReleaseNotes.html carries no
    // charset of its own after the cut).
    return QString::fromLatin1(bytes.left(end));
}

std::optional<QString> CutReleaseNotes(const QString& firstLine) {
    const QString marker = ReleaseNotesMarker();
    const qsizetype p = firstLine.indexOf(marker);
    if (p < 0)
        return std::nullopt;
    QString text = TrimBlank(firstLine.mid(p + marker.size()));
    // The order decides when a page holds more than one of them.
    static const char* const kDownloadMarks[] = {
        "<p><b>Download</b></p>", "<p><b>Downloads</b></p>", "<li><b>Downloads</b><br>",
        "<li><b>Download</b><br>"};
    for (const char* mark : kDownloadMarks) {
        const qsizetype d = text.indexOf(QLatin1String(mark));
        if (d >= 0) {
            // Closes the table that the cut has opened.
            return text.left(d) + QStringLiteral("</td></tr></table>");
        }
    }
    return text;
}

} // namespace telvo::core
