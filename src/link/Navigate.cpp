#include "link/Navigate.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/link/Protocol.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "settings/SCL.h"

namespace telvo::ui {

using core::Mid;
using core::SameText;
using core::Val;

namespace {
QString model() {
    return scl().DeviceModel->text();
}

void pressKey(const QString& name, const QString& value, int pauseMs) {
    ShowStatus(QStringLiteral("Sending Navigation Command: '") + name + QStringLiteral("'"));
    SetDevice(QStringLiteral("A2"), value, 2);
    DevicePause(pauseMs);
}

// The first four characters of the firmware text, as a number: "1.10b" reads 1.1.
double firmwareVersion() {
    return Val(core::Left(scl().txtFirmware->text(), 4));
}

bool refused() {
    return Mid(Link().Reply, 2, 2) == QLatin1String("02");
}

// The mode command `cmd`, sent at `rate` (the device is moved there first when it runs at another).
// True unless the device refused it.
bool modeCommandAt(const QString& rate, const QString& cmd) {
    SCL& s = scl();
    if (s.txtCrntSpeed->text() != rate)
        SetGordaBaudRate(rate);
    SetDevice(cmd, QStringLiteral("1"));
    return !refused();
}
} // namespace

void Navigate(const QString& input) {
    WriteLogFile(QStringLiteral("Starting subroutine Navigate with input=") + input);
    pressKey(QStringLiteral("Menu"), QStringLiteral("5"), 250);
    QString path = input;
    while (!path.isEmpty()) {
        const qsizetype comma = path.indexOf(QLatin1Char(','));
        const QString piece = comma < 0 ? path : path.left(comma);
        path = comma < 0 ? QString() : path.mid(comma + 1);
        const int count = int(Val(piece));
        for (int i = 0; i < count; ++i)
            pressKey(QStringLiteral("Down"), QStringLiteral("4"), 500);
        // The last level's own key is the caller's: Enter or Exit.
        if (!path.isEmpty())
            pressKey(QStringLiteral("Enter"), QStringLiteral("6"), 500);
    }
}

bool CommandUpdateMode() {
    SCL& s = scl();
    if (s.chkNoFWupdate->isChecked())
        return true;
    const double version = firmwareVersion();
    const QString m = model();
    const bool hasCommand = (SameText(m, QStringLiteral("Gorda")) && version >= 1.11) ||
                            SameText(m, QStringLiteral("Hesta"));
    if (!hasCommand)
        return false;
    if (s.chkNoFWupdate->isChecked())
        return true;
    // A time-out leaves Reply empty and counts as done: only a refusal falls back to the menu.
    return modeCommandAt(s.txtxfrspeed->text(), QStringLiteral("AD"));
}

bool CommandRestartMode() {
    SCL& s = scl();
    if (firmwareVersion() < 1.11)
        return false;
    // Sent without a wait, so Reply is still empty here.
    return modeCommandAt(s.txtOrigSpeed->text(), QStringLiteral("AC"));
}

bool EnterFirmwareUpdateMode() {
    SCL& s = scl();
    core::LinkState& l = Link();
    if (s.chkSim->isChecked())
        return false;
    if (s.txtCrntSpeed->text() != s.txtxfrspeed->text())
        SetGordaBaudRate(s.txtxfrspeed->text());
    ShowStatusLDR(QStringLiteral("Setting ") + model() +
                  QStringLiteral(" into Firmware Update Mode"));
    SetState(QStringLiteral("Waiting"));
    l.LoaderReady = false;
    l.LoaderAborted = false;
    if (!CommandUpdateMode()) {
        ShowStatusLDR(QStringLiteral("Command failed, using Menu Navigation to set ") + model() +
                      QStringLiteral(" into Firmware Update Mode"));
        Navigate(QStringLiteral("4,6,1"));
        // The main window's box, as everywhere else: the loader's "Test" box only quiets its
        // status line. The box can't be ticked here (the command is only tried when it is
        // clear), so the menu is entered; the test and its words stand as designed.
        if (scl().chkNoFWupdate->isChecked()) {
            LogLine(QStringLiteral("Not navigating to firmware update, debug set so exiting"));
            SetDevice(QStringLiteral("A2"), QStringLiteral("7"), 2);
            DevicePause(250);
        } else {
            SetDevice(QStringLiteral("A2"), QStringLiteral("6"), 2);
        }
    }
    // No time limit: the boot loader's "frk file now" ends it, and an abort keeps it waiting.
    while (!(l.LoaderReady && !l.LoaderAborted))
        platform::DoEvents();
    SetState(QStringLiteral("OC Loading"));
    ldr().lblMessage->setText(QString());
    return true;
}

} // namespace telvo::ui
