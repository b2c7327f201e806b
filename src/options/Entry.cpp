#include "app/Controls.h"
#include "app/Tools.h"

#include "options/ADV.h"

#include <memory>

namespace telvo::ui {

namespace {
struct OptionsModule {
    std::unique_ptr<ADV> window;
    bool loaded = false;
};

OptionsModule& module() {
    static OptionsModule m;
    return m;
}
} // namespace

ADV& adv() {
    auto& m = module();
    if (!m.window)
        m.window = std::make_unique<ADV>();
    return *m.window;
}

// Created on first use and hidden, never unloaded; each showing brings it up to date.
void ShowADV() {
    auto& m = module();
    ADV& w = adv();
    ShowLoadedWindow(w, m.loaded);
}

void ResetOptionsWindows() {
    auto& m = module();
    m.window.reset();
    m.loaded = false;
}

} // namespace telvo::ui
