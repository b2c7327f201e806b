#pragma once
// All settings of all states to Settings.txt and back.

#include <QString>

namespace telvo::ui {

// True when the save ended whole: every row read and Settings.txt replaced.
bool SaveSettings();
// The same save into another file, written beside it and renamed into place when whole.
bool SaveSettingsTo(const QString& path);
void RestoreSettings();
// The same restore from another file of the same format (a load's own copy).
// True when every line of the file went back (none cancelled).
bool RestoreSettingsFrom(const QString& path);
void ApplyParameter(const QString& stateType, const QString& parameter, const QString& state,
                    const QString& item);

// The main window's buttons of this subsystem.
void cmdSave_Click();
void cmdRestore_Click();
void cmdSaveAs_Click();
void cmdSaveAs2_Click();

} // namespace telvo::ui
