// The block transfer over the in-process line: blocks of 100 bytes, the drain wait under CTS,
// the failure words, the restart from the file's first byte, and the progress caption.

#include "common/LoaderFixture.h"

#include "common/DeviceScript.h"
#include "core/firmware/FirmwareFiles.h"
#include "link/Driver.h"
#include "link/zSCL.h"

using namespace telvo;
using namespace telvo::test;

namespace {

class Transfer : public LoaderFixture {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        // The loader's text is shown (and searched) while the state says so.
        ui::SetState(QStringLiteral("OC Loading"));
    }
};

TEST_F(Transfer, FileOf250GoesAs100And100And50) {
    LoaderPeer& peer = attachLoader();
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 250));
    EXPECT_EQ(ui::XfrOneFile(), 0);
    EXPECT_EQ(peer.chunks, (QList<int>{100, 100, 50}));
    EXPECT_EQ(peer.heard, fileBytes(QStringLiteral("a.frk")));
    EXPECT_EQ(ui::App().FilePosition, 300);
    EXPECT_EQ(ui::FW().BytesRemaining, -50);
    EXPECT_EQ(ui::FW().FileBytes, 250);
    // The port as the transfer set it up.
    EXPECT_EQ(s().P1->Settings(), QStringLiteral("57600,n,8,1"));
    EXPECT_EQ(s().P1->Handshaking(), 2);
    EXPECT_EQ(s().P1->RThreshold(), 1);
    EXPECT_EQ(s().P1->SThreshold(), 0);
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_FALSE(ui::Link().DeviceTalking);
}

TEST_F(Transfer, ExactMultipleOfTheBlockSendsNoEmptyBlock) {
    LoaderPeer& peer = attachLoader();
    l().txtFileName->setText(firmware(QStringLiteral("b.frk"), 300));
    EXPECT_EQ(ui::XfrOneFile(), 0);
    EXPECT_EQ(peer.chunks, (QList<int>{100, 100, 100}));
    EXPECT_EQ(ui::App().FilePosition, 300);
    EXPECT_EQ(ui::FW().BytesRemaining, 0);
}

TEST_F(Transfer, EmptyFileSendsNothingAfterSettingUpThePort) {
    LoaderPeer& peer = attachLoader();
    l().txtFileName->setText(firmware(QStringLiteral("e.frk"), 0));
    EXPECT_EQ(ui::XfrOneFile(), 0);
    EXPECT_TRUE(peer.heard.isEmpty());
    EXPECT_TRUE(line(1)->wire().isEmpty());
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_EQ(s().P1->Settings(), QStringLiteral("57600,n,8,1"));
}

TEST_F(Transfer, TestBoxSkipsWithoutTouchingThePort) {
    attachLoader();
    s().chkNoFWupdate->setChecked(true);
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 250));
    EXPECT_EQ(ui::XfrOneFile(), 0);
    EXPECT_FALSE(s().P1->PortOpen());
    EXPECT_TRUE(line(1)->wire().isEmpty());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Skipping Firmware file transfer, debug is set so exiting")));
}

TEST_F(Transfer, MissingFileIsMinusOneAndTheDeviceUntouched) {
    attachLoader();
    l().txtFileName->setText(homeFile(QStringLiteral("none.frk")));
    EXPECT_EQ(ui::XfrOneFile(), -1);
    EXPECT_FALSE(s().P1->PortOpen());
    EXPECT_TRUE(l().lblMessage->text().startsWith(
        QStringLiteral("XfrOneFile: Error opening firmware file; ")));
}

TEST_F(Transfer, FailureWordsInAnyCaseStopAtTheBlocksEndWithTheQuestion) {
    LoaderPeer& peer = attachLoader();
    s().chkConfirm->setChecked(true);
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 1000));
    bool said = false;
    peer.onBytes = [&](const QByteArray&) {
        if (!said && peer.heard.size() >= 200) {
            said = true;
            peer.send("\r\nFAILURE: bad image. please RESTART.\r\n");
        }
    };
    QString question;
    answerPrompt(false, &question, 1);
    EXPECT_EQ(ui::XfrOneFile(), -2);
    EXPECT_TRUE(question.startsWith(QStringLiteral("Confirm Operation: Transfer Failed, ")));
    EXPECT_EQ(question, QStringLiteral("Confirm Operation: ") +
                            core::TransferFailedText(ui::App().FilePosition));
    EXPECT_LT(peer.heard.size(), 1000);
    EXPECT_TRUE(l().lblWait->isHidden());
}

TEST_F(Transfer, CtsLowHoldsTheBlockAndTheFlagsWaitBehindIt) {
    LoaderPeer& peer = attachLoader(true);
    s().chkConfirm->setChecked(true);
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 500));
    // The loader stops its spinner and holds CTS low in the second block, then fails.
    bool held = false;
    peer.onBytes = [&](const QByteArray&) {
        if (!held && peer.heard.size() == 130) {
            held = true;
            peer.setCts(false);
            peer.send("Failure restart.");
        }
    };
    bool stillWaiting = false;
    int pendingThen = -1;
    events.in(5000, [&] {
        // Five seconds on: the block is still in the buffer and nobody asked anything.
        pendingThen = s().P1->OutBufferCount();
        stillWaiting = l().cmdCancel->isHidden() && ui::Link().LoaderFailed;
        peer.setCts(true);
    });
    answerPrompt(false, nullptr, 5001);
    EXPECT_EQ(ui::XfrOneFile(), -2);
    EXPECT_TRUE(stillWaiting);
    EXPECT_EQ(pendingThen, 70);
    EXPECT_EQ(ui::App().FilePosition, 100); // the flag is read behind the wait: no progress
    // The CTS drop was logged, not taken for a failure.
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("CTS Dropped, Fileposition= 100, Bytes sent =30")));
}

