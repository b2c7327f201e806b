// End to end over the network: vorix-sim on a pseudo-terminal served on loopback by the real
// ser2net (configured as users do, without `kickolduser`) or by a server built on pySerial's
// PortManager (one client at a time), COM1 pointed at rfc2217:// or socket://. The server sets
// the terminal's rate as the program asks (RFC 2217) and vorix-sim hears only what comes at its
// own rate, so a wrong rate reads as noise. These run on the wall clock, as the emulator and the
// servers do.

#include "common/LoaderFixture.h"

#include "app/Main.h"
#include "common/Ser2Net.h"
#include "common/SimProcess.h"
#include "config/modRegistry.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/NetworkPortBackend.h"
#include "settings/SCL.h"
#include "settings/SaveRestore.h"

#include <QTest>
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kFive = QStringLiteral("     ");

QString query(const QString& id) {
    return QStringLiteral("(STX)2003") + id + QStringLiteral("(NUL)(ETX)");
}

class NetEndToEnd : public LoaderFixture {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        if (!QFile::exists(SimBinary()))
            GTEST_SKIP() << "vorix-sim not built";
        if (Ser2NetBinary().isEmpty())
            GTEST_SKIP() << "ser2net not installed";
        // The adapter warning before a load is not asked again.
        ui::RegWrite(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                     QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), 1);
    }
    void TearDown() override {
        LoaderFixture::TearDown();
        platform::NetworkPortBackend::dropConnections();
        m_server.reset();
        m_sim.reset();
        qunsetenv("TELVO_PORTS");
        platform::Clock::instance().setVirtual(true);
    }
    ui::SCL& s() { return ui::scl(); }

    // The sample Telvo.ini with `system` in place of its port, rate and start-up lines.
    void writeIni(const QStringList& system) { RunFixture::writeIni(system, kPortAndStartKeys); }
    // The device, its server, and COM1 pointed at the server.
    void serve(const QStringList& simOptions, Ser2Net::Kind kind) {
        QStringList args{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))};
        m_sim = std::make_unique<SimProcess>(home(), QStringLiteral("dev"), args + simOptions);
        ASSERT_TRUE(m_sim->running());
        m_server = std::make_unique<Ser2Net>(home(), m_sim->path(), kind);
        ASSERT_TRUE(m_server->running());
        usePorts({m_server->address()});
    }
    QStringList heard(int from = 0) const { return m_sim->hostFrames().mid(from); }
    QStringList notes() const {
        QStringList out;
        for (const QString& l : m_sim->trace())
            if (l.startsWith(QLatin1String("note")))
                out << l.mid(6);
        return out;
    }
    // Goes on at every breakpoint and answers every question with Continue.
    void keepGoing() {
        at(20, [this] {
            if (!s().cmdContinue->isHidden())
                QTest::mouseClick(s().cmdContinue, Qt::LeftButton);
            keepGoing();
        });
    }
    // Refresh, then a setting changed, saved, changed again and restored.
    void refreshSaveRestore() {
        const qsizetype before = heard().size();
        QTest::mouseClick(s().cmdRefreshAll, Qt::LeftButton);
        EXPECT_TRUE(heard(int(before)).contains(query(QStringLiteral("4C"))));
        ui::SetDevice(QStringLiteral("B1"), QStringLiteral("17"));
        keepGoing();
        ui::SaveSettings();
        EXPECT_TRUE(logLines().contains(
            QStringLiteral("Breakpoint: All settings have been saved from the Gorda")));
        EXPECT_TRUE(QString::fromLatin1(readHomeFile(QStringLiteral("Settings.txt")))
                        .contains(QStringLiteral("B1")));
        ui::SetDevice(QStringLiteral("B1"), QStringLiteral("3"));
        const int restoreFrom = int(heard().size());
        ui::RestoreSettings();
        // The saved value went back to the device, and the device took it.
        const QString setB1 = QStringLiteral("(STX)3006B1(NUL)17(NUL)(ETX)");
        EXPECT_TRUE(heard(restoreFrom).contains(setB1));
        const QStringList frames = m_sim->frames();
        const qsizetype at = frames.lastIndexOf(QStringLiteral("host  ") + setB1);
        ASSERT_GE(at, 0);
        ASSERT_LT(at + 1, frames.size());
        EXPECT_TRUE(frames.at(at + 1).startsWith(QStringLiteral("device  (STX)01")))
            << qPrintable(frames.at(at + 1));
    }

    std::unique_ptr<SimProcess> m_sim;
    std::unique_ptr<Ser2Net> m_server;
};

