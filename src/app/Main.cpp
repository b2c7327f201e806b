#include "app/Main.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "config/INI.h"
#include "config/IniLoader.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/Driver.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>

namespace telvo::ui {

void SetCommandLine(const QString& line) {
    App().CommandLine = line;
}

// Words are searched as text anywhere in the line, so they need no separator.
bool CommandLineHas(const QString& word) {
    return App().CommandLine.contains(word, Qt::CaseInsensitive);
}

// The steps of the start-up from the [SYSTEM] preferences to an empty loader and console: the
// same for the windows and for the command line.
void ApplyStartupPreferences() {
    AppGlobals& a = App();
    SCL& s = scl();
    InitDefaults();
    ArrangeToolButtons();
    ReadIniFile(1);
    core::ConfigTables& c = Config();
    if (a.DebuggerMode)
        c.UserLevel = 0;
    SetUserLayout(c.UserLevel);
    if (c.FirmwareDir.isEmpty()) {
        c.FirmwareDir = platform::AppPath() + QStringLiteral("\\Firmware Files\\");
        const QString folder = platform::NativePath(c.FirmwareDir);
        if (!QDir(folder).exists())
            QDir().mkpath(folder);
    }
    // Enabled or unticked and disabled (not shown or hidden): pass 1 fills no setting rows, so
    // the box comes up disabled and the Restore Defaults box frees it.
    if (core::TableRows(c.StateSettings) > 0) {
        s.chkSaveRestore->setEnabled(true);
    } else {
        s.chkSaveRestore->setChecked(false);
        s.chkSaveRestore->setEnabled(false);
    }
    ldr().ResetIdle();
    a.DeviceState = QStringLiteral("?????");
    s.SetTitle();
    G().ldrText.clear();
    G().dbgText.clear();
    ldr().SyncText();
    dbg().SyncText();
}

void Main() {
    AppGlobals& a = App();
    SCL& s = scl();
    // Steps up to the deletion of the log go on through any error.
    a.DebuggerMode = CommandLineHas(QStringLiteral("FRKdebugger"));
    if (CommandLineHas(QStringLiteral("\\Reset"))) {
        try {
            ini().ResetINI();
        } catch (const core::RuntimeError&) {
            // Errors are ignored up to the deletion of the log.
        }
    }
    QFile::remove(LogFilePath());

    Config().StateSettings = {core::StateSettingRow()};
    if (!CheckIniFile())
        platform::EndProgram();
    ApplyStartupPreferences();
    core::ConfigTables& c = Config();

    if (c.NoDeviceMode) {
        // The run is the IR tool alone; the serial port is never opened.
        ReadIniFile(2);
        BuildPanels();
        ShowIRToolAlone();
        return;
    }

    DisableControls(QStringLiteral("ALL"));
    BuildPortList();
    s.CenterOnScreen();
    s.show();
    SelectConfiguredPort();
    EnsureModelAndFirmware();
    ReadIniFile(2);
    BuildPanels();
    if (QFile::exists(platform::JobFile(QStringLiteral("RestartLoader.txt"))) || a.BootLoaderMode)
        ResumeCutOffLoad();
    a.BootLoaderMode = false;
    if (!c.AutoOpen && c.UserLevel != 1) {
        EnableControls(QStringLiteral("OPEN END"));
    } else if (ConnectDevice()) {
        RestoreSettingsOfCutOffLoad();
        RefreshPanels(7);
        s.lblWait->hide();
    }
    s.lblMessage->setText(QString());
}

void cmdEnd_MouseDown(Qt::KeyboardModifiers shift) {
    SCL& s = scl();
    if (App().NoDeviceFound) {
        s.cmdEnd->setEnabled(false);
        platform::DoEvents();
        if (s.P1->PortOpen()) {
            ShowAlert(QStringLiteral(
                "Closing the Com Port. This will take a few tens of seconds, please wait"));
            s.P1->setPortOpen(false);
        }
        platform::EndProgram();
    }
    if (shift & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier)) {
        s.lblWait->show();
        if (!ShowExitSpeedWindow())
            s.lblWait->hide();
        return;
    }
    s.lblWait->show();
    if (!s.chkSim->isChecked() && s.P1->PortOpen() && !Config().ExitSpeed.isEmpty())
        SetGordaBaudRate(Config().ExitSpeed);
    platform::EndProgram();
}

void SCL_QueryUnload() {
    platform::EndProgram();
}

} // namespace telvo::ui
