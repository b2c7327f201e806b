// The main window at work end to end: the real start-up against vorix-sim on a pseudo-terminal,
// then the panels' first refresh, the selectors and value entry, as the device sees them.

#include "common/Fixture.h"

#include "app/Main.h"
#include "common/SimProcess.h"
#include "settings/Panels.h"
#include "settings/SCL.h"

#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

QString query(const QString& id) {
    return QStringLiteral("(STX)2003") + id + QStringLiteral("(NUL)(ETX)");
}
QString set(const QString& id, const QString& value) {
    const int length = 2 + 1 + int(value.size()) + 1;
    return QStringLiteral("(STX)30") +
           QStringLiteral("%1").arg(length, 2, 16, QChar(u'0')).toUpper() + id +
           QStringLiteral("(NUL)") + value + QStringLiteral("(NUL)(ETX)");
}

class PanelsEndToEnd : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        if (!QFile::exists(SimBinary()))
            GTEST_SKIP() << "vorix-sim not built";
        writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Port = 1"),
                  QStringLiteral("Baud = 19200")});
        m_sim = std::make_unique<SimProcess>(
            home(), QStringLiteral("dev"),
            QStringList{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))});
        ASSERT_TRUE(m_sim->running());
        usePorts({m_sim->path()});
        ui::Main();
        ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    }
    void TearDown() override {
        RunFixture::TearDown();
        m_sim.reset();
        platform::Clock::instance().setVirtual(true);
    }
    ui::SCL& s() { return ui::scl(); }
    // What the program sent, as the device heard it, from the `from`-th frame on.
    QStringList heard(int from = 0) const { return m_sim->hostFrames().mid(from); }
    ui::SettingLabel* labelNamed(const QString& name) { return SettingLabelNamed(name); }
    std::unique_ptr<SimProcess> m_sim;
};

TEST_F(PanelsEndToEnd, FirstRefreshReadsTheSelectorsThenEverySettingInTheFilesOrder) {
    const QStringList frames = heard();
    const int start = int(frames.indexOf(query(QStringLiteral("4C"))));
    ASSERT_GE(start, 0);
    QStringList expected{query(QStringLiteral("4C")), query(QStringLiteral("E1")),
                         query(QStringLiteral("60")), query(QStringLiteral("E0"))};
    const core::CommandTable& commands = ui::Config().Commands;
    for (int i = 1; i < commands.size(); ++i) {
        const core::CommandRec& r = commands.at(i);
        if (r.ControlIndex == 0 || r.WriteOnly)
            continue;
        if (r.Panel == 1 || r.Panel == 2 || r.Panel == 3)
            expected << query(r.Cmd);
    }
    EXPECT_EQ(frames.mid(start, expected.size()), expected);
    // Captions are the name, "=", and the device's value as its kind shows it.
    EXPECT_EQ(labelNamed(QStringLiteral("Brightness"))->text(), QStringLiteral("Brightness=0"));
    EXPECT_EQ(labelNamed(QStringLiteral("Noise Reduction"))->text(),
              QStringLiteral("Noise Reduction=Off"));
    EXPECT_EQ(labelNamed(QStringLiteral("Zoom"))->text(), QStringLiteral("Zoom=1.00"));
    EXPECT_EQ(labelNamed(QStringLiteral("Model"))->text(), QStringLiteral("Model=Gorda"));
    EXPECT_EQ(labelNamed(QStringLiteral("Test Pattern"))->text(), QStringLiteral("Test Pattern"));
}

TEST_F(PanelsEndToEnd, SelectorsRefreshOnlyTheirPanels) {
    const int before = int(heard().size());
    s().SSTab1->setCurrentIndex(7); // HDMI-1
    const QStringList afterTab = heard(before);
    ASSERT_FALSE(afterTab.isEmpty());
    EXPECT_EQ(afterTab.first(), set(QStringLiteral("4C"), QStringLiteral("8")));
    EXPECT_TRUE(afterTab.contains(query(QStringLiteral("B1"))));
    EXPECT_FALSE(afterTab.contains(query(QStringLiteral("61")))); // middle panel untouched
    EXPECT_FALSE(afterTab.contains(query(QStringLiteral("D1")))); // bottom panel untouched
    const int mid = int(heard().size());
    QTest::mouseClick(s().optDigital, Qt::LeftButton, {}, QPoint(6, s().optDigital->height() / 2));
    const QStringList afterOutput = heard(mid);
    ASSERT_FALSE(afterOutput.isEmpty());
    EXPECT_EQ(afterOutput.first(), set(QStringLiteral("60"), QStringLiteral("2")));
    EXPECT_TRUE(afterOutput.contains(query(QStringLiteral("61"))));
    EXPECT_FALSE(afterOutput.contains(query(QStringLiteral("B1"))));
}

TEST_F(PanelsEndToEnd, ValuesOfEveryKindGoToTheDeviceAndComeBackOntoTheLabel) {
    struct Row {
        const char* name;
        const char* cmd;
        const char* typed; // nullptr: a list, choose row 2
        const char* caption;
    };
    const Row rows[] = {
        {"Red Gain", "67", "1.5", "Red Gain=1.50"},
        {"Audio Delay", "6E", "120", "Audio Delay=120"},
        {"Device Name", "D5", "Q", "Device Name=Q"},
        {"Noise Reduction", "B6", nullptr, "Noise Reduction=Medium"},
    };
    for (const Row& r : rows) {
        ui::SettingLabel* l = labelNamed(QLatin1String(r.name));
        ASSERT_NE(l, nullptr) << r.name;
        QTest::mousePress(l, Qt::LeftButton, {}, QPoint(5, 5));
        const int before = int(heard().size());
        if (r.typed) {
            ASSERT_FALSE(s().frmEnter->isHidden()) << r.name;
            s().txtValEnter->setText(QLatin1String(r.typed));
            QTest::keyClick(s().txtValEnter, Qt::Key_Return);
        } else {
            ASSERT_FALSE(s().frmSelect->isHidden()) << r.name;
            QTest::mouseClick(s().lstSelect->viewport(), Qt::LeftButton, {},
                              s().lstSelect->visualItemRect(s().lstSelect->item(2)).center());
        }
        const QStringList sent = heard(before);
        ASSERT_GE(sent.size(), 2) << r.name;
        EXPECT_TRUE(sent.at(0).startsWith(QStringLiteral("(STX)30")) &&
                    sent.at(0).contains(QLatin1String(r.cmd)))
            << r.name;
        EXPECT_EQ(sent.at(1), query(QLatin1String(r.cmd))) << r.name;
        EXPECT_EQ(l->text(), QLatin1String(r.caption)) << r.name;
    }
}

} // namespace
