#pragma once
// The loader window: what the boot loader says, the file being loaded, the CTS lamp, the
// progress, its own status line and prompts.

#include "app/Accessible.h"
#include "app/Controls.h"
#include "link/ConsoleBox.h"
#include "platform/clock/Timer.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QWidget>

namespace telvo::ui {

class LDR : public QWidget {
    Q_OBJECT
public:
    LDR();

    // Colours as the design gives them (blue, green, red bytes of a classic colour value).
    static constexpr int kLightGreen = 8454016; // &H80FF80
    static constexpr int kRed = 255;

    QPlainTextEdit* Text1;
    QLineEdit* txtFileName;
    StatusLine* lblMessage;
    QPushButton* cmdContinue;
    QPushButton* cmdCancel;
    QPushButton* cmdStart;
    QPushButton* cmdReStart;
    QPushButton* cmdEnd;
    QCheckBox* chkNoFWupdate;
    QCheckBox* chkConfirm;
    QLabel* CTSled;
    QLabel* lblCTS;
    QLabel* lblWait;
    platform::Timer* tmrmessage;
    // Beside the caption of lblMessage: a bar with bytes, rate and time left.
    QProgressBar* prgLoad;
    QLabel* lblRate;

    void setCTSColor(int r, int g, int b);
    void SetStartColor(int classicColor);
    int StartColor() const { return m_startColor; }
    // Shows the line's text as it now stands.
    void SyncText();
    // The idle look of the window.
    void ResetIdle();

    // The progress bar and the window title follow the transfer.
    void StartProgress(qint64 total);
    void ShowProgress(qint64 done, qint64 total, qint64 elapsedMs);
    void EndProgress();

protected:
    void showEvent(QShowEvent* e) override;

private:
    ConsoleBox m_box;
    int m_startColor = kLightGreen;
    bool m_centred = false;
};

} // namespace telvo::ui
