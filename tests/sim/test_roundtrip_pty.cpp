// The utility's own exchange over its real serial port code (QSerialPort on a pseudo-terminal)
// against the vorix-sim program, on the real clock.

#include "common/Fixture.h"

#include "Frames.h"

#include "core/link/Protocol.h"
#include "link/zSCL.h"
#include "platform/clock/Clock.h"
#include "settings/SCL.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>

using namespace telvo;

namespace {

class PtyRoundTrip : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        writeHomeFile(QStringLiteral("Telvo.ini"), sampleIni());
        initControls();
        const QString bin =
            qEnvironmentVariable("TELVO_BINARY_DIR") + QStringLiteral("/bin/vorix-sim");
        ASSERT_TRUE(QFileInfo(bin).isExecutable());
        m_sim.start(bin, {QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))});
        ASSERT_TRUE(m_sim.waitForStarted(5000));
        QElapsedTimer t;
        t.start();
        while (!m_sim.canReadLine() && t.elapsed() < 10000)
            m_sim.waitForReadyRead(100);
        ASSERT_TRUE(m_sim.canReadLine());
        const QString path = QString::fromLocal8Bit(m_sim.readLine()).trimmed();
        platform::PortMap::instance().setPorts({path});

        openPort(1, 19200);
        ui::SCL& s = ui::scl();
        ASSERT_TRUE(s.P1->PortOpen()) << s.P1->ErrDescription().toStdString();
        // Generous: a busy machine must not turn an answer into a time-out.
        s.txtTO->setText(QStringLiteral("2000"));
    }
    void TearDown() override {
        if (ui::scl().P1->PortOpen())
            ui::scl().P1->setPortOpen(false);
        RunFixture::TearDown();
        platform::Clock::instance().setVirtual(true);
        m_sim.terminate();
        m_sim.waitForFinished(5000);
    }
    QString value() const { return core::ReplyValue(ui::Link().Reply); }

    QProcess m_sim;
};

TEST_F(PtyRoundTrip, EveryValueKindOfTheSampleIniComesBackAsTheDeviceHoldsIt) {
    struct Row {
        const char* id;
        const char* sent;
        const char* held;
    };
    const Row rows[] = {
        {"B1", "-12", "-12"}, {"C1", "3", "3"},   {"C5", "2.50", "2.50"}, {"67", "1.25", "1.25"},
        {"6E", "120", "120"}, {"D4", "1f", "1F"}, {"D5", "Q", "Q"},       {"4C", "8", "8"},
    };
    for (const Row& r : rows) {
        const QString id = QLatin1String(r.id);
        ui::SetDevice(id, QLatin1String(r.sent));
        EXPECT_EQ(ui::Link().Reply, QString::fromLatin1(vorix::sim::AckReply())) << r.id;
        ui::QueryDevice(id);
        EXPECT_EQ(value(), QLatin1String(r.held)) << r.id;
    }
    ui::QueryDevice(QStringLiteral("A8"));
    EXPECT_EQ(value(), QStringLiteral("Vorix Gorda"));
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_EQ(ui::Link().PowerState, QStringLiteral("ON"));
}

TEST_F(PtyRoundTrip, SpeedChangeIsFollowedByThePort) {
    ui::scl().txtTO->setText(QStringLiteral("400"));
    ui::SetDevice(QStringLiteral("A3"), QStringLiteral("6"));
    EXPECT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_EQ(ui::Link().Reply, QString::fromLatin1(vorix::sim::AckReply()));
    ui::scl().txtTO->setText(QStringLiteral("2000"));
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(ui::Link().ReportedSpeedCode, QStringLiteral("6"));
}

} // namespace
