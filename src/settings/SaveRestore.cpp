#include "settings/SaveRestore.h"

namespace telvo::ui {

// Filled in by the main window's work; the loader calls these around a load.
void SaveSettings() {}
void RestoreSettings() {}

} // namespace telvo::ui
