// All settings of all states to Settings.txt and back. The file is written beside the old one
// and put in its place only when the save is whole, so a failed, cancelled or killed save
// leaves the previous file as it was.
#include "settings/SaveRestore.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/config/IniFile.h"
#include "core/link/Protocol.h"
#include "core/settings/SettingsFile.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/os/AppPath.h"
#include "settings/Panels.h"
#include "settings/SCL.h"

#include <QFile>
#include <QSaveFile>

namespace telvo::ui {

using core::NUL;
using core::SameText;

namespace {

QString model() {
    return scl().DeviceModel->text();
}

QString settingsPath() {
    return platform::JobFile(QStringLiteral("Settings.txt"));
}

QString queryBody(const QString& cmd) {
    return cmd + NUL();
}
QString setBody(const QString& cmd, const QString& value) {
    return cmd + NUL() + value + NUL();
}

bool isInputSDI(const QString& name) {
    return SameText(name, QStringLiteral("Input SDI"));
}

// A short write marks the file as failed, so that it never replaces the whole one.
void writeLine(QSaveFile& file, const QString& line) {
    const QByteArray bytes = (line + QStringLiteral("\r\n")).toLatin1();
    if (file.write(bytes) != bytes.size())
        file.cancelWriting();
}

// Asks the user after three beeps; true for Continue.
bool askAfterBeeps(const QString& text) {
    BeepTimes(3);
    return ConfirmOperation(text);
}

} // namespace

bool SaveSettings() {
    return SaveSettingsTo(settingsPath());
}

bool SaveSettingsTo(const QString& path) {
    SCL& s = scl();
    const QList<core::StateSettingRow>& rows = Config().StateSettings;
    if (core::TableRows(rows) == 0) {
        ShowAlert(QStringLiteral(
            "Unable to save current settings as no settings data was provided in INI file."));
        s.chkSaveRestore->setChecked(false);
        return false;
    }
    SaveViewState();
    QSaveFile file(path);
    file.open(QIODevice::WriteOnly);
    bool cancelled = false;
    for (int r = 1; r < rows.size() && !cancelled; ++r) {
        const core::StateSettingRow& row = rows.at(r);
        if (isInputSDI(row.Name) && G().settings.SDIFailed)
            continue;
        if (!row.SelectValue.isEmpty()) {
            WriteLogFile(QString());
            ShowStatus(QStringLiteral("Setting ") + model() + QStringLiteral(" to State ") +
                       row.Name);
            if (!SendVerified(QStringLiteral("30"), setBody(row.SelectCmd, row.SelectValue))) {
                if (isInputSDI(row.Name)) {
                    G().settings.SDIFailed = true;
                } else if (!askAfterBeeps(QStringLiteral("Unable to set ") + model() +
                                          QStringLiteral(" state to ") + row.Name)) {
                    cancelled = true;
                    break;
                }
            }
            for (const core::NamedText& p : row.Parameters) {
                ShowStatus(QStringLiteral("Saving setting for state ") + row.Name +
                           QStringLiteral(", Parameter ") + p.first);
                if (SendVerified(QStringLiteral("20"), queryBody(p.second))) {
                    if (!s.chkSim->isChecked())
                        writeLine(file, core::StateSettingsLine(row.Name, row.RestoreCmd,
                                                                row.RestoreValue, p.first,
                                                                core::SavedAnswer(Link().Reply)));
                } else if (!askAfterBeeps(QStringLiteral("Could not Retrieve the ") + model() +
                                          QStringLiteral(" Paramter ") + p.first +
                                          QStringLiteral(" for State  ") + row.Name)) {
                    cancelled = true;
                    break;
                }
            }
        } else {
            ShowStatus(QStringLiteral("Saving setting for ") + row.Name);
            // Plain rows are written in simulation too, unlike state rows: as designed.
            if (SendVerified(QStringLiteral("20"), queryBody(row.SelectCmd))) {
                writeLine(file, core::PlainSettingsLine(row.Name, core::SavedAnswer(Link().Reply)));
            } else if (!askAfterBeeps(QStringLiteral("Could not Retrieve the ") + model() +
                                      QStringLiteral(" Paramter ") + row.Name)) {
                cancelled = true;
            }
        }
    }
    bool whole = !cancelled;
    if (cancelled) {
        // The earlier file stays whole.
        file.cancelWriting();
    } else {
        // After a failure the user hears of the failure and of nothing else.
        whole = file.flush() && file.commit();
        if (!whole)
            ShowAlert(QStringLiteral("Could not write ") + path + QStringLiteral(": ") +
                      file.errorString());
        else
            Breakpoint(QStringLiteral("All settings have been saved from the ") + model());
    }
    RestoreViewState();
    return whole;
}

void ApplyParameter(const QString& stateType, const QString& parameter, const QString& state,
                    const QString& item) {
    const QString description = stateType.isEmpty()
                                    ? model() + QStringLiteral(" Parameter ") + parameter
                                    : model() + QStringLiteral(" Parameter ") + parameter +
                                          QStringLiteral(" For State ") + state;
    ShowStatus(QStringLiteral("Restoring ") + description);
    if (!SendVerified(QStringLiteral("30"), core::SetBody(item)))
        Breakpoint(QStringLiteral("Could not Restore the ") + description);
}

namespace {

bool isPresetOrDisplay(const QString& type) {
    return type == QLatin1String("DISPLAY") || type == QLatin1String("PRESET");
}
bool isInputOrOutput(const QString& type) {
    return type == QLatin1String("INPUT") || type == QLatin1String("OUTPUT");
}

enum class Step { Next, Cancel, EndNow };

struct RestoreRun {
    QString prevState;
    QString prevType;
    QString curType;