TEST_F(NetEndToEnd, OverRfc2217TheFullSearchFindsTheDeviceAtItsRateThenEveryJobWorks) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True")});
    serve({QStringLiteral("--baud"), QStringLiteral("38400")}, Ser2Net::Rfc2217);

    ui::Main();

    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM1"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("38400"));
    const QStringList log = logLines();
    EXPECT_TRUE(log.contains(QStringLiteral("COM1: connected to ") + m_server->address()));
    EXPECT_TRUE(log.contains(QStringLiteral("Sent: (STX)2003A1(NUL)(ETX) on COM1 @ 19200")));
    EXPECT_TRUE(log.contains(QStringLiteral("Gorda Found on COM1 Operating @ 38400 baud") + kFive));
    // The probe at 19200 reached the device as noise: the first frame it made out is at 38400.
    ASSERT_FALSE(heard().isEmpty());
    EXPECT_EQ(heard().first(), query(QStringLiteral("A1")));

    refreshSaveRestore();

    ui::SetGordaBaudRate(QStringLiteral("57600"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    ui::SetGordaBaudRate(QStringLiteral("38400"));
    EXPECT_EQ(s().P1->Baud(), 38400);
    EXPECT_TRUE(notes().contains(QStringLiteral("rate 57600")));
    EXPECT_TRUE(notes().contains(QStringLiteral("rate 38400")));
    // Answered at the rate both now share.
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(ui::Link().ReportedSpeedCode, QStringLiteral("5"));
}

TEST_F(NetEndToEnd, OverAPlainSocketRefreshAndSaveWorkAtTheServersRate) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
              QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")});
    serve({}, Ser2Net::Socket);

    ui::Main();

    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_TRUE(logLines().contains(QStringLiteral("COM1: connected to ") + m_server->address()));
    refreshSaveRestore();
}

TEST_F(NetEndToEnd, ServerWithoutTheComPortOptionIsRefusedWithWhatToDo) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True")});
    serve({}, Ser2Net::Telnet);

    // The one port is no port: the run ends as with no port at all, saying why in the log.
    EXPECT_THROW(ui::Main(), platform::ProgramEnd);

    const QString port = m_server->address().mid(QStringLiteral("rfc2217://").size());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("COM1: ") + m_server->address() + QStringLiteral(": the server at ") + port +
        QStringLiteral(" does not take COM port settings: use socket:// "
                       "and set Baud =")))
        << qPrintable(logLines().join(QLatin1Char('\n')));
    // Not one frame reached the device through a server that would have changed it.
    EXPECT_TRUE(heard().isEmpty());
}

TEST_F(NetEndToEnd, Ser2NetBusyWithAnotherClientIsTriedAgainUntilItLetsGo) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
              QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")});
    serve({}, Ser2Net::Rfc2217);
    // Another client holds the port (ser2net without kickolduser: "Port already in use") and
    // lets go a moment later, on a thread of its own while the program waits.
    const quint16 port = quint16(m_server->address().section(QLatin1Char(':'), -1).toUInt());
    const int holder = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::connect(holder, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
    char greeting[64];
    ASSERT_GT(::recv(holder, greeting, sizeof greeting, 0), 0); // ser2net took it as its client
    std::thread release([holder] {
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        ::close(holder);
    });

    ui::Main();
    release.join();

    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    const QStringList log = logLines();
    const QStringList retries = log.filter(QStringLiteral("trying again"));
    ASSERT_FALSE(retries.isEmpty()) << qPrintable(log.join(QLatin1Char('\n')));
    EXPECT_TRUE(retries.first().endsWith(
        QStringLiteral("the server closed the connection (\"Port already in use\"): "
                       "trying again in 100 ms (attempt 2)")))
        << qPrintable(retries.first());
    EXPECT_FALSE(
        log.filter(QStringLiteral("connected (connection %1)").arg(retries.size() + 1)).isEmpty());
}

