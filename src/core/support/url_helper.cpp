#include "core/support/url_helper.h"

#include "core/text/Classic.h"

namespace telvo::core {

namespace {
const QString kCrLf = QStringLiteral("\r\n");
}

UrlParts SplitUrl(QString url) {
    UrlParts parts;
    const qsizetype p = url.indexOf(QStringLiteral("://"));
    if (p >= 0) {
        parts.Scheme = url.left(p);
        url = url.mid(p + 3);
    }
    const qsizetype c = url.indexOf(u':'); // -1: none
    const qsizetype s = url.indexOf(u'/');
    const bool colonFirst = c >= 0 && s >= 0 && c < s;
    if (!colonFirst) {
        if (s < 0) {
            // "host:80" lands here too, and keeps its ":80" in the host.
            parts.Host = url;
            parts.Path = QStringLiteral("/");
            return parts;
        }
        parts.Host = url.left(s);
    } else {
        parts.Host = url.left(c);
        const QString port = url.mid(c + 1, s - c - 1);
        if (IsNumericText(port)) {
            const double v = RoundEven(Val(port));
            if (v < 0 || v > 65535)
                throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
            parts.Port = quint16(v);
        }
    }
    url = url.mid(s);
    const qsizetype q = url.indexOf(u'?');
    if (q >= 0) {
        parts.Path = url.left(q);
        parts.Query = url.mid(q + 1);
    } else {
        parts.Path = url;
    }
    return parts;
}

QString HttpRequest(const QString& method, const UrlParts& parts, QString formData) {
    QString path = parts.Path;
    if (!parts.Query.isEmpty())
        path += u'?' + parts.Query;
    QString headers;
    QString body;
    if (!formData.isEmpty()) {
        formData.chop(1); // the "&" closing the last pair
        if (method != QLatin1String("GET")) {
            body = formData;
            headers = QStringLiteral("Content-Type: application/x-www-form-urlencoded") + kCrLf +
                      QStringLiteral("Content-Length: ") + QString::number(body.size()) + kCrLf;
        } else {
            path += (parts.Query.isEmpty() ? u'?' : u'&') + formData;
        }
    }
    return method + u' ' + path + QStringLiteral(" HTTP/1.0") + kCrLf + QStringLiteral("Host: ") +
           parts.Host + kCrLf + headers + kCrLf + body;
}

int RemotePortFor(const UrlParts& parts, int currentPort, bool& badScheme) {
    badScheme = false;
    if (SameText(parts.Scheme, QStringLiteral("http")))
        return parts.Port > 0 ? parts.Port : 80;
    if (parts.Scheme.isEmpty())
        return 80;
    badScheme = true;
    return currentPort;
}

QString FixLineEnds(const QString& text) {
    QString out;
    out.reserve(text.size() + text.size() / 8 + 2);
    bool pending = false; // the pending character is always LF
    QChar previous;
    for (const QChar ch : text) {
        if (pending && ch != u'\n') {
            out += ch;
            out += u'\n';
            pending = false;
        } else if (ch == u'\n') {
            if (previous != u'\r')
                out += u'\r';
            out += u'\n';
            pending = false;
        } else if (ch == u'\r') {
            out += ch;
            pending = true;
        } else {
            out += ch;
        }
        previous = ch;
    }
    return out;
}

} // namespace telvo::core
