#include "app/Tools.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "settings/SCL.h"

namespace telvo::ui {

// Until the IR window is built, a run without a device says so on the main window.
void ShowIRG() {}
void ShowIRToolAlone() {
    scl().show();
    ShowStatus(QStringLiteral("Vorix Connected = False: the IR tool runs without a device"));
}
void ResetIrWindows() {}

} // namespace telvo::ui
