#pragma once
// One setting of the device, read or sent as a click on its label does, for get, set and apply.

#include "core/config/CommandRec.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <optional>

namespace telvo::cli {

// The record of a setting by its name in Telvo.ini (case ignored); 0 when none.
int RecordOf(const QString& name);

// A number as JSON takes it, or nothing when the text is none.
std::optional<double> NumberOf(const QString& text);
// A setting's value for a script: a number for the numeric kinds, the label's text otherwise.
QJsonValue SettingValue(const core::CommandRec& rec, const QString& text);
// The setting's name, text, protocol code and value, as get and set print them.
QJsonObject SettingFields(const core::CommandRec& rec, const QString& text);

// What an exchange left: the value as the label shows it, or what went wrong ("Err:" and the
// device's text, or a time-out).
struct Reading {
    QString text;
    QString failure;
};
// Queries the setting.
Reading ReadSetting(int record);
// Sends a value (checked beforehand) through the chooser a click on the label opens: the list or
// the enter box. The chooser queries the setting after the set: `text` is that read-back.
Reading SendSetting(int record, const QString& value);

} // namespace telvo::cli