    // The stored command of a preset or display memory, sent when its lines have ended.
    Step storeMemory(const QString& body, const QString& question, bool alertFirst) {
        ShowStatus(QStringLiteral("Saving Settings as ") + prevState);
        if (SendVerified(QStringLiteral("30"), body))
            return Step::Next;
        // The alert beeps on its own; the plain question beeps first.
        if (alertFirst)
            ShowAlert(question);
        else
            BeepTimes(3);
        if (!ConfirmOperation(question))
            return Step::Cancel;
        prevState.clear();
        return Step::Next;
    }

    // Sets the device into a new input or output state; `n` is the log's 1 or 2.
    Step enterState(const core::SettingsLine& l, int n, bool cancelEndsNow) {
        WriteLogFile(QStringLiteral("\r\nSetting state(%1) '").arg(n) + l.state +
                     QStringLiteral("' for new set of parameters"));
        ShowStatus(QStringLiteral("Setting the state to be ") + l.state);
        if (SendVerified(QStringLiteral("30"), l.setBody)) {
            prevType = curType;
            prevState = l.state;
            ApplyParameter(l.stateType, l.parameter, l.state, l.item);
            return Step::Next;
        }
        if (n == 1 && SameText(l.state, QStringLiteral("input sdi"))) {
            G().settings.SDIFailed = true;
            return Step::Next;
        }
        BeepTimes(3);
        if (!ConfirmOperation(QStringLiteral("Could not set the ") + model() +
                              QStringLiteral(" state to ") + l.state))
            return cancelEndsNow ? Step::EndNow : Step::Cancel;
        prevState.clear();
        return Step::Next;
    }

