#include "platform/serial/LinkLatency.h"

namespace telvo::platform {
namespace {
int g_roundTripMs = 0;
}
int LinkRoundTripMs() {
    return g_roundTripMs;
}
void SetLinkRoundTripMs(int ms) {
    g_roundTripMs = ms < 0 ? 0 : ms;
}
} // namespace telvo::platform
