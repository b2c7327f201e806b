#include "firmware/Firmware.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "config/DG.h"
#include "config/FWR.h"
#include "config/modRegistry.h"
#include "core/firmware/FirmwareFiles.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/Driver.h"
#include "link/Navigate.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "settings/SCL.h"
#include "settings/SaveRestore.h"

#include <QFile>
#include <QSaveFile>
#include <exception>

namespace telvo::ui {

namespace {

QString model() {
    return scl().DeviceModel->text();
}
QString crlf() {
    return QStringLiteral("\r\n");
}

void clearLoaderText() {
    G().ldrText.clear();
    G().dbgText.clear();
    ldr().SyncText();
    if (WindowExists("DBG"))
        dbg().SyncText();
}

// The buttons of the loader window at rest.
void buttonsBack() {
    LDR& l = ldr();
    l.cmdReStart->show();
    SetCaption(l.cmdStart, QStringLiteral("Start"));
    l.SetStartColor(LDR::kLightGreen);
}

QString restartPath() {
    return platform::JobFile(QStringLiteral("RestartLoader.txt"));
}

// The load's own copy of the settings it saved: the restore after the load (or after its
// resumption at a later start) reads only this, never a Settings.txt another save wrote since.
bool keepLoadSettings() {
    QFile from(platform::JobFile(QStringLiteral("Settings.txt")));
    QSaveFile to(LoadSettingsPath());
    return from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly) &&
           to.write(from.readAll()) >= 0 && to.commit();
}

// A device not found after a load may wait at its loader's prompt: a line cut on the image's
// last bytes lets every block drain (all a transfer's success is) while the loader never had
// the end, and a restart from RestartLoader.txt then skips the entry as done. The user sees the
// device's screen: on Yes the list loads again from its first entry, as a restart by hand would.
// Offered once (the load it starts doesn't offer it again), and only where something could have
// gone to the device: not in simulation or test mode, not for an empty list.
bool offerLoadAgain(const core::RestartRecord& load) {
    FirmwareGlobals& fw = FW();
    SCL& s = scl();
    if (fw.LoadingAgain || s.chkSim->isChecked() || s.chkNoFWupdate->isChecked())
        return false;
    QFile list(platform::JobFile(QStringLiteral("FileList.frl")));
    if (!list.open(QIODevice::ReadOnly) || core::ParseFileList(list.readAll()).isEmpty())
        return false;
    LogLine(
        model() +
        QStringLiteral(" not found after the load: asking whether it shows 'Load frk File now.'"));
    if (platform::MessageBox(
            QStringLiteral("The ") + model() + QStringLiteral(" was not found after the load.") +
                crlf() +
                QStringLiteral("If it shows 'Load frk File now.' (switch it off and on "
                               "first if it shows nothing), it did not take the "
                               "firmware: click 'Yes' to load the file(s) again from "
                               "the first.") +
                crlf() + QStringLiteral("If it runs its firmware, click 'No'."),
            platform::vbYesNo) != platform::vbYes)
        return false;
    LogLine(QStringLiteral("Loading the file(s) again from the first, the ") + model() +
            QStringLiteral(" at its boot loader prompt"));
    s.txtPort->setText(load.port);
    s.txtOrigSpeed->setText(load.origSpeed);
    s.txtxfrspeed->setText(load.xfrSpeed);
    // The boot loader runs at the transfer speed.
    s.txtCrntSpeed->setText(load.xfrSpeed);
    Link().PowerState = QStringLiteral("ON");
    fw.RestartIndex = 0;
    const bool wasRestart = fw.RestartLoad;
    fw.RestartLoad = true;
    fw.LoadingAgain = true;
    const auto done = [&fw, wasRestart] {
        fw.RestartLoad = wasRestart;
        fw.LoadingAgain = false;
    };
    try {
        RunFirmwareLoad(true);
    } catch (...) {
        done();
        throw;
    }
    done();
    return true;
}

} // namespace

QString LoadSettingsPath() {
    return platform::JobFile(QStringLiteral("LoadSettings.txt"));
}

bool WriteRestartFile(qint16 index, QString* error) {
    SCL& s = scl();
    const core::RestartRecord r{s.txtPort->text(), s.txtOrigSpeed->text(), s.txtxfrspeed->text(),
                                index};
    // Written beside and renamed into place: the file is the old line or the new one, never half.
    QSaveFile f(restartPath());
    if (f.open(QIODevice::WriteOnly) && f.write(core::FormatRestartRecord(r)) >= 0 && f.commit())
        return true;
    if (error)
        *error = f.errorString();
    return false;
}

