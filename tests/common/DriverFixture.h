#pragma once
// The main window with scripted devices on configured ports: the ground of the tests of finding
// the device (tests/link) and of what a connection reads of it (tests/settings).

#include "common/DeviceScript.h"
#include "common/Fixture.h"

#include "app/Globals.h"
#include "settings/SCL.h"

#include <QTest>

#include <map>

namespace telvo::test {

class Driver : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
        s().show();
    }
    ui::SCL& s() { return ui::scl(); }
    core::LinkState& link() { return ui::Link(); }

    // `count` configured ports of which `existing` are there, each with a scripted device.
    void ports(int count, const QList<int>& existing) {
        QStringList entries;
        for (int i = 1; i <= count; ++i)
            entries << QStringLiteral("/nonexistent/telvo-port-%1").arg(i);
        platform::PortMap::instance().setPorts(entries);
        for (int com : existing)
            m_dev[com] = &attachPeer(com, 19200, false, true);
    }
    platform::ScriptedPeer& dev(int com) { return *m_dev.at(com); }

    // Answers the prompts in turn (true: Continue) by clicking, as they come up.
    void answerPrompts(QList<bool> answers) {
        m_answers = answers;
        pollPrompts();
    }
    void pollPrompts() {
        m_events.in(5, [this] {
            if (m_answers.isEmpty())
                return;
            if (!s().cmdContinue->isHidden()) {
                m_prompts << s().lblMessage->text();
                QTest::mouseClick(m_answers.takeFirst() ? s().cmdContinue : s().cmdCancel,
                                  Qt::LeftButton);
            }
            pollPrompts();
        });
    }

    void TearDown() override {
        m_events.cancelAll();
        RunFixture::TearDown();
    }

    std::map<int, platform::ScriptedPeer*> m_dev;
    TestEvents m_events;
    QList<bool> m_answers;
    QStringList m_prompts;
};

} // namespace telvo::test
