#include "app/Tools.h"

#include "app/Globals.h"
#include "ir/IRG.h"
#include "settings/SCL.h"

#include <memory>

namespace telvo::ui {

namespace {
std::unique_ptr<IRG>& window() {
    static auto* w = new std::unique_ptr<IRG>;
    return *w;
}
} // namespace

// Created (and loaded) on first use, hidden by its Done button, never destroyed.
IRG& irg() {
    if (!window())
        window() = std::make_unique<IRG>();
    return *window();
}

void ShowIRG() {
    IRG& w = irg();
    w.show();
    w.raise();
    w.activateWindow();
}

// A run without a device: the main window stays hidden and the IR window is the whole run.
void ShowIRToolAlone() {
    IRG& w = irg();
    SetCaption(w.quit, QStringLiteral("Quit"));
    scl().hide();
    ShowIRG();
}

void ResetIrWindows() {
    window().reset();
    Ir() = IrGlobals{};
}

} // namespace telvo::ui
