#pragma once
// Working the device's own menu by key presses, and the two requests that make it unnecessary
// on newer firmware.

#include <QString>

namespace telvo::ui {

// "4,6,1": so many Downs on each level, an Enter between levels, none after the last.
void Navigate(const QString& path);
bool CommandUpdateMode();
bool CommandRestartMode();
bool EnterFirmwareUpdateMode();

} // namespace telvo::ui
