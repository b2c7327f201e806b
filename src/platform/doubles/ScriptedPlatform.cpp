#include "platform/doubles/ScriptedPlatform.h"

#include <memory>

namespace telvo::platform {

int ScriptedPlatform::MessageBox(const QString& text, int buttons, const QString&) {
    shown.push_back({QStringLiteral("MessageBox"), text, buttons});
    if (answers.empty())
        return (buttons & 7) == vbYesNo || (buttons & 7) == vbYesNoCancel ? vbYes : vbOK;
    const int a = answers.front();
    answers.pop_front();
    return a;
}

QString ScriptedPlatform::OpenFileDialog(const QString& title, const QString&, const QString&) {
    shown.push_back({QStringLiteral("Open"), title, 0});
    if (paths.empty())
        return {};
    QString p = paths.front();
    paths.pop_front();
    return p;
}

QString ScriptedPlatform::SaveFileDialog(const QString& title, const QString&, const QString&) {
    shown.push_back({QStringLiteral("Save"), title, 0});
    if (paths.empty())
        return {};
    QString p = paths.front();
    paths.pop_front();
    return p;
}

QStringList ScriptedPlatform::messageTexts() const {
    QStringList out;
    for (const Shown& s : shown)
        if (s.kind == QLatin1String("MessageBox"))
            out << s.text;
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
