#pragma once
// Where the main window and the start-up reach the subsystems that own windows of their own.
// Each subsystem defines its entries in its own folder (`src/<subsystem>/Entry.cpp`), so the
// main window needs no header of theirs.

namespace telvo::ui {

// IR tool (src/ir).
void ShowIRG();         // cmdDecodeIR
void ShowIRToolAlone(); // a run without a device: IRG alone
void ResetIrWindows();  // tests: throw the IR tool's windows and state away

// Gamma tool (src/gamma).
void ShowGMA();
void ResetGammaWindows();

// Support and update (src/support).
void ShowSUP();
void ResetSupportWindows();

// Advanced options (src/options).
void ShowADV();
void ResetOptionsWindows();

// Firmware loader (src/firmware).
void ResumeCutOffLoad(); // RestartLoader.txt found, or "BootLoader" on the command line
// Once connected (at start-up or by Connect): settings a load saved and never put back are
// offered again.
void RestoreSettingsOfCutOffLoad();
void cmdStartSCL_Click();    // the main window's Load Firmware: the adapter warning, then LDR
bool ShowExitSpeedWindow();  // false when it came back by its cancel
void cmdDelFileList_Click(); // ADV's list buttons
void cmdSaveFileList_Click();
void ResetFirmwareWindows();

} // namespace telvo::ui
