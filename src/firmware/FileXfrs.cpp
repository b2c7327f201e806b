#include "firmware/Firmware.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/firmware/FirmwareFiles.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "settings/SCL.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

namespace telvo::ui {

namespace {

// Statements after the file's opening pass over their run-time errors, one by one.
template <typename F> void resumeNext(F&& statement) {
    try {
        statement();
    } catch (const core::RuntimeError&) {
    }
}

qint64 nowMs() {
    return platform::Clock::instance().nowMs();
}

// One yield that doesn't wait: what is pending runs, and the line goes on at once. (A waiting
// yield would, under the virtual clock, jump to the next scheduled event.)
void yieldOnce() {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    platform::Clock::instance().fireDue();
    platform::ThrowIfEnded();
}

void showProgress() {
    FirmwareGlobals& fw = FW();
    LDR& l = ldr();
    const int pending = scl().P1->OutBufferCount();
    const qint64 elapsedMs = nowMs() - fw.XferStartMs;
    resumeNext([&] {
        // Whole seconds, as the classic difference of two times counts them.
        const qint64 wholeSeconds = elapsedMs / 1000;
        const qint16 elapsed = core::CInt(double(wholeSeconds));
        l.lblMessage->setText(core::TransferProgressText(elapsed, App().FilePosition, fw.BlockSize,
                                                         pending, fw.BytesRemaining));
    });
    l.ShowProgress(qint64(App().FilePosition) + fw.BlockSize - pending, fw.FileBytes, elapsedMs);
}

void wireWatchdog() {
    platform::Timer* t = scl().tmrload;
    if (t->property("loaderWired").toBool())
        return;
    t->setProperty("loaderWired", true);
    QObject::connect(t, &platform::Timer::Tick, t, [] { Handle(tmrload_Timer); });
}

void clearLoaderText() {
    G().ldrText.clear();
    G().dbgText.clear();
    ldr().SyncText();
    if (WindowExists("DBG"))
        dbg().SyncText();
}

} // namespace

qint32 FileSizeOf(const QString& path) {
    // The low 32 bits of the size, as the classic call gives them.
    return qint32(quint32(QFileInfo(platform::NativePath(path)).size() & 0xFFFFFFFFu));
}

void tmrload_Timer() {
    core::LinkState& l = Link();
    if (l.SpinnerCount >= 1) {
        l.SpinnerCount = 0;
        FW().LoaderTimedOut = false;
    } else {
        FW().LoaderTimedOut = true;
    }
}

void RestartTransfer() {
    FirmwareGlobals& fw = FW();
    core::LinkState& l = Link();
    clearLoaderText();
    fw.BlockSize = 100;
    l.LoaderFailed = false;
    l.LoaderAborted = false;
    l.LoaderReady = false;
    fw.BlockBuffer.resize(100);
    App().FilePosition = 0;
    SetState(QStringLiteral("OC Loading"));
    // The user brings the device back to its prompt; nothing is sent for it.
    BreakpointLDR(QStringLiteral("Make sure the ") + scl().DeviceModel->text() +
                  QStringLiteral(" is Displaying message: 'Load frk File now.'."));
    fw.XferStartMs = nowMs();
    fw.BytesRemaining = fw.FileBytes;
}

qint16 XfrOneFile() {
    SCL& s = scl();
    LDR& l = ldr();
    FirmwareGlobals& fw = FW();
    core::LinkState& link = Link();
    qint32& position = App().FilePosition;
    platform::CommControl* P1 = s.P1;

    if (s.chkNoFWupdate->isChecked()) {
        LogLine(QStringLiteral("Skipping Firmware file transfer, debug is set so exiting"));
        return core::kTransferDone;
    }
    const QString name = l.txtFileName->text();
    fw.BytesRemaining = FileSizeOf(name);
    fw.FileBytes = fw.BytesRemaining;
    QFile file(platform::NativePath(name));
    if (name.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        ShowAlertLDR(
            QStringLiteral("XfrOneFile: Error opening firmware file; ") +
            (name.isEmpty() ? QStringLiteral("Bad file name or number") : file.errorString()));
        return core::kTransferNoFile;
    }
    // A port text without a number ("", "?????") names no port: the control would keep the
    // last one it held, and the image would go where the user never chose.
    const int port = int(core::Val(core::Mid(s.txtPort->text(), 4)));
    if (port < 1) {
        ShowAlertLDR(QStringLiteral("XfrOneFile: No COM port chosen to send the firmware to; '") +
                     s.txtPort->text() + QLatin1Char('\''));
        return core::kTransferNoFile;
    }
    wireWatchdog();
    // Flags of an earlier transfer don't end this one.
    link.LoaderFailed = false;
    link.LoaderAborted = false;

    if (P1->PortOpen())
        P1->setPortOpen(false);
    P1->setHandshaking(2);
    P1->setSettings(s.txtxfrspeed->text() + QStringLiteral(",n,8,1"));
    P1->setCommPort(port);
    P1->setRThreshold(1);
    P1->setSThreshold(0);
    P1->setPortOpen(true);
    (void)P1->CommID();
    fw.SavedTimeouts = P1->WriteTimeout();
    P1->setWriteTimeout(0);
    DevicePause(250);

    fw.BlockSize = 100;
    fw.BlockBuffer.resize(100);
    fw.XferStartMs = nowMs();
    position = 0;
    l.StartProgress(fw.FileBytes);

    const auto finish = [&](qint16 code) {
        file.close();
        P1->setWriteTimeout(fw.SavedTimeouts);
        return code;
    };

    // The end of the file is where the next block would begin: a size that is a multiple of
    // the block size ends with its last full block, never an empty one.
    while (qint64(position) < file.size()) {
        file.seek(position);
        QByteArray block = file.read(fw.BlockSize);
        block.resize(fw.BlockSize, '\0');
        if (fw.BytesRemaining < fw.BlockSize)
            block.resize(qMax(fw.BytesRemaining, 0));
        fw.BlockBuffer = block;
        fw.LoaderTimedOut = false;
        platform::Timer* watch = s.tmrload;
        watch->setEnabled(false);
        watch->setEnabled(true);
        watch->setEnabled(true);
        link.SpinnerCount = 1;
        if (!P1->PortOpen()) {
            LogLine(QStringLiteral("XFRoneFile attempted to send a file block, Port is closed"));
            ReopenPort();
            // A port that will not open carries nothing: the watch's verdict, at once.
            if (!P1->PortOpen())
                fw.LoaderTimedOut = true;
        }
        P1->OutputBytes(fw.BlockBuffer);
        // The whole of the pacing: the block drains (CTS holds it) before the next goes.
        while (P1->OutBufferCount() > 0 && !fw.LoaderTimedOut)
            platform::DoEvents();
        if (!fw.LoaderTimedOut && !link.LoaderFailed && !link.LoaderAborted) {
            yieldOnce();
            showProgress();
            position += fw.BlockSize;
            fw.BytesRemaining -= fw.BlockSize;
            link.DeviceTalking = false;
        }
        // The flags in their order of test: the first that holds asks its question.
        const qint16 code = link.LoaderFailed    ? core::kTransferFailed
                            : link.LoaderAborted ? core::kTransferAborted
                            : fw.LoaderTimedOut  ? core::kTransferTimedOut
                                                 : core::kTransferDone;
        if (code != core::kTransferDone) {
            const QString question =
                code == core::kTransferFailed ? core::TransferFailedText(position)
                : code == core::kTransferAborted
                    ? core::UserAbortedText(position)
                    : core::LoaderTimedOutText(s.DeviceModel->text(), position);
            if (!ConfirmOperationLDR(question)) {
                (code == core::kTransferFailed ? l.lblWait : s.lblWait)->hide();
                return finish(code);
            }
            RestartTransfer();
            l.StartProgress(fw.FileBytes);
        }
    }
    return finish(core::kTransferDone);
}

} // namespace telvo::ui
