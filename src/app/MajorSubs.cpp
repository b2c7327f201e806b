#include "app/MajorSubs.h"

#include "app/Accessible.h"
#include "app/Globals.h"
#include "core/log/LogLines.h"
#include "firmware/LDR.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>
#include <QTime>

namespace telvo::ui {

namespace {
const QString kFive = QStringLiteral("     ");

void setColor(QLabel* label, int r, int g, int b) {
    label->setStyleSheet(QStringLiteral("color: rgb(%1,%2,%3)").arg(r).arg(g).arg(b));
}

bool visible(const QWidget* w) {
    return !w->isHidden();
}

// Waits on a prompt's buttons, unless the platform answers it at once (it is told the prompt's
// kind and words as values, never the window's text).
void awaitPrompt(QPushButton* cmdContinue, platform::Prompt::Kind kind, const QString& text) {
    if (platform::AnswerPrompt({kind, text}) == platform::PromptAnswer::Continue) {
        cmdContinue->click();
        // A turn of the loop, as a click from it would have had (an ended program unwinds here).
        platform::DoEventsOnce();
    }
    while (visible(cmdContinue))
        platform::DoEvents();
}

QString simTail() {
    const core::LinkState& l = Link();
    if (l.SimNote.isEmpty())
        return QString();
    return l.SimNote + QStringLiteral(",  Data=") + l.SimCommandText;
}

void showStatusOn(StatusLine* lblMessage, QCheckBox* chkNoFWupdate, const QString& text,
                  int blank) {
    setColor(lblMessage, 0, 0, 0);
    const QString tail = simTail();
    if (!text.isEmpty())
        lblMessage->Say(text + kFive + tail);
    WriteLogFile(text + kFive + tail);
    platform::StatusShown(text, false);
    if (blank != 0)
        WriteLogFile(QString());
    lblMessage->show();
    if (!Link().SimNote.isEmpty()) {
        // A simulated run shows each step for a moment and then wipes it.
        if (!chkNoFWupdate->isChecked())
            Pause(1500);
        lblMessage->setText(QString());
    }
}

void startAlert(StatusLine* lblMessage, platform::Timer* tmr, qint16& counter,
                const QString& text) {
    setColor(lblMessage, 255, 0, 0);
    App().AlertText = text + kFive + Link().SimNote;
    lblMessage->Alert(App().AlertText);
    BeepTimes(3);
    WriteLogFile(text + kFive);
    platform::StatusShown(text, true);
    tmr->setEnabled(false);
    tmr->setInterval(250);
    counter = 20;
    tmr->setEnabled(true);
}

void alertTick(StatusLine* lblMessage, platform::Timer* tmr, qint16& counter) {
    if (counter == 0) {
        tmr->setEnabled(false);
        lblMessage->setText(QString());
        return;
    }
    // Odd and even counts were meant to flash; the text stands still instead, as wanted.
    --counter;
    lblMessage->setText(App().AlertText);
    tmr->setEnabled(true);
}
} // namespace

QString LogFilePath() {
    return QDir(platform::JobFolder()).filePath(QStringLiteral("LogFile.txt"));
}

void WriteLogFile(const QString& text) {
    if (!Config().LogToFile)
        return;
    AppGlobals& a = App();
    if (text.isEmpty() && a.LastLogBlank)
        return;
    a.LastLogBlank = text.isEmpty();
    // Opened and closed for every line, so the log survives a crash up to its last line.
    QFile f(LogFilePath());
    if (!f.open(QIODevice::Append))
        return;
    f.write(text.toUtf8());
    f.write("\r\n");
}

void LogLine(const QString& text) {
    scl().D1->addLine(core::LogTimeText(QTime::currentTime()) + QStringLiteral("  ") + text);
    WriteLogFile(text);
}

void ShowStatus(const QString& text, int blank) {
    SCL& s = scl();
    showStatusOn(s.lblMessage, s.chkNoFWupdate, text, blank);
}

void ShowStatusLDR(const QString& text, int blank) {
    LDR& l = ldr();
    showStatusOn(l.lblMessage, l.chkNoFWupdate, text, blank);
}

void ShowAlert(const QString& text) {
    SCL& s = scl();
    startAlert(s.lblMessage, s.tmrmessage, App().FlashCount, text);
}

void ShowAlertLDR(const QString& text) {
    LDR& l = ldr();
    startAlert(l.lblMessage, l.tmrmessage, App().FlashCountLDR, text);
}

void tmrmessage_Timer() {
    SCL& s = scl();
    alertTick(s.lblMessage, s.tmrmessage, App().FlashCount);
}

void tmrmessageLDR_Timer() {
    LDR& l = ldr();
    alertTick(l.lblMessage, l.tmrmessage, App().FlashCountLDR);
}

void lblMessage_DblClick() {
    App().FlashCount = 0;
    scl().lblMessage->setText(QString());
}

void lblMessageLDR_DblClick() {
    App().FlashCountLDR = 0;
    ldr().lblMessage->setText(QString());
}

void BeepTimes(int n) {
    if (n < 2) {
        platform::Beep();
        return;
    }
    for (int i = 0; i < n - 1; ++i) {
        platform::Beep();
        Pause(250);
    }
    platform::Beep();
}

namespace {
// A prompt on a window's status line: Continue (and Cancel) shown, the events run until a click
// hides Continue. The buttons carry the answer: Cancel leaves itself visible.
bool confirmOn(StatusLine* lblMessage, QPushButton* cmdContinue, QPushButton* cmdCancel,
               const QString& text, const QString& message) {
    BeepTimes(1);
    lblMessage->setText(message);
    cmdContinue->show();
    cmdCancel->show();
    const PromptFocus prompt(cmdContinue, cmdCancel, lblMessage->text());
    awaitPrompt(cmdContinue, platform::Prompt::Confirm, text);
    const bool result = !visible(cmdCancel);
    cmdCancel->hide();
    lblMessage->setText(QString());
    return result;
}

void breakpointOn(StatusLine* lblMessage, QPushButton* cmdContinue, QPushButton* cmdCancel,
                  const QString& text, const QString& gap) {
    WriteLogFile(QString());
    WriteLogFile(QStringLiteral("Breakpoint: ") + text);
    BeepTimes(1);
    cmdContinue->show();
    lblMessage->setText(QStringLiteral("Breakpoint: ") + text + gap +
                        QStringLiteral(" (Click 'Continue') "));
    const PromptFocus prompt(cmdContinue, cmdCancel, lblMessage->text());
    awaitPrompt(cmdContinue, platform::Prompt::Breakpoint, text);
    lblMessage->setText(QString());
}
} // namespace

bool ConfirmOperation(const QString& text, int blank) {
    SCL& s = scl();
    if (!s.chkConfirm->isChecked()) {
        ShowStatus(text, blank);
        return true;
    }
    return confirmOn(s.lblMessage, s.cmdContinue, s.cmdCancel, text,
                     QStringLiteral("Confirm Operation: ") + text + QStringLiteral("\r\n") +
                         QString(30, QLatin1Char(' ')) +
                         QStringLiteral(" (Click 'Continue' or 'Cancel')"));
}

bool ConfirmOperationLDR(const QString& text, int blank) {
    LDR& l = ldr();
    if (!scl().chkConfirm->isChecked()) {
        ShowStatusLDR(text, blank);
        return true;
    }
    return confirmOn(l.lblMessage, l.cmdContinue, l.cmdCancel, text,
                     QStringLiteral("Confirm Operation: ") + text);
}

void Breakpoint(const QString& text) {
    SCL& s = scl();
    breakpointOn(s.lblMessage, s.cmdContinue, s.cmdCancel, text,
                 QStringLiteral("\r\n") + QString(15, QLatin1Char(' ')));
}

void WaitOnWindow(const QWidget& window) {
    platform::WindowWaits(window.windowTitle());
    while (visible(&window))
        platform::DoEvents();
}

void BreakpointLDR(const QString& text) {
    LDR& l = ldr();
    breakpointOn(l.lblMessage, l.cmdContinue, l.cmdCancel, text, kFive);
}

} // namespace telvo::ui
