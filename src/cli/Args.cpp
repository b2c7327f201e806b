#include "cli/Args.h"

namespace telvo::cli {

namespace {

// The named options that take a value, per command; any other word with "--" is a usage error.
QStringList valueOptionsOf(const QString& command) {
    if (command == QLatin1String("gamma"))
        return {QStringLiteral("--source"), QStringLiteral("--scalar"),
                QStringLiteral("--reference")};
    if (command == QLatin1String("ir"))
        return {QStringLiteral("--value"), QStringLiteral("--key"), QStringLiteral("--format")};
    return {};
}

bool flagOf(const QString& command, const QString& word, Options& o) {
    if (command == QLatin1String("ports") && word == QLatin1String("--probe")) {
        o.probe = true;
        return true;
    }
    if (command == QLatin1String("load")) {
        if (word == QLatin1String("--save-settings")) o.saveSettings = true;
        else if (word == QLatin1String("--restore-defaults")) o.restoreDefaults = true;
        else if (word == QLatin1String("--resume")) o.resume = true;
        else return false;
        return true;
    }
    return false;
}

} // namespace

QStringList CommandNames() {
    return {QStringLiteral("ports"),   QStringLiteral("info"),    QStringLiteral("get"),
            QStringLiteral("set"),     QStringLiteral("save"),    QStringLiteral("restore"),
            QStringLiteral("diff"),    QStringLiteral("load"),
            QStringLiteral("console"), QStringLiteral("ir"),      QStringLiteral("gamma")};
}

QString NamedValue(const Options& o, const QString& name) {
    for (int i = 0; i + 1 < o.named.size(); i += 2)
        if (o.named.at(i) == name) return o.named.at(i + 1);
    return QString();
}

Options ParseArguments(const QStringList& args) {
    Options o;
    const auto fail = [&o](const QString& text) {
        if (o.error.isEmpty()) o.error = text;
    };
    for (int i = 0; i < args.size(); ++i) {
        QString word = args.at(i);
        QString inlineValue;
        bool hasInline = false;
        if (word.startsWith(QLatin1String("--")) && word.contains(QLatin1Char('='))) {
            inlineValue = word.section(QLatin1Char('='), 1);
            word = word.section(QLatin1Char('='), 0, 0);
            hasInline = true;
        }
        const auto value = [&]() -> QString {
            if (hasInline) return inlineValue;
            if (i + 1 >= args.size()) {
                fail(word + QStringLiteral(" needs a value"));
                return QString();
            }
            return args.at(++i);
        };
        if (word == QLatin1String("--port")) o.ports << value();
        else if (word == QLatin1String("--baud")) o.baud = value();
        else if (word == QLatin1String("--home")) o.home = value();
        else if (word == QLatin1String("--trace")) o.trace = value();
        else if (word == QLatin1String("--json")) o.json = true;
        else if (word == QLatin1String("--quiet") || word == QLatin1String("-q")) o.quiet = true;
        else if (word == QLatin1String("--yes") || word == QLatin1String("-y")) o.yes = true;
        else if (word == QLatin1String("--help") || word == QLatin1String("-h")) o.help = true;
        else if (word == QLatin1String("--version")) o.version = true;
        else if (word == QLatin1String("--power-on")) o.powerOn = true;
        else if (word == QLatin1String("--no-wait")) o.noWait = true;
        else if (valueOptionsOf(o.command).contains(word)) o.named << word << value();
        else if (!o.command.isEmpty() && flagOf(o.command, word, o)) {
        } else if (word.startsWith(QLatin1String("--")) && word.size() > 2)
            fail(QStringLiteral("unknown option ") + word);
        else if (o.command.isEmpty()) o.command = word;
        else o.words << args.at(i);
    }
    if (!o.baud.isEmpty()) {
        bool ok = false;
        const int rate = o.baud.toInt(&ok);
        if (!ok || rate <= 0) fail(QStringLiteral("--baud takes a rate such as 57600, not ") + o.baud);
    }
    for (const QString& p : o.ports)
        if (p.isEmpty()) fail(QStringLiteral("--port needs a port: COMn or a device path"));
    if (o.help || o.version) return o;
    if (o.command.isEmpty()) fail(QStringLiteral("no command given"));
    else if (!CommandNames().contains(o.command))
        fail(QStringLiteral("unknown command ") + o.command);
    return o;
}

} // namespace telvo::cli
