#pragma once
// All settings of all states to Settings.txt and back.

namespace telvo::ui {

void SaveSettings();
void RestoreSettings();

} // namespace telvo::ui
