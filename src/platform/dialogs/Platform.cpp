#include "platform/dialogs/Platform.h"

#include "core/text/MinorSubs.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QWidget>

namespace telvo::platform {

namespace {

class QtPlatform : public Platform {
public:
    int MessageBox(const QString& text, int buttons, const QString& title) override {
        QMessageBox box(QMessageBox::NoIcon, title.isEmpty() ? QStringLiteral("Telvo") : title,
                        text);
        switch (buttons & 7) {
        case vbOKCancel:
            box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
            break;
        case vbYesNoCancel:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            break;
        case vbYesNo:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
            break;
        default:
            box.setStandardButtons(QMessageBox::Ok);
            break;
        }
        switch (box.exec()) {
        case QMessageBox::Cancel:
            return vbCancel;
        case QMessageBox::Yes:
            return vbYes;
        case QMessageBox::No:
            return vbNo;
        default:
            return vbOK;
        }
    }
    QString OpenFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override {
        return QFileDialog::getOpenFileName(nullptr, title, dir, core::DialogFilter(filter));
    }
    QString SaveFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override {
        // The dialog asks nothing about an existing file: the routine that asked for a name asks
        // its own question where it has one, and a No then leaves the routine, not the dialog.
        return QFileDialog::getSaveFileName(nullptr, title, dir, core::DialogFilter(filter),
                                            nullptr, QFileDialog::DontConfirmOverwrite);
    }
    void Beep() override { QApplication::beep(); }
    void HideEverything() override {
        for (QWidget* w : QApplication::topLevelWidgets())
            w->hide();
        QCoreApplication::exit(0);
    }
};

std::unique_ptr<Platform>& slot() {
    static std::unique_ptr<Platform> p;
    return p;
}

bool g_ended = false;

} // namespace

Platform& CurrentPlatform() {
    if (!slot())
        slot() = std::make_unique<QtPlatform>();
    return *slot();
}

void InstallPlatform(std::unique_ptr<Platform> platform) {
    slot() = std::move(platform);
}

int MessageBox(const QString& text, int buttons, const QString& title) {
    return CurrentPlatform().MessageBox(text, buttons, title);
}
QString OpenFileDialog(const QString& title, const QString& dir, const QString& filter) {
    return CurrentPlatform().OpenFileDialog(title, dir, filter);
}
QString SaveFileDialog(const QString& title, const QString& dir, const QString& filter) {
    return CurrentPlatform().SaveFileDialog(title, dir, filter);
}
void Beep() {
    CurrentPlatform().Beep();
}
PromptAnswer AnswerPrompt(const Prompt& prompt) {
    return CurrentPlatform().AnswerPrompt(prompt);
}
void StatusShown(const QString& text, bool alert) {
    CurrentPlatform().StatusShown(text, alert);
}
void ExchangeFailed(const QString& why) {
    CurrentPlatform().ExchangeFailed(why);
}
void PortNoted(const QString& text) {
    CurrentPlatform().PortNoted(text);
}
void ProgressMade(const Progress& progress) {
    CurrentPlatform().ProgressMade(progress);
}
void ProgressEnded(Progress::Kind kind) {
    CurrentPlatform().ProgressEnded(kind);
}
void WindowWaits(const QString& title) {
    CurrentPlatform().WindowWaits(title);
}
void SpeedQueryUnanswered(const QString& rate, qint64 silentMs) {
    CurrentPlatform().SpeedQueryUnanswered(rate, silentMs);
}

void EndProgram() {
    if (!g_ended) {
        g_ended = true;
        CurrentPlatform().HideEverything();
    }
    throw ProgramEnd();
}

bool ProgramEnded() {
    return g_ended;
}
void ResetProgramEnded() {
    g_ended = false;
}
void ThrowIfEnded() {
    if (g_ended)
        throw ProgramEnd();
}

} // namespace telvo::platform
