#pragma once
// Value entry: the floating choosers a click on a setting's label opens, and what a choice sends.

#include <QString>

class QWidget;

namespace telvo::ui {

// A mouse-down on a label: `index` as in ControlMap, (x, y) the pointer in the label, `panel`
// one of "top", "Mid", "Btm" (case ignored).
void OpenSetting(QWidget* label, int index, int x, int y, const QString& panel);
// The enter box's key press; only Enter acts.
void txtValEnter_KeyPress(int keyAscii);
void lstSelect_Click();

// The label of a record, rewritten from the reply buffer after its query.
void ShowValueOf(int record);

} // namespace telvo::ui
