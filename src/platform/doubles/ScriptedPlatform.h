#pragma once
// The scripted stand-in of the platform's message boxes and dialogs: answers queued in advance,
// every call recorded.

#include "platform/dialogs/Platform.h"

#include <QString>
#include <QStringList>
#include <deque>
#include <vector>

namespace telvo::platform {

class ScriptedPlatform : public Platform {
public:
    struct Shown {
        QString kind; // "MessageBox", "Open", "Save"
        QString text;
        int buttons = 0;
    };

    int MessageBox(const QString& text, int buttons, const QString& title) override;
    QString OpenFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override;
    QString SaveFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override;
    void Beep() override { ++beeps; }
    void HideEverything() override { ++ends; }
    void SpeedQueryUnanswered(const QString&, qint64 silentMs) override {
        speedQueryWaits.push_back(silentMs);
    }

    std::deque<int> answers;   // message box answers, oldest first; vbOK when empty
    std::deque<QString> paths; // dialog answers; "" (cancelled) when empty
    std::vector<Shown> shown;
    int beeps = 0;
    int ends = 0;
    std::vector<qint64> speedQueryWaits; // each unanswered speed query's time since the first

    QStringList messageTexts() const;
};

// Installs a fresh scripted platform and returns it (owned by the platform slot).
ScriptedPlatform& InstallScriptedPlatform();

} // namespace telvo::platform
