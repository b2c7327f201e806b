#pragma once
// The setting panels: labels from the command records, their refresh, and the selectors that
// choose which state of the device they show.

#include <QString>

namespace telvo::ui {

QString FormatAnswer(const QString& reply);
void SaveViewState();
void RestoreViewState();

// The record behind a label index, 0 when none.
int ControlMapAt(int index);

// Events of the selectors.
void SSTab1_Click();
void lstPreset_DblClick();
void lstProfile_DblClick();
void optAnalog_Click();
void optDigital_Click();
void cmdRefreshAll_Click();
void Frame_Click();
void chkDefaults_Click();
void chkSaveRestore_Click();

} // namespace telvo::ui
