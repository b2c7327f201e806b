#pragma once
// A small store of named values: the per-user registry of the platform (QSettings, organisation
// "Brackwell") for the root abbreviations, or a private profile (INI) file given by its path.
// TELVO_REGISTRY_FILE, when set, sends the registry roots to that file instead (tests), so that
// no test touches the user's own settings.

#include <QString>
#include <QVariant>

namespace telvo::ui {

// The key of the adapter warning's value.
inline constexpr const char* kDongleKey = "Software\\Brackwell\\Telvo\\Utility";

// The predefined handles of the roots; 1 for an existing profile file, 0 for anything else.
quint32 RootHandle(const QString& root);

// 0, or an error code (2: no such key or value; 5: no access); 99 for an unknown root.
// Type letters: "S" text, "B" boolean, "D" 32-bit number.
int RegRead(const QString& root, const QString& key, const QString& name, const QString& type,
            QVariant& value, const QVariant& fallback = QVariant());
int RegRead(const QString& root, const QString& key, const QString& name, const QString& type,
            qint64& value, qint64 fallback = 0);
int RegWrite(const QString& root, const QString& key, const QString& name, const QString& type,
             const QVariant& value);

} // namespace telvo::ui
