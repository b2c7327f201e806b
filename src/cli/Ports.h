#pragma once
// Why a port did not open, in words a user can act on; `ports` tells it beside each port.

#include "platform/serial/PortMap.h"

#include <QString>

namespace telvo::cli {

// From the serial control's error of the failed open (number and text) and what the COM name
// stands for: "the device file does not exist", "permission denied; add your user to the dialout
// group (...)", "busy (another program has it open)", "host not found", ...
// `logged`: what the port layer logged of the attempt, searched too for the network's reasons.
QString OpenRefusal(int errNumber, const QString& errText, const platform::PortTarget& target,
                    const QString& logged = QString());

} // namespace telvo::cli
