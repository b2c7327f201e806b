#pragma once
// The window side of Telvo.ini: defaults on the controls, the two passes applied to them.

#include <QString>

namespace telvo::ui {

void InitDefaults();
bool CheckIniFile();
void ReadIniFile(int pass);
QString IniFilePath();
// Hex2Int with its message for a text of the wrong length.
int Hex2Int(const QString& text);

} // namespace telvo::ui
