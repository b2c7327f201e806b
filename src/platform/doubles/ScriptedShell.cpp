#include "platform/doubles/ScriptedShell.h"

#include <memory>

namespace telvo::platform {

ScriptedShell& InstallScriptedShell() {
    auto s = std::make_unique<ScriptedShell>();
    ScriptedShell& ref = *s;
    InstallShell(std::move(s));
    return ref;
}

} // namespace telvo::platform
