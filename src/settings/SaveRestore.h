#pragma once
// All settings of all states to Settings.txt and back.

#include <QString>

namespace telvo::ui {

void SaveSettings();
void RestoreSettings();
void ApplyParameter(const QString& stateType, const QString& parameter, const QString& state,
                    const QString& item);

// The main window's buttons of this subsystem.
void cmdSave_Click();
void cmdRestore_Click();
void cmdSaveAs_Click();
void cmdSaveAs2_Click();

} // namespace telvo::ui
