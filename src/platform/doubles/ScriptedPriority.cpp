#include "platform/doubles/ScriptedPriority.h"

#include <memory>

namespace telvo::platform {

ScriptedPriority& InstallScriptedPriority() {
    auto p = std::make_unique<ScriptedPriority>();
    ScriptedPriority& ref = *p;
    InstallPriority(std::move(p));
    return ref;
}

} // namespace telvo::platform
