#pragma once
// Keeps a text box showing a core::ConsoleText by redoing only its changed tail, so a line costs
// the same whether the box holds a kilobyte or a megabyte. The box ends up exactly as
// setPlainText(text) would leave it, line breaks included.

#include "core/link/ReceiveRouter.h"

#include <QPlainTextEdit>
#include <QString>

namespace telvo::ui {

class ConsoleBox {
public:
    // Brings `box` up to `text` and puts its cursor at the end; nothing when nothing changed.
    void Sync(QPlainTextEdit* box, const core::ConsoleText& text);

private:
    quint64 m_revision = ~0ull; // of the text shown; none yet
    QString m_shown;            // the text shown, as the box was given it (CR LF kept)
    quint64 m_headDropped = 0;  // the text's count of dropped characters when it was shown
};

} // namespace telvo::ui
