// Splitting addresses, the request line, the port a scheme leads to, and line-end mending.

#include "core/support/url_helper.h"
#include "core/text/Classic.h"

#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

struct SplitCase {
    const char* url;
    const char* scheme;
    const char* host;
    int port;
    const char* path;
    const char* query;
};

const SplitCase kSplits[] = {
    {"http://host", "http", "host", 0, "/", ""},
    {"http://host/a?b=1", "http", "host", 0, "/a", "b=1"},
    {"http://host:8080/x", "http", "host", 8080, "/x", ""},
    {"host/x", "", "host", 0, "/x", ""},
    {"ftp://host/x", "ftp", "host", 0, "/x", ""},
    // A port with no "/" stays in the host.
    {"host:80", "", "host:80", 0, "/", ""},
    {"http://host:80", "http", "host:80", 0, "/", ""},
    {"http://host:abc/x", "http", "host", 0, "/x", ""},
    {"http://host:/x", "http", "host", 0, "/x", ""},
    {"http://host/a/b:c?d?e", "http", "host", 0, "/a/b:c", "d?e"},
    {"http://host?x", "http", "host?x", 0, "/", ""},
    {"", "", "", 0, "/", ""},
    {"http:///path", "http", "", 0, "/path", ""},
};

TEST(SplitUrl, TableOfAddresses) {
    for (const SplitCase& c : kSplits) {
        SCOPED_TRACE(c.url);
        const UrlParts p = SplitUrl(QString::fromLatin1(c.url));
        EXPECT_EQ(p.Scheme, QLatin1String(c.scheme));
        EXPECT_EQ(p.Host, QLatin1String(c.host));
        EXPECT_EQ(p.Port, c.port);
        EXPECT_EQ(p.Path, QLatin1String(c.path));
        EXPECT_EQ(p.Query, QLatin1String(c.query));
    }
}

TEST(SplitUrl, PortsAboveSignedSixteenBitsAreKept) {
    EXPECT_EQ(SplitUrl(QStringLiteral("http://host:50000/x")).Port, 50000);
    EXPECT_EQ(SplitUrl(QStringLiteral("http://host:65535/x")).Port, 65535);
}

TEST(SplitUrl, PortPastSixteenBitsIsOverflow) {
    try {
        SplitUrl(QStringLiteral("http://host:65536/x"));
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kOverflow);
    }
}

TEST(HttpRequest, PathWithQueryMakesTheRequestLine) {
    const QString r =
        HttpRequest(QStringLiteral("GET"), SplitUrl(QStringLiteral("http://host/a?b=1")));
    EXPECT_EQ(r, QStringLiteral("GET /a?b=1 HTTP/1.0\r\nHost: host\r\n\r\n"));
}

TEST(HttpRequest, BareHostAsksForTheRoot) {
    const QString r = HttpRequest(QStringLiteral("GET"), SplitUrl(QStringLiteral("http://host")));
    EXPECT_EQ(r, QStringLiteral("GET / HTTP/1.0\r\nHost: host\r\n\r\n"));
}

TEST(HttpRequest, FormDataWithGetJoinsThePath) {
    EXPECT_EQ(HttpRequest(QStringLiteral("GET"), SplitUrl(QStringLiteral("http://h/a?b=1")),
                          QStringLiteral("x=1&y=2&")),
              QStringLiteral("GET /a?b=1&x=1&y=2 HTTP/1.0\r\nHost: h\r\n\r\n"));
    EXPECT_EQ(HttpRequest(QStringLiteral("GET"), SplitUrl(QStringLiteral("http://h/a")),
                          QStringLiteral("x=1&")),
              QStringLiteral("GET /a?x=1 HTTP/1.0\r\nHost: h\r\n\r\n"));
}

TEST(HttpRequest, FormDataWithPostIsTheBody) {
    EXPECT_EQ(HttpRequest(QStringLiteral("POST"), SplitUrl(QStringLiteral("http://h/a")),
                          QStringLiteral("x=1&y=2&")),
              QStringLiteral("POST /a HTTP/1.0\r\nHost: h\r\n"
                             "Content-Type: application/x-www-form-urlencoded\r\n"
                             "Content-Length: 7\r\n\r\nx=1&y=2"));
}

TEST(RemotePortFor, HttpWithPortUsesIt) {
    bool bad = true;
    EXPECT_EQ(RemotePortFor(SplitUrl(QStringLiteral("http://host:8080/x")), 0, bad), 8080);
    EXPECT_FALSE(bad);
}

TEST(RemotePortFor, NoSchemeOrNoPortIs80) {
    bool bad = true;
    EXPECT_EQ(RemotePortFor(SplitUrl(QStringLiteral("host/x")), 1234, bad), 80);
    EXPECT_FALSE(bad);
    EXPECT_EQ(RemotePortFor(SplitUrl(QStringLiteral("HTTP://host/x")), 1234, bad), 80);
    EXPECT_FALSE(bad);
}

TEST(RemotePortFor, OtherSchemeKeepsThePreviousPort) {
    bool bad = false;
    EXPECT_EQ(RemotePortFor(SplitUrl(QStringLiteral("ftp://host/x")), 8080, bad), 8080);
    EXPECT_TRUE(bad);
}

struct FixCase {
    QString in;
    QString out;
};

TEST(FixLineEnds, Table) {
    const FixCase cases[] = {
        {QStringLiteral("A\nB"), QStringLiteral("A\r\nB")},
        {QStringLiteral("A\r\nB"), QStringLiteral("A\r\nB")},
        {QStringLiteral("A\rxB"), QStringLiteral("A\rx\nB")},
        {QStringLiteral("A\r"), QStringLiteral("A\r")},
        {QStringLiteral("\n\n"), QStringLiteral("\r\n\r\n")},
        {QStringLiteral("\r\r"), QStringLiteral("\r\r\n")},
        {QStringLiteral("\r\rx"), QStringLiteral("\r\r\nx")},
        {QString(), QString()},
    };
    for (const FixCase& c : cases)
        EXPECT_EQ(FixLineEnds(c.in), c.out) << c.in.toStdString();
}

TEST(FixLineEnds, ChunksAreMendedAlone) {
    // A CR LF split between two chunks gives CR, then CR LF.
    EXPECT_EQ(FixLineEnds(QStringLiteral("A\r")) + FixLineEnds(QStringLiteral("\nB")),
              QStringLiteral("A\r\r\nB"));
}

TEST(IsNumericText, Classic) {
    EXPECT_TRUE(IsNumericText(QStringLiteral("8080")));
    EXPECT_TRUE(IsNumericText(QStringLiteral(" -5 ")));
    EXPECT_TRUE(IsNumericText(QStringLiteral("1.5")));
    EXPECT_TRUE(IsNumericText(QStringLiteral("1e3")));
    EXPECT_FALSE(IsNumericText(QString()));
    EXPECT_FALSE(IsNumericText(QStringLiteral("80a")));
    EXPECT_FALSE(IsNumericText(QStringLiteral("e3")));
    EXPECT_FALSE(IsNumericText(QStringLiteral(".")));
}

} // namespace
