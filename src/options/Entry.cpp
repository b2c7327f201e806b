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
    if (!m.window) m.window = std::make_unique<ADV>();
    return *m.window;
}

// Created on first use and hidden, never unloaded; each showing brings it up to date.
void ShowADV() {
    auto& m = module();
    ADV& w = adv();
    if (!m.loaded) {
        m.loaded = true;
        w.Form_Load();
    }
    w.show();
    w.raise();
    w.activateWindow();
    w.Form_Activate();
}

void ResetOptionsWindows() {
    auto& m = module();
    m.window.reset();
    m.loaded = false;
}

} // namespace telvo::ui
