// The hand-written HTTP/1.0 client against a real server on the loopback interface: request
// lines, ports, line ends, and servers that close early, never answer or send endless garbage.

#include "common/Fixture.h"
#include "platform/doubles/ScriptedShell.h"

#include "common/LoopbackServer.h"

#include "app/Globals.h"
#include "platform/clock/Clock.h"
#include "platform/os/Shell.h"
#include "support/SUP.h"
#include "support/SupportState.h"
#include "support/url_helper.h"

#include <QTcpServer>

using namespace telvo;
using namespace telvo::test;

namespace {

class Http : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        // Real sockets run on the wall clock. The limit is generous for a loaded machine; the
        // tests that wait on it shorten it.
        platform::Clock::instance().setVirtual(false);
        platform::InstallScriptedShell();
        ui::SupportSettings().HttpTimeLimitMs = 10000;
    }
    void TearDown() override {
        RunFixture::TearDown();
        platform::InstallDesktopShell();
    }
    ui::SupportGlobals& st() { return ui::Support(); }
    // The application exists before the server, whose socket needs its event dispatcher.
    AppReady m_app;
    LoopbackServer server;
};

TEST_F(Http, RootPathAsked) {
    server.page(QStringLiteral("/"), "root");
    ui::HttpGet(server.url(QStringLiteral("/")));
    ASSERT_EQ(server.requests.size(), 1);
    EXPECT_EQ(server.requests[0], QByteArray("GET / HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n"));
    EXPECT_TRUE(st().HttpResponse.endsWith(QStringLiteral("\r\n\r\nroot")));
}

TEST_F(Http, QueryGoesIntoTheRequestLine) {
    server.page(QStringLiteral("/a?b=1"), "ok");
    ui::HttpGet(server.url(QStringLiteral("/a?b=1")));
    ASSERT_EQ(server.requests.size(), 1);
    EXPECT_TRUE(server.requests[0].startsWith("GET /a?b=1 HTTP/1.0\r\n"));
    EXPECT_EQ(st().HttpRequestText,
              QStringLiteral("GET /a?b=1 HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n"));
    EXPECT_TRUE(st().HttpResponse.startsWith(QStringLiteral("HTTP/1.0 200 OK\r\n")));
    EXPECT_FALSE(st().HttpConnected);
}

TEST_F(Http, AddressWithPortConnectsThere) {
    server.page(QStringLiteral("/x"), "x");
    ui::HttpGet(server.url(QStringLiteral("/x")));
    EXPECT_EQ(st().RemotePort, server.port());
    EXPECT_EQ(server.connections, 1);
}

TEST_F(Http, NoSchemeConnectsToPort80) {
    // Nothing listens on 80 here; the port chosen is what counts, and the refusal ends the
    // fetch empty by the time limit.
    ui::SupportSettings().HttpTimeLimitMs = 300;
    st().RemotePort = 1234;
    ui::HttpGet(QStringLiteral("127.0.0.1/x"));
    EXPECT_EQ(st().RemotePort, 80);
    EXPECT_TRUE(st().HttpResponse.isEmpty());
}

TEST_F(Http, OtherSchemeComplainsAndGoesOnWithThePreviousPort) {
    server.page(QStringLiteral("/x"), "x");
    ui::HttpGet(server.url(QStringLiteral("/x")));
    scripted->shown.clear();
    ui::HttpGet(QStringLiteral("ftp://127.0.0.1/x"));
    EXPECT_EQ(scripted->messageTexts(), QStringList{QStringLiteral("Invalid protocol schema")});
    EXPECT_EQ(server.connections, 2);
    EXPECT_TRUE(st().HttpResponse.endsWith(QStringLiteral("\r\n\r\nx")));
}

TEST_F(Http, BareLineFeedsArriveAsCrLf) {
    server.page(QStringLiteral("/ab"), "A\nB");
    ui::HttpGet(server.url(QStringLiteral("/ab")));
    EXPECT_TRUE(st().HttpResponse.endsWith(QStringLiteral("\r\n\r\nA\r\nB")));
}

