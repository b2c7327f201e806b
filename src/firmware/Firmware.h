#pragma once
// The firmware loader's routines and module state: file lists, the load sequence, the block
// transfer and the windows that drive them.

#include "core/firmware/LoadResult.h"

#include <QByteArray>
#include <QString>

namespace telvo::ui {

class EX;
class RS;
class DG;

struct FirmwareGlobals {
    QString LastFirmwareFile;
    qint16 RestartIndex = 0;
    bool RestartLoad = false;
    // A load started by the offer to load again after a device not found (offered once).
    bool LoadingAgain = false;
    // Abort closed the firmware request of the reboot's version query: the load ends there.
    bool RequestAborted = false;
    // The transfer (FilePosition lives with the receive handler, which reports it on a CTS drop).
    qint16 BlockSize = 100;
    QByteArray BlockBuffer;
    qint32 BytesRemaining = 0;
    qint32 FileBytes = 0;
    qint64 XferStartMs = 0;
    bool LoaderTimedOut = false;
    int SavedTimeouts = 0;
    // The adapter warning's answer.
    bool DgCancelled = false;
};

FirmwareGlobals& FW();

// The windows of the loader, created on first use.
bool FirmwareWindowExists(const char* name); // "EX", "RS", "DG"
EX& ex();
RS& rs();
DG& dg();

// Lists.
QString SelectFirmwareFile(const QString& dir, const QString& title, int mode = 0);
QString SelectFirmwareFile(const QString& dir); // the title left out
qint16 BuildFileList(bool multiple);            // the count of files, or core::kNoFileList

// The block transfer.
qint32 FileSizeOf(const QString& path);
qint16 XfrOneFile(); // a core::TransferResult
void RestartTransfer();
void tmrload_Timer();

// The load sequence.
void cmdStartSCL_Click();
void cmdStartLDR_Click();
bool CheckDeviceReady();
qint16 StartFirmwareLoad(bool restart); // a core::LoadResult, as LoadTheFiles
// StartFirmwareLoad then FinishFirmwareLoad, whatever ends the load (a run-time error too).
void RunFirmwareLoad(bool restart);
qint16 LoadTheFiles(bool restart);
void FinishFirmwareLoad(qint16 code);
bool RecoverCommunications();
void LoadEnded();

// The RS window as a modal window (LDR's Restart button).
void ShowRestartWindow();

// The copy of the settings a load saved before it began (kept until they are restored).
QString LoadSettingsPath();

// RestartLoader.txt, written beside and renamed into place. False with the error's text.
bool WriteRestartFile(qint16 index, QString* error);

} // namespace telvo::ui