void cmdStartSCL_Click() {
    if (FirmwareWindowExists("DG") && !dg().isHidden())
        return;
    qint64 skip = 0;
    RegRead(QStringLiteral("HKCU"), QString::fromLatin1(kDongleKey),
            QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), skip, 0);
    if (skip == 0) {
        DG& w = dg();
        w.show();
        WaitOnWindow(w);
        if (FW().DgCancelled)
            return;
    }
    ldr().show();
    ldr().raise();
}

void cmdStartLDR_Click() {
    LDR& l = ldr();
    core::LinkState& link = Link();
    if (l.cmdStart->text() != QLatin1String("Abort")) {
        if (!CheckDeviceReady())
            return;
        FW().RestartLoad = false;
        RunFirmwareLoad(FW().RestartLoad);
        return;
    }
    link.LoaderAborted = true;
    SetState(QStringLiteral("Idle"));
    // The state was just set to Idle, so this never holds; the flag is the abort.
    const QString st = App().DeviceState;
    if (st == QLatin1String("OC LOADING") || st == QLatin1String("WAITING")) {
        platform::CommControl* P1 = scl().P1;
        if (!P1->PortOpen()) {
            LogLine(
                QStringLiteral("Loader aborting, attempted to send 'xxxxxxxx', Port is closed"));
            ReopenPort();
        }
        P1->Output(QStringLiteral("xxxxxxxxxx"));
    }
    // A load that waits on the firmware request (the device did not answer after its reboot: a
    // restart sent into a device that still ran its old firmware, at another rate) is left by
    // Abort too: it answers the request as its OK does with the box empty, and the load ends
    // as an aborted one.
    if (WindowExists("FWR") && !fwr().isHidden()) {
        FW().RequestAborted = true;
        fwr().Text1->clear();
        fwr().Command1->click();
    }
}

bool CheckDeviceReady() {
    SCL& s = scl();
    if (Link().PowerState != QLatin1String("ON"))
        ConnectDevice();
    const QString st = App().DeviceState;
    if (st != QLatin1String("IDLE") && st != QLatin1String("POWERED")) {
        ShowStatus(QStringLiteral("Unable to locate or Power UP the ") + model() +
                   QStringLiteral(", ") + model() + QStringLiteral(" state = ") + st);
        LoadEnded();
        return false;
    }
    // A copy from an earlier load is not this load's: it would restore settings of another time.
    QFile::remove(LoadSettingsPath());
    if (s.chkSaveRestore->isChecked() && (!SaveSettings() || !keepLoadSettings())) {
        // The device is still untouched: better no load than one whose settings can't come back.
        ShowAlertLDR(QStringLiteral("The settings could not be saved whole: the load is stopped, "
                                    "nothing was sent to the ") +
                     model());
        QFile::remove(LoadSettingsPath());
        LoadEnded();
        return false;
    }
    clearLoaderText();
    return true;
}

void RunFirmwareLoad(bool restart) {
    qint16 code = 0;
    try {
        code = StartFirmwareLoad(restart);
    } catch (const core::RuntimeError&) {
        // A run-time error ends the load like a failure: the window at rest, the error told,
        // the Critical Situation rule; RestartLoader.txt stays for the restart.
        const std::exception_ptr error = std::current_exception();
        buttonsBack();
        LoadEnded();
        SetState(QStringLiteral("Firmware"));
        Handle([&error] { std::rethrow_exception(error); });
        code = core::kLoadFailed;
    }
    FinishFirmwareLoad(code);
}

qint16 StartFirmwareLoad(bool restart) {
    SCL& s = scl();
    qint16 code = core::kLoadDone;
    if (!restart) {
        if (Link().PowerState != QLatin1String("ON"))
            ConnectDevice();
        if (s.txtCrntSpeed->text() != s.txtxfrspeed->text()) {
            // The text names 57600 whatever the transfer speed is.
            if (!ConfirmOperation(model() + QStringLiteral(" Speed is ") + s.txtCrntSpeed->text() +
                                  QStringLiteral(", Setting the ") + model() +
                                  QStringLiteral(" baud rate to 57600"))) {
                LoadEnded();
                return core::kLoadCancelled;
            }
            SetGordaBaudRate(s.txtxfrspeed->text());
        }
        const qint16 built = BuildFileList(App().DebuggerMode);
        FW().RestartIndex = 0;
        // A list of none (nothing chosen, or unwritable) is a load that never began.
        if (built < 0 || !ConfirmOperation(QStringLiteral("Ready to load selected Firmware")))
            code = core::kLoadCancelled;
    }
    if (code != core::kLoadCancelled)
        code = LoadTheFiles(restart);
    LoadEnded();
    return code;
}

