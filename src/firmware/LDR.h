#pragma once
// The loader window: what the boot loader says, the CTS lamp, its own status line and prompts.

#include "app/Controls.h"
#include "platform/Timer.h"

#include <QCheckBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QWidget>

namespace telvo::ui {

class LDR : public QWidget {
    Q_OBJECT
public:
    LDR();

    QPlainTextEdit* Text1;
    ClickLabel* lblMessage;
    QPushButton* cmdContinue;
    QPushButton* cmdCancel;
    QPushButton* cmdStart;
    QPushButton* cmdEnd;
    QCheckBox* chkNoFWupdate;
    QLabel* CTSled;
    QLabel* lblCTS;
    QLabel* lblWait;
    platform::Timer* tmrmessage;

    void setCTSColor(int r, int g, int b);
    // Shows the line's text as it now stands.
    void SyncText();
    // The idle look of the window.
    void ResetIdle();

private:
    quint64 m_shownRevision = ~0ull;
};

} // namespace telvo::ui
