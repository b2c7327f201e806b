#include "cli/Args.h"

#include "core/settings/Assignments.h"

namespace telvo::cli {

namespace {

// The named options that take a value, per command; any other word with "--" is a usage error.
QStringList valueOptionsOf(const QString& command) {
    if (command == QLatin1String("gamma"))
        return {QStringLiteral("--source"), QStringLiteral("--scalar"),
                QStringLiteral("--reference")};
    if (command == QLatin1String("ir"))
        return {QStringLiteral("--value"), QStringLiteral("--key"), QStringLiteral("--format")};
    if (command == QLatin1String("apply"))
        return {QStringLiteral("--file")};
    return {};
}

bool flagOf(const QString& command, const QString& word, Options& o) {
    if (command == QLatin1String("ports") && word == QLatin1String("--probe")) {
        o.probe = true;
        return true;
    }
    if (command == QLatin1String("apply") && word == QLatin1String("--check")) {
        o.check = true;
        return true;
    }
    if (command == QLatin1String("load")) {
        if (word == QLatin1String("--save-settings"))
            o.saveSettings = true;
        else if (word == QLatin1String("--restore-defaults"))
            o.restoreDefaults = true;
        else if (word == QLatin1String("--resume"))
            o.resume = true;
        else
            return false;
        return true;
    }
    return false;
}

} // namespace

QString NamedValue(const Options& o, const QString& name) {
    for (int i = 0; i + 1 < o.named.size(); i += 2)
        if (o.named.at(i) == name)
            return o.named.at(i + 1);
    return QString();
}

namespace {

// A short option's long name: "-p" is "--port". Letters not listed are unknown.
QString longOf(QChar letter) {
    switch (letter.unicode()) {
    case 'p':
        return QStringLiteral("--port");
    case 'b':
        return QStringLiteral("--baud");
    case 'j':
        return QStringLiteral("--json");
    case 'q':
        return QStringLiteral("--quiet");
    case 'y':
        return QStringLiteral("--yes");
    case 'v':
        return QStringLiteral("--verbose");
    case 'V':
        return QStringLiteral("--version");
    case 'h':
        return QStringLiteral("--help");
    case 'f':
        return QStringLiteral("--file");
    default:
        return QString();
    }
}

bool takesValue(const QString& option) {
    return option == QLatin1String("--port") || option == QLatin1String("--baud") ||
           option == QLatin1String("--file");
}

// "-qy" is "-q -y"; "-pCOM2" and "-p COM2" are "--port=COM2". Anything else stays as it is,
// so that a lone "-" (standard error for --trace) and a value such as "-5" pass through.
QStringList expandShortOptions(const QStringList& args) {
    QStringList out;
    for (int i = 0; i < args.size(); ++i) {
        const QString& word = args.at(i);
        if (word.size() < 2 || word.at(0) != QLatin1Char('-') || word.at(1) == QLatin1Char('-') ||
            word.at(1).isDigit()) {
            out << word;
            // The value of a long option is never read as options.
            if ((takesValue(word) || word == QLatin1String("--home") ||
                 word == QLatin1String("--trace") || word == QLatin1String("--jobs")) &&
                i + 1 < args.size())
                out << args.at(++i);
            continue;
        }
        for (int k = 1; k < word.size(); ++k) {
            const QString option = longOf(word.at(k));
            if (option.isEmpty()) {
                out << QStringLiteral("-") + word.at(k); // told as an unknown option
                continue;
            }
            if (!takesValue(option)) {
                out << option;
                continue;
            }
            if (k + 1 < word.size())
                out << option + QLatin1Char('=') + word.mid(k + 1);
            else if (i + 1 < args.size())
                out << option + QLatin1Char('=') + args.at(++i);
            else
                out << option;
            break;
        }
    }
    return out;
}

} // namespace

Options ParseArguments(const QStringList& given) {
    Options o;
    const auto fail = [&o](const QString& text) {
        if (o.error.isEmpty())
            o.error = text;
    };
    const QStringList args = expandShortOptions(given);
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
            if (hasInline)
                return inlineValue;
            if (i + 1 >= args.size()) {
                fail(word + QStringLiteral(" needs a value"));
                return QString();
            }
            return args.at(++i);
        };
        // A switch is on when named alone or "=true", off with "=false".
        const auto onOff = [&]() -> bool {
            if (!hasInline || inlineValue == QLatin1String("true"))
                return true;
            if (inlineValue != QLatin1String("false"))
                fail(word + QStringLiteral(" takes true or false, not ") + inlineValue);
            return false;
        };
        if (word == QLatin1String("--port"))
            o.ports << value();
        else if (word == QLatin1String("--baud"))
            o.baud = value();
        else if (word == QLatin1String("--home"))
            o.home = value();
        else if (word == QLatin1String("--trace"))
            o.trace = value();
        else if (word == QLatin1String("--verbose")) {
            if (onOff())
                o.trace = QStringLiteral("-");
        } else if (word == QLatin1String("--json"))
            o.json = onOff();
        else if (word == QLatin1String("--quiet"))
            o.quiet = onOff();
        else if (word == QLatin1String("--yes"))
            o.yes = onOff();
        else if (word == QLatin1String("--help"))
            o.help = true;
        else if (word == QLatin1String("--version"))
            o.version = true;
        else if (word == QLatin1String("--power-on"))
            o.powerOn = true;
        else if (word == QLatin1String("--no-wait"))
            o.noWait = true;
        else if (word == QLatin1String("--jobs")) {
            const QString n = value();
            bool ok = false;
            o.jobs = n.toInt(&ok);
            if (!ok || o.jobs <= 0)
                fail(QStringLiteral("--jobs takes how many ports run at once, such as 4, not ") +
                     n);
        } else if (valueOptionsOf(o.command).contains(word))
            o.named << word << value();
        else if (!o.command.isEmpty() && flagOf(o.command, word, o)) {
        } else if (word.startsWith(QLatin1Char('-')) && word.size() > 1 && !word.at(1).isDigit())
            fail(QStringLiteral("unknown option ") + word);
        else if (o.command.isEmpty())
            o.command = word;
        else
            o.words << args.at(i);
    }
    if (!o.baud.isEmpty()) {
        bool ok = false;
        const int rate = o.baud.toInt(&ok);
        if (!ok || rate <= 0)
            fail(QStringLiteral("--baud takes a rate such as 57600, not ") + o.baud);
    }
    for (const QString& p : o.ports)
        if (p.isEmpty())
            fail(QStringLiteral("--port needs a port: COMn or a device path"));
    if (o.help || o.version)
        return o;
    if (o.command.isEmpty())
        fail(QStringLiteral("no command given"));
    else if (!CommandNames().contains(o.command))
        fail(QStringLiteral("unknown command ") + o.command);
    else if (o.command == QLatin1String("apply"))
        fail(ApplyUsageProblem(o));
    return o;
}

QString ApplyUsageProblem(const Options& o) {
    int files = 0;
    for (int i = 0; i + 1 < o.named.size(); i += 2)
        if (o.named.at(i) == QLatin1String("--file"))
            ++files;
    if (files > 1)
        return QStringLiteral("apply takes one --file");
    if (files == 1 && NamedValue(o, QStringLiteral("--file")).isEmpty())
        return QStringLiteral("--file needs a FILE");
    if (files == 1 && !o.words.isEmpty())
        return QStringLiteral("apply takes NAME=VALUE words or --file FILE, not both");
    if (files == 0 && o.words.isEmpty())
        return QStringLiteral("apply needs NAME=VALUE words or --file FILE");
    for (const QString& w : o.words)
        if (!core::ParseAssignment(w))
            return QStringLiteral("apply takes NAME=VALUE, not ") + w;
    return QString();
}

QString BaudProblem(const QString& baud, const QStringList& rates) {
    if (baud.isEmpty() || rates.contains(QString::number(baud.toInt())))
        return QString();
    return QStringLiteral("--baud ") + baud + QStringLiteral(" is not a rate Telvo.ini lists (") +
           rates.join(QStringLiteral(", ")) + QLatin1Char(')');
}

} // namespace telvo::cli
