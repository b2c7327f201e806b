#pragma once
// The main window's layouts and the points where later subsystems join the start-up.

namespace telvo::ui {

// The button row for DebuggerMode; also reads BootLoaderMode from the command line.
void ArrangeToolButtons();
// The beginner (1) or the full (0) layout.
void SetUserLayout(int level);
// Labels of the settings from the command records.
void BuildPanels();
void RefreshPanels(int mask);
// The IR tool alone, for a run without a device.
void ShowIRToolAlone();
// The resumption of a firmware load that was cut off.
void ResumeCutOffLoad();
// The window that offers an exit speed; false when it came back by its cancel.
bool ShowExitSpeedWindow();

} // namespace telvo::ui
