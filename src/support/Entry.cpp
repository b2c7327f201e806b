#include "app/Controls.h"
#include "app/Tools.h"

#include "support/SUP.h"
#include "support/SupportState.h"

#include <memory>

namespace telvo::ui {

namespace {
struct SupportModule {
    SupportGlobals state;
    SupportConfig config;
    std::unique_ptr<SUP> window;
    bool loaded = false;
};

std::unique_ptr<SupportModule>& module() {
    static std::unique_ptr<SupportModule> m = std::make_unique<SupportModule>();
    return m;
}
} // namespace

SupportGlobals& Support() {
    return module()->state;
}
SupportConfig& SupportSettings() {
    return module()->config;
}

SUP& sup() {
    auto& m = *module();
    if (!m.window)
        m.window = std::make_unique<SUP>();
    return *m.window;
}

bool SupExists() {
    return bool(module()->window);
}

// The window loads on its first showing and is hidden, never unloaded; every showing
// activates it.
void ShowSUP() {
    auto& m = *module();
    SUP& w = sup();
    ShowLoadedWindow(w, m.loaded);
}

void ResetSupportWindows() {
    auto& m = module();
    if (m && m->window)
        m->window->winsock->abort();
    m = std::make_unique<SupportModule>();
}

} // namespace telvo::ui