    Step line(const QString& text) {
        const core::SettingsLine l = core::ParseSettingsLine(text);
        if (!l.isState) {
            if (!curType.isEmpty())
                WriteLogFile(QString());
            curType.clear();
            ApplyParameter(QString(), l.parameter, QString(), l.item);
            return Step::Next;
        }
        if (isInputSDI(l.state) && G().settings.SDIFailed)
            return Step::Next;
        curType = l.stateType;
        if (SameText(l.state, prevState)) {
            ApplyParameter(l.stateType, l.parameter, l.state, l.item);
            return Step::Next;
        }
        if (prevState.isEmpty()) {
            // Preset and display states can only follow an input or output state.
            if (!isInputOrOutput(curType))
                return Step::Next;
            return enterState(l, 1, false);
        }
        if (isInputOrOutput(curType)) {
            if (isPresetOrDisplay(prevType)) {
                const QString q = QStringLiteral("Could not Saving Settings as ") + prevState;
                ShowStatus(QStringLiteral("Saving Settings as ") + prevState);
                if (!SendVerified(QStringLiteral("30"), l.setBody)) {
                    BeepTimes(3);
                    if (!ConfirmOperation(q))
                        return Step::Cancel;
                }
            }
            return enterState(l, 2, true);
        }
        if (isPresetOrDisplay(curType)) {
            if (isPresetOrDisplay(prevType)) {
                const Step st = storeMemory(
                    l.setBody, QStringLiteral("Could not save the settings for ") + prevState,
                    false);
                if (st != Step::Next)
                    return st;
            }
            WriteLogFile(QString());
            prevType = curType;
            prevState = l.state;
            ApplyParameter(l.stateType, l.parameter, l.state, l.item);
            return Step::Next;
        }
        if (isPresetOrDisplay(prevType)) {
            const Step st = storeMemory(l.setBody,
                                        QStringLiteral("Could not set the ") + model() +
                                            QStringLiteral(" state to ") + prevState,
                                        true);
            if (st != Step::Next)
                return st;
        }
        ApplyParameter(l.stateType, l.parameter, l.state, l.item);
        return Step::Next;
    }
};

} // namespace

void RestoreSettings() {
    RestoreSettingsFrom(settingsPath());
}

bool RestoreSettingsFrom(const QString& path) {
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly)) {
        ShowAlert(QStringLiteral("There is no 'Settings' file (settings.txt) to restore from"));
        return false;
    }
    RestoreRun run;
    bool whole = true;
    while (!file.atEnd()) {
        QByteArray raw = file.readLine();
        while (raw.endsWith('\n') || raw.endsWith('\r'))
            raw.chop(1);
        const Step st = run.line(QString::fromLatin1(raw));
        if (st == Step::EndNow)
            return false;
        if (st == Step::Cancel) {
            whole = false;
            break;
        }
    }
    file.close();
    if (whole)
        Breakpoint(QStringLiteral("All settings have been restored to the ") + model());
    RestoreViewState();
    return whole;
}

namespace {
// Connects when the device's state is not known; false with the status told when it is then
// not powered.
bool deviceReady() {
    if (App().DeviceState != QLatin1String("?????"))
        return true;
    ConnectDevice();
    if (App().DeviceState == QLatin1String("POWERED"))
        return true;
    ShowStatus(QStringLiteral("Unable to locate or Power UP the ") + model() +
               QStringLiteral(", ") + model() + QStringLiteral(" state = ") + App().DeviceState);
    return false;
}
} // namespace

void cmdSave_Click() {
    if (!deviceReady()) {
        ldr().ResetIdle();
        return;
    }
    SaveSettings();
}

void cmdRestore_Click() {
    if (deviceReady())
        RestoreSettings();
}

void cmdSaveAs_Click() {
    const int index = scl().lstPreset->currentRow();
    // The first four presets are fixed; ten can be written.
    if (index > 3 && index < 14)
        SetDevice(QStringLiteral("53"), QString::number(index - 4));
    else
        ShowAlert(QStringLiteral("No valid preset has been selected."));
}

void cmdSaveAs2_Click() {
    const int index = scl().lstProfile->currentRow();
    if (index != -1)
        SetDevice(QStringLiteral("52"), QString::number(index + 1));
    else
        ShowAlert(QStringLiteral("No valid Profile has been selected."));
}

} // namespace telvo::ui
