#pragma once
// The main window's layouts and its setting panels.

namespace telvo::ui {

class SCL;

// Puts the main window's frames where the level wants them: 0 the full window, 1 the beginner's.
void ArrangeMainWindow(SCL& s, int level);

// The button row for DebuggerMode; also reads BootLoaderMode from the command line.
void ArrangeToolButtons();
// The beginner (1) or the full (0) layout.
void SetUserLayout(int level);
// Labels of the settings from the command records.
void BuildPanels();
void RefreshPanels(int mask);

} // namespace telvo::ui