qint16 LoadTheFiles(bool restart) {
    SCL& s = scl();
    LDR& l = ldr();
    FirmwareGlobals& fw = FW();
    l.cmdReStart->hide();
    fw.RequestAborted = false;
    SetCaption(l.cmdStart, QStringLiteral("Abort"));
    l.SetStartColor(LDR::kRed);

    QFile listFile(platform::JobFile(QStringLiteral("FileList.frl")));
    if (!listFile.open(QIODevice::ReadOnly)) {
        ShowAlertLDR(QStringLiteral("LoadTheFiles: Error opening file 'FileList.frl' ") +
                     listFile.errorString());
        buttonsBack();
        return core::kLoadNotStarted;
    }
    const QStringList lines = core::ParseFileList(listFile.readAll());
    listFile.close();
    qsizetype next = 0;

    // A damaged or hand-edited index below 0 reads as 0: never an entry before the list.
    if (fw.RestartIndex < 0)
        fw.RestartIndex = 0;
    while (next < lines.size()) {
        // The skip runs on every pass, not only the first.
        next += fw.RestartIndex;
        // A list that ends inside the skip ends the loop as its own end would.
        if (next >= lines.size())
            break;
        qint16 index = fw.RestartIndex;
        QString error;
        if (!WriteRestartFile(index, &error)) {
            ShowAlertLDR(
                QStringLiteral("LoadTheFiles: Error opening Loader Restart file for output; ") +
                error);
            buttonsBack();
            return core::kLoadNotStarted;
        }
        s.lblWait->show();
        l.txtFileName->setText(core::TrimBlank(lines.at(next++)));
        if (s.chkSim->isChecked()) {
            SetState(QStringLiteral("Idle"));
            continue;
        }
        clearLoaderText();
        qint16 code = core::kTransferDone;
        if (!restart)
            code = EnterFirmwareUpdateMode() ? core::kTransferDone : core::kTransferNoUpdateMode;
        if (code == core::kTransferDone) {
            SetState(QStringLiteral("OC Loading"));
            code = XfrOneFile();
        }
        const auto fail = [&](const QString& text, qint16 result) {
            ShowAlertLDR(text);
            SetState(QStringLiteral("Firmware"));
            buttonsBack();
            return result;
        };
        switch (code) {
        case core::kTransferDone:
            break;
        case core::kTransferNoFile:
            return fail(
                QStringLiteral("Could not set up the file transfer, Problems opening file(s)"),
                core::kLoadNotStarted);
        case core::kTransferFailed:
            return fail(
                QStringLiteral(
                    "Device unable to load firmware, possible line problem or corrupt file"),
                core::kLoadFailed);
        case core::kTransferAborted:
            return fail(QStringLiteral("End user selecetd to abort the Firmware load in progress"),
                        core::kLoadFailed);
        case core::kTransferTimedOut:
            return fail(QStringLiteral("Load process timed out during the Firmware load process, "
                                       "possible line problem or currupt file"),
                        core::kLoadFailed);
        case core::kTransferNoUpdateMode:
            return fail(QStringLiteral("Could not set the Firmware update mode"),
                        core::kLoadNotStarted);
        default:
            SetState(QStringLiteral("Idle"));
            continue;
        }
        Link().DeviceTalking = true;
        index = core::AddInt(index, 1);
        if (!WriteRestartFile(index, &error)) {
            platform::MessageBox(QStringLiteral("LoadTheFiles: error opening file for output") +
                                 crlf() + restartPath() + crlf() + error);
            buttonsBack();
            return core::kLoadNotStarted;
        }
        ShowStatusLDR(QStringLiteral("Waiting 10 seconds while ") + model() +
                      QStringLiteral(" reboots"));
        DevicePause(10000);
        l.lblMessage->setText(QString());
        ReadFirmware();
        if (fw.RequestAborted) {
            fw.RequestAborted = false;
            return fail(QStringLiteral("End user selecetd to abort the Firmware load in progress"),
                        core::kLoadFailed);
        }
        SetState(QStringLiteral("Idle"));
    }
    QFile::remove(restartPath());
    buttonsBack();
    return core::kLoadDone;
}

