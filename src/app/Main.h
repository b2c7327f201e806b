#pragma once
// The run from start to end.

#include <QString>
#include <Qt>

namespace telvo::ui {

// The start-up; returns when the event loop is to take over.
void Main();
// Start-up from the [SYSTEM] preferences of Telvo.ini to an empty loader and console.
void ApplyStartupPreferences();
// The command line as one text, searched for the system's words.
void SetCommandLine(const QString& line);
bool CommandLineHas(const QString& word);

// The ways out.
void cmdEnd_MouseDown(Qt::KeyboardModifiers shift);
void SCL_QueryUnload();

} // namespace telvo::ui
