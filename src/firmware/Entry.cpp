#include "app/Tools.h"

#include "app/MajorSubs.h"

namespace telvo::ui {

// Until the loader is built, a cut-off load is only logged and End has no exit-speed window.
void ResumeCutOffLoad() {
    LogLine(QStringLiteral("RestartLoader.txt found: a firmware load was cut off"));
}
bool ShowExitSpeedWindow() { return false; }
void cmdDelFileList_Click() {}
void cmdSaveFileList_Click() {}
void ResetFirmwareWindows() {}

} // namespace telvo::ui
