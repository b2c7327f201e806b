#pragma once
// The module-level state of the run: one object per subsystem, gathered in one session so that a
// test can start from a fresh run. Windows are created on first use and live for the run.

#include "core/config/IniFile.h"
#include "core/link/ReceiveRouter.h"
#include "core/log/LogLines.h"

#include <QString>
#include <QStringList>

class QWidget;

namespace telvo::ui {

class SCL;
class LDR;
class DBG;
class FP;
class INI;
class MDL;
class FWR;

struct AppGlobals {
    bool DebuggerMode = false;
    bool BootLoaderMode = false;
    bool NoDeviceFound = false;
    QString DeviceState;
    QString CommandLine;
    bool ResetRequested = false;
    // Log and prompts
    bool LastLogBlank = false;
    QString AlertText;
    qint16 FlashCount = 0;
    qint16 FlashCountLDR = 0;
    // The CTS line last logged, and the transfer's file position it reports.
    QString LastCTSLine;
    qint32 FilePosition = 0;
    // The start-up wait on the restart of a cut-off load.
    bool RestartBusy = false;
    // Names of the menu keys, 1-based.
    QStringList KeyNames;
    // The model list of the MDL window, as VORIXMODELS gave it.
    QStringList ModelList;
};

struct DriverGlobals {
    qint16 ProbeMode = 0;
    bool PortsEnumerated = false;
    QStringList lstComPorts; // hidden list of the ports found
    // The command line powers a device in standby only when asked to (--power-on).
    bool PowerUpAllowed = true;
    // What the last search met at each port, for the command line to tell why none answered.
    struct PortTry {
        QString port;         // "COMn"
        int openError = 0;    // the port's error number when it did not open
        QString openText;     // and its description
        QStringList silentAt; // the rates at which it opened and nothing answered
    };
    QList<PortTry> Tried;
};

// The main window's selectors: while set, a change the program makes is no user's command.
struct SettingsGlobals {
    bool SuppressTab = false;
    bool SuppressOutput = false;
    // Label index (n, n + 100, n + 200) to record index in Commands; grows, never shrinks.
    QList<qint16> ControlMap;
    qint16 SelectedCmd = 0;
    QWidget* SelectedLabel = nullptr;
    // What sort of entry the setting (or the IR tool's command) took: "Integer", "Range", "Value".
    QString ValueContext;
    // The view kept by SaveViewState: tab, preset index, digital output (-1 or 0).
    qint16 KeptTab = 0;
    qint16 KeptPreset = 0;
    qint16 KeptDigital = 0;
    // The command line has no view to put back: it keeps the selectors as the device answered
    // them (input, preset, output type, profile) and puts exactly those back.
    bool ExactPutBack = false;
    QStringList KeptSelection;
    // The device refused "Input SDI": the module is absent, the row is left out for the run.
    bool SDIFailed = false;
};

struct Session {
    AppGlobals app;
    core::LinkState link;
    core::ConfigTables config;
    DriverGlobals driver;
    SettingsGlobals settings;
    core::ConsoleText ldrText; // Text1 of LDR
    core::ConsoleText dbgText; // Text1 of DBG
};

Session& G();
inline AppGlobals& App() {
    return G().app;
}
inline core::LinkState& Link() {
    return G().link;
}
inline core::ConfigTables& Config() {
    return G().config;
}

// The windows of the run.
SCL& scl();
LDR& ldr();
DBG& dbg();
FP& fp();
INI& ini();
MDL& mdl();
FWR& fwr();
bool WindowExists(const char* name);

// Tests: throws away every window and all state, as a new run would have it.
void ResetSession();

} // namespace telvo::ui
