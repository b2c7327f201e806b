#pragma once
// A small web server on the loopback interface for the support window's tests: pages by path,
// and the misbehaviours of a real server (closing mid-answer, never answering, endless garbage,
// a slow trickle).

#include <QApplication>
#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QTcpServer>
#include <QTcpSocket>
#include <functional>

namespace telvo::test {

QApplication& TestApp();

// Put before a LoopbackServer member: a socket made before the application never hears a thing.
struct AppReady {
    AppReady() { TestApp(); }
};

class LoopbackServer : public QObject {
public:
    enum class Mode { Answer, CloseMidAnswer, Silent, Garbage, Trickle };

    LoopbackServer() {
        m_server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&m_server, &QTcpServer::newConnection, this, [this] { accept(); });
    }
    ~LoopbackServer() override {
        for (QTcpSocket* s : m_sockets)
            s->abort();
        qDeleteAll(m_sockets);
    }

    quint16 port() const { return m_server.serverPort(); }
    QString url(const QString& path) const {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(port()).arg(path);
    }
    // The page at `path`: a 200 answer with this body; any other path is a 404.
    void page(const QString& path, const QByteArray& body) { m_pages[path] = body; }

    Mode mode = Mode::Answer;
    // Called with the request line when a whole request has arrived, before the answer.
    std::function<void(const QByteArray&)> onRequest;
    QList<QByteArray> requests; // whole requests as they arrived
    int connections = 0;

private:
    void accept() {
        while (QTcpSocket* s = m_server.nextPendingConnection()) {
            ++connections;
            m_sockets << s;
            auto buffer = std::make_shared<QByteArray>();
            QObject::connect(s, &QTcpSocket::readyRead, this, [this, s, buffer] {
                *buffer += s->readAll();
                const qsizetype end = buffer->indexOf("\r\n\r\n");
                if (end < 0 || buffer->isEmpty())
                    return;
                const QByteArray request = buffer->left(end + 4);
                buffer->clear();
                requests << request;
                if (onRequest)
                    onRequest(request.left(request.indexOf("\r\n")));
                answer(s, request);
            });
        }
    }

    void answer(QTcpSocket* s, const QByteArray& request) {
        const QByteArray path = request.split(' ').value(1);
        const QString p = QString::fromLatin1(path);
        const bool found = m_pages.contains(p);
        const QByteArray body = m_pages.value(p, QByteArrayLiteral("not here\r\n"));
        const QByteArray head =
            (found ? QByteArrayLiteral("HTTP/1.0 200 OK\r\n")
                   : QByteArrayLiteral("HTTP/1.0 404 Not Found\r\n")) +
            "Content-Type: text/plain\r\nContent-Length: " + QByteArray::number(body.size()) +
            "\r\nConnection: close\r\n\r\n";
        switch (mode) {
        case Mode::Answer:
            s->write(head + body);
            s->disconnectFromHost();
            break;
        case Mode::CloseMidAnswer:
            s->write(head + body.left(body.size() / 2));
            s->disconnectFromHost();
            break;
        case Mode::Silent:
            break;
        case Mode::Garbage: {
            QByteArray junk(10 * 1024 * 1024, '\0');
            quint32 seed = 7;
            for (char& c : junk) {
                seed = seed * 1103515245u + 12345u;
                c = char(seed >> 16);
            }
            s->write(junk);
            s->disconnectFromHost();
            break;
        }
        case Mode::Trickle:
            // The head and a first byte, then nothing: the answer never ends.
            s->write(QByteArrayLiteral("HTTP/1.0 200 OK\r\nContent-Length: 100000000\r\n\r\nx"));
            break;
        }
    }

    QTcpServer m_server;
    QMap<QString, QByteArray> m_pages;
    QList<QTcpSocket*> m_sockets;
};

} // namespace telvo::test
