#include "app/Tools.h"
#include "gamma/GMA.h"

#include <memory>

namespace telvo::ui {

namespace {
std::unique_ptr<GMA>& slot() {
    static std::unique_ptr<GMA> w;
    return w;
}
} // namespace

GMA& gma() {
    if (!slot())
        slot() = std::make_unique<GMA>();
    return *slot();
}

bool GmaExists() {
    return slot() != nullptr;
}

void ShowGMA() {
    GMA& w = gma();
    w.show();
    w.raise();
    w.activateWindow();
}

void ResetGammaWindows() {
    slot().reset();
}

} // namespace telvo::ui