TEST_F(Transfer, FailureWinsOverTimeOut) {
    LoaderPeer& peer = attachLoader(true);
    s().chkConfirm->setChecked(true);
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 500));
    bool held = false;
    peer.onBytes = [&](const QByteArray&) {
        if (!held && peer.heard.size() == 150) {
            held = true;
            peer.setCts(false);
            peer.send("Failure, please restart.");
        }
    };
    // The watch that never ticks by itself, ticked by hand twice with no sign of life between.
    events.in(3000, [] {
        ui::tmrload_Timer();
        ui::tmrload_Timer();
    });
    QString question;
    answerPrompt(false, &question, 3001);
    EXPECT_EQ(ui::XfrOneFile(), -2);
    EXPECT_TRUE(ui::FW().LoaderTimedOut);
    EXPECT_TRUE(
        question.startsWith(QStringLiteral("Confirm Operation: Transfer Failed, 100 Bytes")));
}

TEST_F(Transfer, TimedOutAloneAsksWithTheModel) {
    LoaderPeer& peer = attachLoader(true);
    s().chkConfirm->setChecked(true);
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 500));
    peer.onBytes = [&](const QByteArray&) {
        if (peer.heard.size() == 150)
            peer.setCts(false);
    };
    events.in(3000, [] {
        ui::tmrload_Timer();
        ui::tmrload_Timer();
    });
    QString question;
    answerPrompt(false, &question, 3001);
    EXPECT_EQ(ui::XfrOneFile(), -4);
    EXPECT_EQ(question, QStringLiteral("Confirm Operation: ") +
                            core::LoaderTimedOutText(QStringLiteral("Gorda"), 100));
    EXPECT_TRUE(s().lblWait->isHidden());
}

TEST_F(Transfer, WatchdogSpendsTheBlocksCreditFirst) {
    ui::Link().SpinnerCount = 1;
    ui::tmrload_Timer();
    EXPECT_FALSE(ui::FW().LoaderTimedOut);
    EXPECT_EQ(ui::Link().SpinnerCount, 0);
    ui::tmrload_Timer();
    EXPECT_TRUE(ui::FW().LoaderTimedOut);
}

TEST_F(Transfer, WatchdogHasNoPeriod) {
    attachLoader();
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 250));
    EXPECT_EQ(ui::XfrOneFile(), 0);
    EXPECT_EQ(s().tmrload->Interval(), 0);
    EXPECT_TRUE(s().tmrload->Enabled());
    EXPECT_FALSE(ui::FW().LoaderTimedOut);
}

TEST_F(Transfer, AfterARestartTheFirstBytesAreTheFilesFirstBytes) {
    LoaderPeer& peer = attachLoader();
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 450));
    bool failed = false;
    peer.onBytes = [&](const QByteArray&) {
        if (!failed && peer.heard.size() == 200) {
            failed = true;
            peer.send("Failure: checksum. Please restart.");
        }
    };
    // Without confirmation the question answers itself; the stop waits for the user.
    QString stop;
    answerPrompt(true, &stop);
    EXPECT_EQ(ui::XfrOneFile(), 0);
    const QByteArray file = fileBytes(QStringLiteral("a.frk"));
    const QByteArray wire = line(1)->wire();
    ASSERT_GE(wire.size(), file.size());
    EXPECT_EQ(wire.right(file.size()), file);
    EXPECT_EQ(wire.left(200), file.left(200));
    EXPECT_EQ(wire.mid(wire.size() - file.size(), 100), file.left(100));
    EXPECT_EQ(stop, QStringLiteral("Breakpoint: Make sure the Gorda is Displaying message: "
                                   "'Load frk File now.'.      (Click 'Continue') "));
    EXPECT_TRUE(
        logLines().contains(core::TransferFailedText(200).split(QStringLiteral("\r\n")).first()) ||
        logLines()
            .join(QStringLiteral("\n"))
            .contains(QStringLiteral("Transfer Failed, 200 Bytes processed.")));
}

TEST_F(Transfer, ProgressCaptionAfterEachBlock) {
    LoaderPeer& peer = attachLoader(true);
    peer.setBaud(57600);
    l().txtFileName->setText(firmware(QStringLiteral("p.frk"), 30000));
    QStringList captions;
    peer.onBytes = [&](const QByteArray&) {
        const QString c = l().lblMessage->text();
        if (!c.isEmpty() && (captions.isEmpty() || captions.last() != c))
            captions << c;
    };
    EXPECT_EQ(ui::XfrOneFile(), 0);
    ASSERT_GT(captions.size(), 10);
    // In the first seconds the caption has no estimate; at 57600 baud 30000 bytes take ~5.2 s.
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^Bytes processed=[0-9]+$"))
                    .match(captions.first())
                    .hasMatch())
        << captions.first().toStdString();
    EXPECT_EQ(captions.first(), QStringLiteral("Bytes processed=100"));
    EXPECT_TRUE(l().lblMessage->text().startsWith(
        QStringLiteral("Bytes processed=30000,   Approximate Time Remaining = ")));
    EXPECT_EQ(l().prgLoad->value(), 100);
}

} // namespace