TEST_F(Http, SecondFetchWhileOneRunsReturnsAtOnceSilently) {
    server.page(QStringLiteral("/one"), "1");
    server.page(QStringLiteral("/two"), "2");
    bool inner = false;
    server.onRequest = [&](const QByteArray&) {
        if (inner)
            return;
        inner = true;
        ui::HttpGet(server.url(QStringLiteral("/two")));
    };
    ui::HttpGet(server.url(QStringLiteral("/one")));
    EXPECT_TRUE(inner);
    EXPECT_EQ(server.connections, 1);
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    EXPECT_TRUE(st().HttpResponse.endsWith(QStringLiteral("\r\n\r\n1")));
}

TEST_F(Http, EmptyHostIsRefusedAndNothingSent) {
    ui::sup().lblWWW->hide();
    ui::HttpGet(QStringLiteral("http:///x"));
    ASSERT_EQ(scripted->shown.size(), 1u);
    EXPECT_EQ(scripted->shown[0].text, QStringLiteral("Invalid Host"));
    EXPECT_EQ(scripted->shown[0].buttons, 16); // critical
    EXPECT_FALSE(ui::sup().lblWWW->isHidden());
    EXPECT_EQ(server.connections, 0);
    EXPECT_TRUE(st().HttpRequestText.isEmpty());
}

TEST_F(Http, ServerClosingMidAnswerLeavesWhatArrived) {
    server.mode = LoopbackServer::Mode::CloseMidAnswer;
    server.page(QStringLiteral("/list"),
                "gorda_1,http://h/a.frk\r\ngorda_2,http://h/bbbbbbbbbbbb.frk\r\n");
    ui::HttpGet(server.url(QStringLiteral("/list")));
    EXPECT_TRUE(
        st().HttpResponse.endsWith(QStringLiteral("\r\n\r\ngorda_1,http://h/a.frk\r\ngorda")))
        << st().HttpResponse.toStdString();
    EXPECT_FALSE(st().HttpConnected);
}

TEST_F(Http, SilentServerEndsEmptyAtTheTimeLimit) {
    ui::SupportSettings().HttpTimeLimitMs = 300;
    server.mode = LoopbackServer::Mode::Silent;
    ui::HttpGet(server.url(QStringLiteral("/list")));
    EXPECT_TRUE(st().HttpResponse.isEmpty());
    EXPECT_FALSE(st().HttpConnected);
    EXPECT_FALSE(st().HttpBusy);
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    ASSERT_FALSE(logLines().isEmpty());
    EXPECT_EQ(logLines().last(), QStringLiteral("No complete answer from 127.0.0.1 within 0.3 s"));
}

TEST_F(Http, EndlessGarbageIsCutAtTheCap) {
    ui::SupportSettings().HttpResponseCap = 256 * 1024;
    server.mode = LoopbackServer::Mode::Garbage;
    ui::HttpGet(server.url(QStringLiteral("/list")));
    EXPECT_TRUE(st().HttpResponse.isEmpty());
    EXPECT_FALSE(st().HttpConnected);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral(
                  "The answer from 127.0.0.1 is larger than 262144 bytes and was dropped")});
}

TEST_F(Http, RefusedConnectionShowsTheSocketError) {
    ui::SupportSettings().HttpTimeLimitMs =
        2000; // the only way out after a refusal: room for the error first
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost, 0);
    const quint16 port = closed.serverPort();
    closed.close();
    ui::HttpGet(QStringLiteral("http://127.0.0.1:%1/x").arg(port));
    ASSERT_EQ(scripted->shown.size(), 1u);
    EXPECT_EQ(scripted->shown[0].text, QStringLiteral("Connection refused"));
    EXPECT_EQ(scripted->shown[0].buttons, 48); // warning
    EXPECT_TRUE(st().HttpResponse.isEmpty());
}

} // namespace
