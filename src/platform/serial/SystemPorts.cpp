#include "platform/serial/SystemPorts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSerialPortInfo>
#include <algorithm>

namespace telvo::platform {

namespace {

PortLister& lister() {
    static PortLister l;
    return l;
}

// by-id links of the machine, keyed by the device file they point at.
QHash<QString, QString> byIdLinks() {
    QHash<QString, QString> out;
    const QDir dir(QStringLiteral("/dev/serial/by-id"));
    for (const QFileInfo& fi : dir.entryInfoList(QDir::Files | QDir::System | QDir::NoDotAndDotDot))
        out.insert(fi.canonicalFilePath(), fi.absoluteFilePath());
    return out;
}

// The kernel lists ttyS0..ttyS31 whether or not a UART is there; sysfs gives type 0 for none.
bool uartPresent(const QString& path) {
    static const QRegularExpression uart(QStringLiteral("^/dev/(ttyS\\d+)$"));
    const auto m = uart.match(path);
    if (!m.hasMatch())
        return true;
    QFile type(QStringLiteral("/sys/class/tty/") + m.captured(1) + QStringLiteral("/type"));
    if (!type.open(QIODevice::ReadOnly))
        return true;
    return type.readAll().trimmed() != "0";
}

QList<SystemPort> machinePorts() {
    QList<SystemPort> out;
    const QHash<QString, QString> links = byIdLinks();
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
        SystemPort p;
        p.path = info.systemLocation();
        p.byId = links.value(QFileInfo(p.path).canonicalFilePath());
        p.description = info.description();
        p.manufacturer = info.manufacturer();
        p.serialNumber = info.serialNumber();
        p.hasHardware = uartPresent(p.path);
        out << p;
    }
    return out;
}

} // namespace

QString SystemPort::label() const {
    QString text = path;
    QStringList about;
    if (!manufacturer.isEmpty())
        about << manufacturer;
    if (!description.isEmpty() && description != manufacturer)
        about << description;
    QString what = about.join(QLatin1Char(' '));
    if (!serialNumber.isEmpty())
        what += (what.isEmpty() ? QString() : QStringLiteral(", ")) + QStringLiteral("serial ") +
                serialNumber;
    if (!what.isEmpty())
        text += QStringLiteral(": ") + what;
    if (!byId.isEmpty())
        text += QStringLiteral(" [") + QFileInfo(byId).fileName() + QLatin1Char(']');
    return text;
}

bool NaturalLess(const QString& a, const QString& b) {
    int i = 0;
    int j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            int ei = i;
            int ej = j;
            while (ei < a.size() && a[ei].isDigit())
                ++ei;
            while (ej < b.size() && b[ej].isDigit())
                ++ej;
            const qulonglong na = a.mid(i, ei - i).toULongLong();
            const qulonglong nb = b.mid(j, ej - j).toULongLong();
            if (na != nb)
                return na < nb;
            i = ei;
            j = ej;
            continue;
        }
        if (a[i] != b[j])
            return a[i] < b[j];
        ++i;
        ++j;
    }
    return a.size() - i < b.size() - j;
}

QList<SystemPort> OrderPorts(QList<SystemPort> ports) {
    ports.erase(
        std::remove_if(ports.begin(), ports.end(),
                       [](const SystemPort& p) { return !p.hasHardware || p.path.isEmpty(); }),
        ports.end());
    std::stable_sort(ports.begin(), ports.end(), [](const SystemPort& a, const SystemPort& b) {
        if (a.byId.isEmpty() != b.byId.isEmpty())
            return !a.byId.isEmpty();
        return a.byId.isEmpty() ? NaturalLess(a.path, b.path) : NaturalLess(a.byId, b.byId);
    });
    return ports;
}

void SetPortLister(PortLister l) {
    lister() = std::move(l);
}

QList<SystemPort> ListSystemPorts() {
    return OrderPorts(lister() ? lister()() : machinePorts());
}

} // namespace telvo::platform
