#pragma once
// The main window's layouts and its setting panels.

namespace telvo::ui {

// The button row for DebuggerMode; also reads BootLoaderMode from the command line.
void ArrangeToolButtons();
// The beginner (1) or the full (0) layout.
void SetUserLayout(int level);
// Labels of the settings from the command records.
void BuildPanels();
void RefreshPanels(int mask);

} // namespace telvo::ui
