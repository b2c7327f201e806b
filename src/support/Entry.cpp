#include "app/Tools.h"

namespace telvo::ui {

void ShowSUP() {}
void ResetSupportWindows() {}

} // namespace telvo::ui
