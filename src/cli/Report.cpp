#include "cli/Report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <cstdio>

namespace telvo::cli {

void Out(const QString& text) {
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void Err(const QString& text) {
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

QString JsonLine(QJsonObject fields) {
    fields.insert(QStringLiteral("schema"), kJsonSchema);
    return QString::fromUtf8(QJsonDocument(fields).toJson(QJsonDocument::Compact)) +
           QLatin1Char('\n');
}

Report& Report::instance() {
    static Report r;
    return r;
}

void Report::keep(int code) {
    if (code > m_exit)
        m_exit = code;
}

QString Report::linePrefix() const {
    // Several ports: each line says which device it came from.
    return m_opts.ports.size() > 1 && !m_child ? m_port + QStringLiteral(": ") : QString();
}

void Report::result(const QString& text, QJsonObject fields) {
    if (m_opts.json) {
        fields.insert(QStringLiteral("command"), m_opts.command);
        if (!m_port.isEmpty())
            fields.insert(QStringLiteral("port"), m_port);
        Out(JsonLine(fields));
        return;
    }
    const QString prefix = linePrefix();
    for (const QString& line : text.split(QLatin1Char('\n')))
        Out(prefix + line + QLatin1Char('\n'));
}

int Report::fail(int code, const QString& text) {
    keep(code);
    const QString prefix = m_port.isEmpty() || m_child ? QString() : m_port + QStringLiteral(": ");
    Err(QStringLiteral("telvo-cli: ") + prefix + text + QLatin1Char('\n'));
    if (m_opts.json) {
        QJsonObject o{{QStringLiteral("command"), m_opts.command},
                      {QStringLiteral("error"), text},
                      {QStringLiteral("exit"), code}};
        if (!m_port.isEmpty())
            o.insert(QStringLiteral("port"), m_port);
        if (!m_failed.isEmpty())
            o.insert(QStringLiteral("failed"), QJsonArray::fromStringList(m_failed));
        m_failed.clear();
        for (auto it = m_failFields.constBegin(); it != m_failFields.constEnd(); ++it)
            o.insert(it.key(), it.value());
        m_failFields = QJsonObject();
        Out(JsonLine(o));
    }
    return code;
}

void Report::note(const QString& text) {
    if (m_opts.quiet)
        return;
    Err(text + QLatin1Char('\n'));
}

} // namespace telvo::cli
