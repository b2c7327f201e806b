#pragma once
// How every routine tells the user and the log: the Details box, the status line, alerts,
// prompts that yield while they stand, and the same again on the loader window.

#include <QString>

class QWidget;

namespace telvo::ui {

void WriteLogFile(const QString& text);
void LogLine(const QString& text);
void ShowStatus(const QString& text, int blank = 0);
void ShowAlert(const QString& text);
void BeepTimes(int n);
bool ConfirmOperation(const QString& text, int blank = 0);
void Breakpoint(const QString& text);

void ShowStatusLDR(const QString& text, int blank = 0);
void ShowAlertLDR(const QString& text);
bool ConfirmOperationLDR(const QString& text, int blank = 0);
void BreakpointLDR(const QString& text);
// Waits while a window only a person can answer, just shown, stands; the platform is told first.
void WaitOnWindow(const QWidget& window);

// Timer ticks and double-clicks of the status lines.
void tmrmessage_Timer();
void tmrmessageLDR_Timer();
void lblMessage_DblClick();
void lblMessageLDR_DblClick();

// The log file of the run, in the program's folder.
QString LogFilePath();

} // namespace telvo::ui
