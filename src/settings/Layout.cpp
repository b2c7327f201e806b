#include "settings/Layout.h"

#include "app/Globals.h"
#include "app/Main.h"
#include "app/MajorSubs.h"
#include "settings/SCL.h"

namespace telvo::ui {

void ArrangeToolButtons() {
    SCL& s = scl();
    const bool debug = App().DebuggerMode;
    s.cmdDebugger->setVisible(debug);
    s.cmdAdvanced->setVisible(debug);
    s.cmdGamma->setVisible(debug);
    App().BootLoaderMode = CommandLineHas(QStringLiteral("BootLoader"));
}

void SetUserLayout(int level) {
    SCL& s = scl();
    // The beginner layout shows no settings and none of the expert's fields.
    const bool full = level != 1;
    for (QWidget* w : {static_cast<QWidget*>(s.SSTab1), static_cast<QWidget*>(s.FrameTop),
                       static_cast<QWidget*>(s.FrameMid), static_cast<QWidget*>(s.FrameBtm),
                       static_cast<QWidget*>(s.cmdRefreshAll), static_cast<QWidget*>(s.cmdSave),
                       static_cast<QWidget*>(s.cmdRestore)})
        w->setVisible(full);
}

// The settings panels arrive with their own work; until then these points of the start-up end
// where they stand.
void BuildPanels() {}
void RefreshPanels(int) {}

} // namespace telvo::ui
