#pragma once
// The program from its command line to its end: the start-up line, the application, Main, the
// event loop. The executable and the soak's long-running copy of it share it.

#include "platform/serial/PortMap.h"

#include <functional>

namespace telvo::ui {

// `beforeMain` runs once the application exists, before the start-up (nothing when empty).
int RunProgram(int argc, char** argv, telvo::platform::PortMap::PeerFactory peers,
               const std::function<void()>& beforeMain = {});

} // namespace telvo::ui