void FinishFirmwareLoad(qint16 code) {
    SCL& s = scl();
    const bool talking = Link().DeviceTalking;
    const auto critical = [] {
        platform::MessageBox(
            QStringLiteral("Critical Situation") + crlf() + QStringLiteral("The ") + model() +
            QStringLiteral(" no longer appears to have valid firmware loaded.") + crlf() +
            QStringLiteral("A load must be performed now using 'RESTART'"));
    };
    switch (code) {
    case core::kLoadFailed:
        if (talking)
            ShowStatus(QStringLiteral(
                "The Load failed, but the firmware in the device still may be valid."));
        else
            critical();
        return;
    case core::kLoadNotStarted:
        if (talking)
            ShowStatus(QStringLiteral("Load could not start, file problems. The ") + model() +
                       QStringLiteral(" may have to be power cycled"));
        else
            critical();
        return;
    case core::kLoadDone:
        break;
    default:
        return;
    }
    if (!ConfirmOperation(QStringLiteral("Load complete, Ready to start search for ") + model() +
                          QStringLiteral(" after reboot, speed should be 57600")))
        return;
    // The load's own port and speeds: the search moves the port through its rates.
    const core::RestartRecord load{s.txtPort->text(), s.txtOrigSpeed->text(), s.txtxfrspeed->text(),
                                   0};
    if (!RecoverCommunications()) {
        // The load that runs instead ends with its own search and restore.
        if (offerLoadAgain(load))
            return;
    } else {
        if (s.chkDefaults->isChecked() && !s.chkSim->isChecked() && !CommandRestartMode()) {
            Navigate(QStringLiteral("4,5"));
            if (s.chkNoFWupdate->isChecked()) {
                ShowStatus(QStringLiteral("Sending Navigation Command: 'Exit'"));
                SetDevice(QStringLiteral("A2"), QStringLiteral("7"), 2);
                DevicePause(250);
            } else {
                ShowStatus(QStringLiteral("Sending Navigation Command: 'Enter'"));
                SetDevice(QStringLiteral("A2"), QStringLiteral("6"), 2);
            }
        }
    }
    // Only what this load (or the cut-off load it took up) saved goes back. A restore that
    // did not go through whole (cancelled at a row the device refused, or a device not found)
    // keeps the file, so that the next start or Connect offers it again.
    if (QFile::exists(LoadSettingsPath())) {
        if (RestoreSettingsFrom(LoadSettingsPath()))
            QFile::remove(LoadSettingsPath());
    } else if (s.chkSaveRestore->isChecked()) {
        ShowStatus(QStringLiteral("No settings were saved before this load, so none are restored"));
    }
}

void RestoreSettingsOfCutOffLoad() {
    // With RestartLoader.txt still there, the resumed load does it after its success.
    if (!QFile::exists(LoadSettingsPath()) || QFile::exists(restartPath()))
        return;
    // Declined, the copy goes; taken but not whole, it stays for the next offer.
    if (!ConfirmOperation(
            QStringLiteral("The settings saved before the last firmware load were not "
                           "put back, Restore them to the ") +
            model()) ||
        RestoreSettingsFrom(LoadSettingsPath()))
        QFile::remove(LoadSettingsPath());
}

bool RecoverCommunications() {
    SCL& s = scl();
    platform::Timer* t = s.tmrFindGorda;
    t->setEnabled(false);
    t->setInterval(DeviceWaitMs(30000));
    t->setEnabled(true);
    bool found = false;
    while (t->Enabled() && !found)
        found = FindDevice(11);
    t->setEnabled(false);
    if (!found) {
        ShowAlert(QStringLiteral("Communications was not re-established with the ") + model());
        SetState(QStringLiteral("?????"));
        return false;
    }
    if (s.txtOrigSpeed->text() != s.txtCrntSpeed->text() &&
        ConfirmOperation(QStringLiteral("Should the Baud rate be Back to the original from ") +
                         s.txtCrntSpeed->text() + QStringLiteral(" baud")))
        SetGordaBaudRate(s.txtOrigSpeed->text());
    SetState(QStringLiteral("Idle"));
    LogLine(QStringLiteral("Communications re-established with the ") + model());
    return true;
}

void LoadEnded() {
    LDR& l = ldr();
    SetCaption(l.cmdStart, QStringLiteral("Start"));
    l.SetStartColor(LDR::kLightGreen);
    l.cmdContinue->hide();
    l.cmdCancel->hide();
    l.txtFileName->setText(QString());
    l.cmdEnd->setEnabled(true);
    l.EndProgress();
    scl().lblWait->hide();
}

} // namespace telvo::ui
