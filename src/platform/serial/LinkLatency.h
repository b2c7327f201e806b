#pragma once
// The round trip of the link the open port runs over, in milliseconds: 0 on a local port, measured
// on a network one (at connect, then kept up to date while it runs).
namespace telvo::platform {
int LinkRoundTripMs();
void SetLinkRoundTripMs(int ms);
} // namespace telvo::platform
