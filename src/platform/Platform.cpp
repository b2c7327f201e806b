#include "platform/Platform.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QWidget>

namespace telvo::platform {

namespace {

// A filter as the system writes it, "Gamma Files (*.gma)|*.gma" (pairs of description and
// pattern), in the form of Qt's dialogs: "Gamma Files (*.gma)", pairs joined by ";;".
QString qtFilter(const QString& filter) {
    if (!filter.contains(u'|')) return filter;
    const QStringList parts = filter.split(u'|');
    QStringList out;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString pattern = parts[i + 1];
        pattern.remove(u'(').remove(u')');
        const QString tail = QStringLiteral("(") + pattern + QStringLiteral(")");
        out << (parts[i].endsWith(tail) ? parts[i] : parts[i] + u' ' + tail);
    }
    return out.join(QStringLiteral(";;"));
}

class QtPlatform : public Platform {
public:
    int MessageBox(const QString& text, int buttons, const QString& title) override {
        QMessageBox box(QMessageBox::NoIcon, title.isEmpty() ? QStringLiteral("Telvo") : title,
                        text);
        switch (buttons & 7) {
        case vbOKCancel: box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel); break;
        case vbYesNoCancel:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            break;
        case vbYesNo: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No); break;
        default: box.setStandardButtons(QMessageBox::Ok); break;
        }
        switch (box.exec()) {
        case QMessageBox::Cancel: return vbCancel;
        case QMessageBox::Yes: return vbYes;
        case QMessageBox::No: return vbNo;
        default: return vbOK;
        }
    }
    QString OpenFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override {
        return QFileDialog::getOpenFileName(nullptr, title, dir, qtFilter(filter));
    }
    QString SaveFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override {
        // The dialog asks nothing about an existing file: the routine that asked for a name asks
        // its own question where it has one, and a No then leaves the routine, not the dialog.
        return QFileDialog::getSaveFileName(nullptr, title, dir, qtFilter(filter), nullptr,
                                            QFileDialog::DontConfirmOverwrite);
    }
    void Beep() override { QApplication::beep(); }
    void HideEverything() override {
        for (QWidget* w : QApplication::topLevelWidgets()) w->hide();
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
    if (!slot()) slot() = std::make_unique<QtPlatform>();
    return *slot();
}

void InstallPlatform(std::unique_ptr<Platform> platform) { slot() = std::move(platform); }

int MessageBox(const QString& text, int buttons, const QString& title) {
    return CurrentPlatform().MessageBox(text, buttons, title);
}
QString OpenFileDialog(const QString& title, const QString& dir, const QString& filter) {
    return CurrentPlatform().OpenFileDialog(title, dir, filter);
}
QString SaveFileDialog(const QString& title, const QString& dir, const QString& filter) {
    return CurrentPlatform().SaveFileDialog(title, dir, filter);
}
void Beep() { CurrentPlatform().Beep(); }
PromptAnswer AnswerPrompt(const Prompt& prompt) { return CurrentPlatform().AnswerPrompt(prompt); }
void StatusShown(const QString& text, bool alert) { CurrentPlatform().StatusShown(text, alert); }
void ExchangeFailed(const QString& why) { CurrentPlatform().ExchangeFailed(why); }
void PortNoted(const QString& text) { CurrentPlatform().PortNoted(text); }
void ProgressMade(const Progress& progress) { CurrentPlatform().ProgressMade(progress); }
void ProgressEnded(Progress::Kind kind) { CurrentPlatform().ProgressEnded(kind); }
void WindowWaits(const QString& title) { CurrentPlatform().WindowWaits(title); }

void EndProgram() {
    if (!g_ended) {
        g_ended = true;
        CurrentPlatform().HideEverything();
    }
    throw ProgramEnd();
}

bool ProgramEnded() { return g_ended; }
void ResetProgramEnded() { g_ended = false; }
void ThrowIfEnded() {
    if (g_ended) throw ProgramEnd();
}

int ScriptedPlatform::MessageBox(const QString& text, int buttons, const QString&) {
    shown.push_back({QStringLiteral("MessageBox"), text, buttons});
    if (answers.empty()) return (buttons & 7) == vbYesNo || (buttons & 7) == vbYesNoCancel ? vbYes : vbOK;
    const int a = answers.front();
    answers.pop_front();
    return a;
}

QString ScriptedPlatform::OpenFileDialog(const QString& title, const QString&, const QString&) {
    shown.push_back({QStringLiteral("Open"), title, 0});
    if (paths.empty()) return {};
    QString p = paths.front();
    paths.pop_front();
    return p;
}

QString ScriptedPlatform::SaveFileDialog(const QString& title, const QString&, const QString&) {
    shown.push_back({QStringLiteral("Save"), title, 0});
    if (paths.empty()) return {};
    QString p = paths.front();
    paths.pop_front();
    return p;
}

QStringList ScriptedPlatform::messageTexts() const {
    QStringList out;
    for (const Shown& s : shown)
        if (s.kind == QLatin1String("MessageBox")) out << s.text;
    return out;
}

ScriptedPlatform& InstallScriptedPlatform() {
    auto p = std::make_unique<ScriptedPlatform>();
    ScriptedPlatform& ref = *p;
    InstallPlatform(std::move(p));
    ResetProgramEnded();
    return ref;
}

} // namespace telvo::platform
