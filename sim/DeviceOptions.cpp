#include "DeviceOptions.h"

#include <QCommandLineParser>

namespace vorix::sim {

namespace {

struct Opt {
    const char* name;
    const char* help;
    const char* value; // nullptr: a switch
};

const Opt kOptions[] = {
    {"baud", "Rate at power-on and after a restart (default 19200).", "rate"},
    {"model", "Model name (default: Model of the Telvo.ini).", "name"},
    {"model-text", "Answer to A8 (default: \"Vorix \" and the model).", "text"},
    {"firmware", "Answer to A9 (default: Current Firmware of the Telvo.ini).", "version"},
    {"standby", "Power on in standby.", nullptr},
    {"power-up-after", "Power up only at the n-th power-on command (default 1).", "n"},
    {"echo", "Send every frame back before answering it.", nullptr},
    {"ack-old-rate", "Acknowledge a speed change at the old rate.", nullptr},
    {"no-sdi", "No SDI module: input 12 is refused.", nullptr},
    {"keep-settings", "Keep the settings through a firmware load.", nullptr},
    {"reply-delay", "Milliseconds before an answer (default 2).", "ms"},
    {"reboot-delay", "Milliseconds of reboot after a good image (default 8000).", "ms"},
    {"reboot-baud", "Rate after a load (default: the loader's rate).", "rate"},
    {"restart-delay", "Milliseconds of a restart by command (default 2000).", "ms"},
    {"page-size", "Bytes the loader writes at once (default 1024).", "bytes"},
    {"page-write", "Milliseconds CTS stays low for a page (default 12).", "ms"},
    {"silent", "Fault: hear nothing, say nothing.", nullptr},
    {"garbage", "Fault: send n noise bytes before every reply.", "n"},
    {"reply-baud", "Fault: answer at this rate instead of the device's own.", "rate"},
    {"error-for", "Fault: answer ID with error CODE (ID=CODE, comma-separated).", "list"},
    {"fail-at-byte", "Fault: the loader fails at byte n of an image.", "n"},
    {"fail-times", "How many attempts fail at that byte (default 1, 0: all).", "n"},
    {"spinner-stopped", "Fault: the loader shows no spinner.", nullptr},
    {"deaf-to-speed", "Fault: a speed change is neither answered nor made.", nullptr},
    {"cts-low", "Fault: CTS held low all the time.", nullptr},
    {"cts-stall-at-byte", "Fault: the loader holds CTS low from byte n of an image on.", "n"},
    {"cut-at-byte", "Fault: the line goes dead at byte n of an image.", "n"},
    {"settings",
     "The user's values at power-on, set in order (ID=VALUE, comma-separated; 4C and "
     "60 choose the input and output of the values after them).",
     "list"},
};

bool readInt(const QCommandLineParser& p, const char* name, qint64& out, QString* error,
             qint64 scale = 1) {
    const QString key = QLatin1String(name);
    if (!p.isSet(key))
        return true;
    bool ok = false;
    const qint64 v = p.value(key).toLongLong(&ok);
    if (!ok || v < 0) {
        if (error)
            *error = QStringLiteral("--%1: not a number: %2").arg(key, p.value(key));
        return false;
    }
    out = v * scale;
    return true;
}

bool readInt(const QCommandLineParser& p, const char* name, int& out, QString* error) {
    qint64 v = out;
    if (!readInt(p, name, v, error))
        return false;
    out = int(v);
    return true;
}

} // namespace

void AddDeviceOptions(QCommandLineParser& parser) {
    for (const Opt& o : kOptions) {
        if (o.value)
            parser.addOption(QCommandLineOption(QString::fromLatin1(o.name),
                                                QString::fromLatin1(o.help),
                                                QString::fromLatin1(o.value)));
        else
            parser.addOption(
                QCommandLineOption(QString::fromLatin1(o.name), QString::fromLatin1(o.help)));
    }
}

bool ReadDeviceOptions(const QCommandLineParser& p, DeviceOptions& o, QString* error) {
    Faults& f = o.faults;
    const auto flag = [&p](const char* name) { return p.isSet(QLatin1String(name)); };
    if (p.isSet(QStringLiteral("model")))
        o.model = p.value(QStringLiteral("model"));
    if (p.isSet(QStringLiteral("model-text")))
        o.modelText = p.value(QStringLiteral("model-text"));
    if (p.isSet(QStringLiteral("firmware")))
        o.firmware = p.value(QStringLiteral("firmware"));
    o.startStandby = o.startStandby || flag("standby");
    o.echo = o.echo || flag("echo");
    o.ackAtOldRate = o.ackAtOldRate || flag("ack-old-rate");
    o.sdiModule = o.sdiModule && !flag("no-sdi");
    o.keepSettingsOnLoad = o.keepSettingsOnLoad || flag("keep-settings");
    f.silent = f.silent || flag("silent");
    f.spinnerStopped = f.spinnerStopped || flag("spinner-stopped");
    f.deafToSpeedChange = f.deafToSpeedChange || flag("deaf-to-speed");
    f.ctsHeldLow = f.ctsHeldLow || flag("cts-low");

    const bool ok = readInt(p, "baud", o.baud, error) &&
                    readInt(p, "power-up-after", o.powerUpTries, error) &&
                    readInt(p, "reply-delay", o.replyDelayUs, error, 1000) &&
                    readInt(p, "reboot-delay", o.rebootDelayUs, error, 1000) &&
                    readInt(p, "reboot-baud", o.rebootBaud, error) &&
                    readInt(p, "restart-delay", o.restartDelayUs, error, 1000) &&
                    readInt(p, "page-size", o.pageSize, error) &&
                    readInt(p, "page-write", o.pageWriteUs, error, 1000) &&
                    readInt(p, "garbage", f.garbageBytes, error) &&
                    readInt(p, "reply-baud", f.replyBaud, error) &&
                    readInt(p, "fail-at-byte", f.failAtImageByte, error) &&
                    readInt(p, "fail-times", f.failTimes, error) &&
                    readInt(p, "cts-stall-at-byte", f.ctsStallAtImageByte, error) &&
                    readInt(p, "cut-at-byte", f.cutAtImageByte, error);
    if (!ok)
        return false;
    if (o.baud <= 0 || o.pageSize <= 0) {
        if (error)
            *error = QStringLiteral("--baud and --page-size must be above 0");
        return false;
    }

    if (p.isSet(QStringLiteral("error-for"))) {
        for (const QString& list : p.values(QStringLiteral("error-for"))) {
            for (const QString& item : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
                const QStringList kv = item.split(QLatin1Char('='));
                bool codeOk = false;
                const int code = kv.size() == 2 ? kv[1].trimmed().toInt(&codeOk) : 0;
                if (!codeOk || kv[0].trimmed().isEmpty()) {
                    if (error)
                        *error = QStringLiteral("--error-for: expected ID=CODE, got ") + item;
                    return false;
                }
                f.errorFor.insert(kv[0].trimmed().toUpper().toLatin1(), code);
            }
        }
    }
    for (const QString& list : p.values(QStringLiteral("settings"))) {
        for (const QString& item : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const qsizetype eq = item.indexOf(QLatin1Char('='));
            if (eq <= 0) {
                if (error)
                    *error = QStringLiteral("--settings: expected ID=VALUE, got ") + item;
                return false;
            }
            o.settings.append({item.left(eq).trimmed().toUpper().toLatin1(),
                               item.mid(eq + 1).trimmed().toLatin1()});
        }
    }
    return true;
}

bool ParseDeviceOptions(const QStringList& words, DeviceOptions& options, QString* error) {
    QCommandLineParser parser;
    AddDeviceOptions(parser);
    if (!parser.parse(QStringList{QStringLiteral("device")} + words)) {
        if (error)
            *error = parser.errorText();
        return false;
    }
    return ReadDeviceOptions(parser, options, error);
}

} // namespace vorix::sim
