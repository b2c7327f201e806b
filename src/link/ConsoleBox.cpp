#include "link/ConsoleBox.h"

#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

namespace telvo::ui {

namespace {
// Positions `text` takes in the box: the box joins a CR LF into a single line break.
qsizetype boxLength(QStringView text) {
    return text.size() - text.count(u"\r\n");
}
} // namespace

void ConsoleBox::Sync(QPlainTextEdit* box, const core::ConsoleText& text) {
    if (text.revision() == m_revision)
        return;
    // A box fed by the line keeps no undo history: it would hold every character ever shown.
    if (box->isUndoRedoEnabled())
        box->setUndoRedoEnabled(false);
    const QString& now = text.text();
    qsizetype keep = 0;
    if (m_revision != ~0ull) {
        // Lines the text dropped from its top go from the box's top first.
        const quint64 dropped = text.headDropped() - m_headDropped;
        if (dropped >= quint64(m_shown.size())) {
            keep = 0;
        } else {
            keep = std::min(m_shown.size() - qsizetype(dropped), text.keptSince(m_revision));
            if (keep > 0 && dropped > 0) {
                QTextCursor head(box->document());
                head.setPosition(int(boxLength(QStringView(m_shown).left(qsizetype(dropped)))),
                                 QTextCursor::KeepAnchor);
                head.removeSelectedText();
                m_shown.remove(0, qsizetype(dropped));
            }
        }
    }
    m_headDropped = text.headDropped();
    // A kept CR may meet an LF that follows it: the pair is redone as one.
    if (keep > 0 && m_shown.at(keep - 1) == QLatin1Char('\r'))
        --keep;
    m_revision = text.revision();
    if (keep == 0) {
        box->setPlainText(now);
        m_shown = QString(now.constData(), now.size()); // own copy: appends to `text` stay cheap
    } else {
        QTextDocument* doc = box->document();
        const int end = doc->characterCount() - 1;
        QTextCursor c(doc);
        c.setPosition(end - int(boxLength(QStringView(m_shown).mid(keep))));
        c.setPosition(end, QTextCursor::KeepAnchor);
        c.insertText(now.mid(keep)); // replaces the selection
        m_shown.truncate(keep);
        m_shown.append(QStringView(now).mid(keep));
    }
    box->moveCursor(QTextCursor::End);
}

} // namespace telvo::ui
