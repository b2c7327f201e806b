// The exchange over a real serial port: QSerialPort on a pseudo-terminal whose other side the
// test holds and answers from, on the real clock.

#include "common/Fixture.h"

#include "link/zSCL.h"
#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "settings/SCL.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

using namespace telvo;

namespace {

class Pty {
public:
    Pty() {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0)
            return;
        m_slave = QString::fromLocal8Bit(::ptsname(m_master));
        termios t{};
        ::tcgetattr(m_master, &t);
        ::cfmakeraw(&t);
        ::tcsetattr(m_master, TCSANOW, &t);
    }
    ~Pty() {
        if (m_master >= 0)
            ::close(m_master);
    }
    int master() const { return m_master; }
    QString slave() const { return m_slave; }

private:
    int m_master = -1;
    QString m_slave;
};

class SerialPortExchange : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        initControls();
    }
    void TearDown() override {
        RunFixture::TearDown();
        platform::Clock::instance().setVirtual(true);
    }
};

TEST_F(SerialPortExchange, QueryOverPseudoTerminalIsAnsweredFromTheOtherSide) {
    Pty pty;
    ASSERT_FALSE(pty.slave().isEmpty());
    platform::PortMap::instance().setPorts({pty.slave()});

    QByteArray heard;
    QSocketNotifier notifier(pty.master(), QSocketNotifier::Read);
    const QByteArray reply = platform::DeviceFrame("21", QByteArray("A1\0"
                                                                    "1\0",
                                                                    5));
    QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
        char buf[256];
        const ssize_t n = ::read(pty.master(), buf, sizeof buf);
        if (n <= 0)
            return;
        heard.append(buf, n);
        if (heard.endsWith('\x03'))
            (void)!::write(pty.master(), reply.constData(), reply.size());
    });

    openPort(1, 19200);
    ui::SCL& s = ui::scl();
    ASSERT_TRUE(s.P1->PortOpen()) << s.P1->ErrDescription().toStdString();
    // A pseudo-terminal has no modem lines: CTS counts as high.
    EXPECT_TRUE(s.P1->CTSHolding());
    // A generous time-out: the machine may be busy, and the answer comes at once anyway.
    s.txtTO->setText(QStringLiteral("5000"));

    ui::QueryDevice(QStringLiteral("A1"));

    EXPECT_EQ(heard, QByteArray::fromHex("02323030334131000"
                                         "3"));
    EXPECT_FALSE(ui::Link().TimedOut);
    EXPECT_EQ(ui::Link().PowerState, QStringLiteral("ON"));
    EXPECT_EQ(logLines(),
              (QStringList{QStringLiteral("Sent: (STX)2003A1(NUL)(ETX) on COM1 @ 19200"),
                           QStringLiteral("Rply: ") + test::PrintableFrame("21", QByteArray("A1\0"
                                                                                            "1\0",
                                                                                            5))}));
    s.P1->setPortOpen(false);
}

TEST_F(SerialPortExchange, SilentPseudoTerminalTimesOutOnTheRealClock) {
    Pty pty;
    ASSERT_FALSE(pty.slave().isEmpty());
    platform::PortMap::instance().setPorts({pty.slave()});
    openPort(1, 19200);
    ui::SCL& s = ui::scl();
    ASSERT_TRUE(s.P1->PortOpen()) << s.P1->ErrNumber() << " "
                                  << s.P1->ErrDescription().toStdString();
    s.txtTO->setText(QStringLiteral("100"));
    ui::QueryDevice(QStringLiteral("B1"));
    EXPECT_TRUE(ui::Link().TimedOut);
    EXPECT_EQ(logLines().last(), QStringLiteral("Transmission Timed Out.  Transmission Timed out"));
    s.P1->setPortOpen(false);
}

TEST_F(SerialPortExchange, MissingDeviceFileIsInvalidPortNumber) {
    platform::PortMap::instance().setPorts({QStringLiteral("/dev/telvo-no-such-port")});
    ui::SCL& s = ui::scl();
    s.P1->setCommPort(1);
    s.P1->ClearError();
    s.P1->setPortOpen(true);
    EXPECT_FALSE(s.P1->PortOpen());
    EXPECT_EQ(s.P1->ErrNumber(), 8002);
    s.P1->ClearError();
    s.P1->setPortOpen(false);
    EXPECT_EQ(s.P1->ErrNumber(), 8012);
}

} // namespace
