#include "app/Tools.h"

namespace telvo::ui {

void ShowADV() {}
void ResetOptionsWindows() {}

} // namespace telvo::ui
