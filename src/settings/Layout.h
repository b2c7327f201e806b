#pragma once
// The main window's layouts and its setting panels.

namespace telvo::ui {

class SCL;

// Puts the main window's frames where the level wants them: 0 the full window, 1 the beginner's.
void ArrangeMainWindow(SCL& s, int level);

// Tab follows the reading order of the level's arrangement: in the full window the left block
// row by row (communications, device settings, options, support tools, termination), the
// details, the panels on the right, and the status line; in the beginner's the left column,
// then the right one, then the status line.
void SetReadingOrder(SCL& s, int level);

// The button row for DebuggerMode; also reads BootLoaderMode from the command line.
void ArrangeToolButtons();
// The beginner (1) or the full (0) layout.
void SetUserLayout(int level);
// Labels of the settings from the command records.
void BuildPanels();
void RefreshPanels(int mask);

} // namespace telvo::ui
