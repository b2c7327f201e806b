#include "app/Tools.h"

namespace telvo::ui {

void ShowGMA() {}
void ResetGammaWindows() {}

} // namespace telvo::ui
