#include "config/modRegistry.h"

#include <QFileInfo>
#include <QSettings>
#include <memory>

namespace telvo::ui {

namespace {

constexpr int kNotFound = 2;
constexpr int kAccessDenied = 5;
constexpr int kUnknownRoot = 99;

struct Root {
    const char* text;
    quint32 handle;
};
const Root kRoots[] = {{"HKCU", 0x80000001u}, {"HKLM", 0x80000002u}, {"HKU", 0x80000003u},
                       {"HKDD", 0x80000006u}, {"HKCC", 0x80000005u}, {"HKCR", 0x80000000u}};

QString rootText(quint32 handle) {
    for (const Root& r : kRoots)
        if (r.handle == handle)
            return QString::fromLatin1(r.text);
    return {};
}

// The store behind a registry root: the user's own, the machine's, or the test's private file.
std::unique_ptr<QSettings> registryFor(quint32 handle) {
    const QString file = qEnvironmentVariable("TELVO_REGISTRY_FILE");
    std::unique_ptr<QSettings> s;
    if (!file.isEmpty()) {
        s = std::make_unique<QSettings>(file, QSettings::IniFormat);
        s->beginGroup(rootText(handle));
        return s;
    }
    const auto scope = handle == 0x80000001u ? QSettings::UserScope : QSettings::SystemScope;
    s = std::make_unique<QSettings>(QSettings::IniFormat, scope, QStringLiteral("Brackwell"),
                                    QStringLiteral("Telvo"));
    if (handle != 0x80000001u)
        s->beginGroup(rootText(handle));
    return s;
}

QString pathOf(const QString& key, const QString& name) {
    QString k = key;
    k.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return k + QLatin1Char('/') + name;
}

QString letter(const QString& type) {
    return type.left(1).toUpper();
}

} // namespace

quint32 RootHandle(const QString& root) {
    const QString upper = root.toUpper();
    for (const Root& r : kRoots)
        if (upper == QLatin1String(r.text))
            return r.handle;
    return QFileInfo(root).isFile() ? 1 : 0;
}

int RegRead(const QString& root, const QString& key, const QString& name, const QString& type,
            QVariant& value, const QVariant& fallback) {
    const quint32 handle = RootHandle(root);
    if (handle == 0)
        return kUnknownRoot;
    const QString t = letter(type);
    if (handle == 1) {
        // A profile file: the key is the section, the name the entry.
        QSettings ini(root, QSettings::IniFormat);
        const QVariant v = ini.value(key + QLatin1Char('/') + name);
        if (t == QLatin1String("S")) {
            value = v.isValid() ? v.toString().left(255) : fallback.toString();
        } else {
            bool ok = false;
            const int n = v.toString().toInt(&ok);
            value = ok ? n : 0;
        }
        return 0;
    }
    const auto store = registryFor(handle);
    const QString path = pathOf(key, name);
    if (!store->contains(path))
        return kNotFound;
    const QVariant v = store->value(path);
    if (t == QLatin1String("S")) {
        value = v.toString();
    } else if (t == QLatin1String("B")) {
        // A value of another kind reads as what the buffer was given: no message.
        value = v.toString().toLongLong() != 0 ||
                v.toString().compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
    } else {
        bool ok = false;
        const qint64 n = v.toString().toLongLong(&ok);
        value = ok ? QVariant(qint32(n)) : QVariant(qint32(0));
    }
    return store->status() == QSettings::NoError ? 0 : kAccessDenied;
}

int RegRead(const QString& root, const QString& key, const QString& name, const QString& type,
            qint64& value, qint64 fallback) {
    QVariant v = fallback;
    const int rc = RegRead(root, key, name, type, v, fallback);
    value = rc == 0 ? v.toLongLong() : fallback;
    return rc;
}

int RegWrite(const QString& root, const QString& key, const QString& name, const QString& type,
             const QVariant& value) {
    const quint32 handle = RootHandle(root);
    if (handle == 0)
        return kUnknownRoot;
    const QString t = letter(type);
    if (handle == 1) {
        if (t != QLatin1String("S"))
            return 0;
        QSettings ini(root, QSettings::IniFormat);
        ini.setValue(key + QLatin1Char('/') + name, value.toString());
        ini.sync();
        return ini.status() == QSettings::NoError ? 0 : kAccessDenied;
    }
    const auto store = registryFor(handle);
    const QString path = pathOf(key, name);
    if (t == QLatin1String("S"))
        store->setValue(path, value.toString());
    else if (t == QLatin1String("B"))
        store->setValue(path, value.toBool() ? 1 : 0);
    else if (t == QLatin1String("D"))
        store->setValue(path, qint32(value.toLongLong()));
    else
        return 0; // another letter writes nothing
    store->sync();
    return store->status() == QSettings::NoError ? 0 : kAccessDenied;
}

} // namespace telvo::ui