// ---- the same whole session against each server: one TCP connection for all of it ------------

class EveryServer : public NetEndToEnd, public ::testing::WithParamInterface<Ser2Net::Kind> {
protected:
    void SetUp() override {
        NetEndToEnd::SetUp();
        if (!IsSkipped() && GetParam() == Ser2Net::PySerial && PySerialPython().isEmpty())
            GTEST_SKIP() << "python3-serial not installed";
    }
    QString image(const QString& name, const QString& version, qint64 size) {
        QProcess p;
        p.start(SimBinary(),
                {QStringLiteral("--make-firmware"), homeFile(name), QStringLiteral("--version"),
                 version, QStringLiteral("--size"), QString::number(size)});
        p.waitForFinished(10000);
        return homeFile(name);
    }
};

TEST_P(EveryServer, SearchRefreshSaveRestoreSpeedAndA64KilobyteLoadOverOneConnection) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True")});
    serve({QStringLiteral("--baud"), QStringLiteral("38400")}, GetParam());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.76"), 65536);

    // The search: every rate it tries is an open of the same connection.
    ui::Main();
    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("38400"));

    refreshSaveRestore();

    ui::SetGordaBaudRate(QStringLiteral("57600"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    ui::SetGordaBaudRate(QStringLiteral("38400"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("38400"));
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(ui::Link().ReportedSpeedCode, QStringLiteral("5"));

    s().chkConfirm->setChecked(false);
    scripted->paths = {file};
    QTest::mouseClick(s().cmdStart, Qt::LeftButton);
    ui::ldr().cmdStart->click(); // the whole load runs inside this click
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("2.76"));
    bool verified = false;
    for (const QString& l : m_sim->trace())
        verified = verified || l.contains(QStringLiteral("Verify OK, version 2.76"));
    EXPECT_TRUE(verified);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));

    // One connection for all of it, never a retry; the log names the options and the round trip.
    const QStringList log = logLines();
    const QString addr = m_server->address();
    EXPECT_EQ(log.count(QStringLiteral("COM1: connected to ") + addr), 1);
    EXPECT_EQ(log.filter(QStringLiteral("COM1: ") + addr +
                         QStringLiteral(": connected (connection 1); the server said "))
                  .size(),
              1);
    EXPECT_TRUE(log.filter(QStringLiteral("connection 2")).isEmpty());
    EXPECT_TRUE(log.filter(QStringLiteral("trying again")).isEmpty());
    EXPECT_TRUE(log.filter(QStringLiteral("no answer to")).isEmpty())
        << qPrintable(log.filter(QStringLiteral("no answer")).join(QLatin1Char('\n')));
    EXPECT_EQ(
        log.filter(QRegularExpression(QStringLiteral("^COM1: .*: round trip [0-9]+ ms$"))).size(),
        1);
}

TEST_F(NetEndToEnd, ServerWithoutRtsCtsIsNamedBeforeAnyLoad) {
    if (PySerialPython().isEmpty())
        GTEST_SKIP() << "python3-serial not installed";
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
              QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")});
    serve({}, Ser2Net::PySerialNoHardwareFlow);

    ui::Main();

    // Every open asks for RTS/CTS (the loader's at the transfer speed too), so the log says it
    // before any block of an image could be sent.
    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    const QString port = m_server->address().mid(QStringLiteral("rfc2217://").size());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("COM1: ") + m_server->address() + QStringLiteral(": the server at ") + port +
        QStringLiteral(" does not do RTS/CTS flow control (SET-CONTROL answered 1, "
                       "not 3): a firmware load is not paced by the device there and "
                       "may overrun")))
        << qPrintable(logLines().join(QLatin1Char('\n')));
}

INSTANTIATE_TEST_SUITE_P(Servers, EveryServer,
                         ::testing::Values(Ser2Net::Rfc2217, Ser2Net::PySerial),
                         [](const ::testing::TestParamInfo<Ser2Net::Kind>& i) {
                             return std::string(i.param == Ser2Net::PySerial ? "PySerial"
                                                                             : "Ser2Net");
                         });

} // namespace
