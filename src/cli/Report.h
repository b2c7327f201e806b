#pragma once
// What telvo-cli tells: results on standard output (text, or one JSON object each), failures
// and prompts on standard error, and the worst exit code of the run.

#include "cli/Args.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace telvo::cli {

class Report {
public:
    static Report& instance();

    void setOptions(const Options& o) { m_opts = o; }
    const Options& options() const { return m_opts; }
    // The port the job runs on, named in every result ("" before one is chosen).
    void setPort(const QString& port) { m_port = port; }
    QString port() const { return m_port; }
    // One port's job of a run over several ports: the parent puts the port before each line.
    void setFleetChild(bool child) { m_child = child; }
    // "PORT: " before each line told for a person when several ports share the output.
    QString linePrefix() const;

    // One result: `text` for a person, `fields` for a script (the command and port are added).
    void result(const QString& text, QJsonObject fields);
    // A failure of the job: its text on standard error (and as a JSON object), the code kept.
    int fail(int code, const QString& text);
    // A remark on standard error for a person (none with --quiet).
    void note(const QString& text);
    void keep(int code);
    // The settings a failure names (a restore's refused ones): listed in the failure's JSON.
    void failedSettings(const QStringList& names) { m_failed = names; }
    // Further fields of the next failure's JSON object (what an apply did before it failed).
    void failFields(const QJsonObject& fields) { m_failFields = fields; }
    int exitCode() const { return m_exit; }

private:
    Options m_opts;
    QString m_port;
    bool m_child = false;
    int m_exit = kDone;
    QStringList m_failed;
    QJsonObject m_failFields;
};

// The version of the JSON objects' form (docs/cli-json.md); every object carries it.
constexpr int kJsonSchema = 1;
// One JSON object as a line of standard output, with its "schema".
QString JsonLine(QJsonObject fields);

// Writes to standard output / error at once (the run may end by a signal).
void Out(const QString& text);
void Err(const QString& text);

} // namespace telvo::cli
