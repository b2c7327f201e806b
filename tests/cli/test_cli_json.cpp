// Every command's --json output against the shapes docs/cli-json.md documents (the test reads
// the block from the file itself, so the document and the program cannot drift apart).

#include "CliFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

using namespace telvo;
using namespace telvo::test;

namespace {

// The ```json block of docs/cli-json.md.
QJsonObject documentedSchema() {
    QFile f(qEnvironmentVariable("TELVO_SOURCE_DIR") + QStringLiteral("/docs/cli-json.md"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    const QString text = QString::fromUtf8(f.readAll());
    static const QRegularExpression block(QStringLiteral("```json\\n(.*?)```"),
                                          QRegularExpression::DotMatchesEverythingOption);
    return QJsonDocument::fromJson(block.match(text).captured(1).toUtf8()).object();
}

bool hasType(const QJsonValue& v, const QString& type) {
    for (const QString& t : type.split(QLatin1Char('|'))) {
        if (t == QLatin1String("string") && v.isString())
            return true;
        if (t == QLatin1String("number") && v.isDouble())
            return true;
        if (t == QLatin1String("integer") && v.isDouble() &&
            v.toDouble() == double(qint64(v.toDouble())))
            return true;
        if (t == QLatin1String("boolean") && v.isBool())
            return true;
        if (t == QLatin1String("array") && v.isArray())
            return true;
        if (t == QLatin1String("null") && v.isNull())
            return true;
    }
    return false;
}

// What is wrong with `o` against one shape (the common fields added), empty when it fits.
QString misfit(const QJsonObject& o, const QJsonObject& shape, const QJsonObject& every) {
    QJsonObject all = every;
    for (auto it = shape.begin(); it != shape.end(); ++it)
        all.insert(it.key(), it.value());
    const bool more = all.value(QStringLiteral("...")).toBool();
    all.remove(QStringLiteral("..."));
    for (auto it = all.begin(); it != all.end(); ++it) {
        QString type = it.value().toString();
        const bool optional = type.endsWith(QLatin1Char('?'));
        if (optional)
            type.chop(1);
        if (!o.contains(it.key())) {
            if (optional)
                continue;
            return QStringLiteral("no ") + it.key();
        }
        if (!hasType(o.value(it.key()), type))
            return it.key() + QStringLiteral(" is not ") + type;
    }
    if (!more)
        for (const QString& k : o.keys())
            if (!all.contains(k))
                return QStringLiteral("unknown field ") + k;
    return QString();
}

// Empty when the object fits its command's results or the failure shape.
QString check(const QJsonObject& schema, const QJsonObject& o) {
    if (o.value(QStringLiteral("schema")) != QJsonValue(1))
        return QStringLiteral("schema is not 1");
    const QJsonObject every = schema.value(QStringLiteral("every")).toObject();
    if (o.contains(QStringLiteral("error")))
        return misfit(o, schema.value(QStringLiteral("failure")).toObject(), every);
    const QString command = o.value(QStringLiteral("command")).toString();
    const QJsonArray shapes =
        schema.value(QStringLiteral("results")).toObject().value(command).toArray();
    if (shapes.isEmpty())
        return QStringLiteral("no shape documented for ") + command;
    QStringList why;
    for (const QJsonValue& shape : shapes) {
        const QString m = misfit(o, shape.toObject(), every);
        if (m.isEmpty())
            return QString();
        why << m;
    }
    return why.join(QStringLiteral("; "));
}

class CliJson : public CliEndToEnd {
protected:
    void SetUp() override {
        CliEndToEnd::SetUp();
        if (IsSkipped())
            return;
        m_schema = documentedSchema();
        ASSERT_EQ(m_schema.value(QStringLiteral("schema")), QJsonValue(1))
            << "docs/cli-json.md unread";
    }
    // Runs with --json; every line must be a documented object. Returns the objects.
    QList<QJsonObject> json(const QStringList& args, int exit) {
        const CliResult r = cli(QStringList{QStringLiteral("--json")} + args);
        EXPECT_EQ(r.exit, exit) << args.join(QLatin1Char(' ')).toStdString() << "\n"
                                << r.err.toStdString();
        EXPECT_FALSE(r.lines().isEmpty()) << args.join(QLatin1Char(' ')).toStdString();
        QList<QJsonObject> out;
        for (const QString& line : r.lines()) {
            QJsonParseError e{};
            const QJsonDocument d = QJsonDocument::fromJson(line.toUtf8(), &e);
            EXPECT_TRUE(d.isObject()) << line.toStdString();
            const QString why = check(m_schema, d.object());
            EXPECT_TRUE(why.isEmpty()) << line.toStdString() << ": " << why.toStdString();
            out << d.object();
        }
        return out;
    }
    QJsonObject m_schema;
};

TEST(CliJsonSchema, TheCheckRefusesWhatTheDocumentDoesNotSay) {
    const QJsonObject schema = documentedSchema();
    ASSERT_FALSE(schema.isEmpty());
    const QJsonObject info{{QStringLiteral("schema"), 1},
                           {QStringLiteral("command"), QStringLiteral("save")},
                           {QStringLiteral("file"), QStringLiteral("a.txt")},
                           {QStringLiteral("lines"), 12}};
    EXPECT_EQ(check(schema, info), QString());
    QJsonObject wrong = info;
    wrong.insert(QStringLiteral("lines"), QStringLiteral("12"));
    EXPECT_EQ(check(schema, wrong), QStringLiteral("lines is not integer"));
    wrong = info;
    wrong.insert(QStringLiteral("extra"), 1);
    EXPECT_EQ(check(schema, wrong), QStringLiteral("unknown field extra"));
    wrong = info;
    wrong.remove(QStringLiteral("schema"));
    EXPECT_EQ(check(schema, wrong), QStringLiteral("schema is not 1"));
}

TEST_F(CliJson, EveryCommandsObjectsAreTheDocumentedOnes) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QStringList port{QStringLiteral("--port"), dev.path()};
    const QString rack = homeFile(QStringLiteral("rack.txt"));
    json(port + QStringList{QStringLiteral("info")}, 0);
    json(port + QStringList{QStringLiteral("get"), QStringLiteral("Brightness"),
                            QStringLiteral("Noise Reduction")},
         0);
    json(port + QStringList{QStringLiteral("set"), QStringLiteral("Red Gain=1.25")}, 0);
    json(port + QStringList{QStringLiteral("save"), rack}, 0);
    const QList<QJsonObject> same = json(port + QStringList{QStringLiteral("diff"), rack}, 0);
    ASSERT_EQ(same.size(), 1);
    EXPECT_EQ(same.first().value(QStringLiteral("differing")), QJsonValue(0));
    json(port + QStringList{QStringLiteral("set"), QStringLiteral("Brightness=5")}, 0);
    json(port + QStringList{QStringLiteral("diff"), rack}, 6);
    json(port + QStringList{QStringLiteral("restore"), rack}, 0);
    const QList<QJsonObject> applied =
        json(port + QStringList{QStringLiteral("apply"), QStringLiteral("Brightness=7"),
                                QStringLiteral("Noise Reduction=Low")},
             0);
    ASSERT_EQ(applied.size(), 1);
    EXPECT_EQ(applied.first().value(QStringLiteral("changed")), QJsonValue(true));
    json(port + QStringList{QStringLiteral("apply"), QStringLiteral("--check"),
                            QStringLiteral("Brightness=8")},
         6);
    json(port + QStringList{QStringLiteral("apply"), QStringLiteral("--check"),
                            QStringLiteral("-f"), rack},
         0);
    json(port + QStringList{QStringLiteral("apply"), QStringLiteral("Brightness=99"),
                            QStringLiteral("Contrast=x")},
         2);
    json(port + QStringList{QStringLiteral("ports")}, 0);
    json(port + QStringList{QStringLiteral("ports"), QStringLiteral("--probe")}, 0);
    json(port + QStringList{QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("--key"),
                            QStringLiteral("Menu")},
         0);
    json(port + QStringList{QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("--key"),
                            QStringLiteral("Menu"), QStringLiteral("--format"),
                            QStringLiteral("mode2")},
         0);
    json(port + QStringList{QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("--key"),
                            QStringLiteral("Menu"), QStringLiteral("--format"),
                            QStringLiteral("lirc")},
         0);
    json({QStringLiteral("names")}, 0);
    json({QStringLiteral("names"), QStringLiteral("Brightness")}, 0);
    const QString gma = homeFile(QStringLiteral("tv.gma"));
    json({QStringLiteral("gamma"), QStringLiteral("make"), QStringLiteral("--source"),
          QStringLiteral("0.45"), QStringLiteral("--scalar"), QStringLiteral("2.2"), gma},
         0);
    json({QStringLiteral("gamma"), QStringLiteral("export"), gma,
          homeFile(QStringLiteral("tv.cube"))},
         0);
    json(port + QStringList{QStringLiteral("load"),
                            image(QStringLiteral("new.frk"), QStringLiteral("2.81"), 4000)},
         0);
    // Failures and usage errors are objects too.
    // Out of Telvo.ini's range: refused before anything is sent.
    json(port + QStringList{QStringLiteral("set"), QStringLiteral("Brightness=9999")}, 2);
    json({QStringLiteral("info"), QStringLiteral("--colour")}, 2);
    json({QStringLiteral("--port"), emptyPort(), QStringLiteral("info")}, 3);
    json(port + QStringList{QStringLiteral("restore"), homeFile(QStringLiteral("none.txt"))}, 4);
}

} // namespace
