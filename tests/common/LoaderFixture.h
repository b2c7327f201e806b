#pragma once
// The common ground of the loader's tests: a fresh run with the main window's controls, a
// private registry file, firmware files in the program's folder, and a far end that plays a
// boot loader by hand (bytes heard in the chunks they were written, CTS, words sent back).

#include "common/Fixture.h"

#include "app/Globals.h"
#include "common/DeviceScript.h"
#include "firmware/Firmware.h"
#include "firmware/LDR.h"
#include "firmware/RS.h"
#include "platform/doubles/ScriptedPeer.h"
#include "platform/os/AppPath.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>
#include <functional>

namespace telvo::test {

class LoaderPeer : public platform::LinePeer {
public:
    void bytesArrived(const QByteArray& bytes) override {
        heard += bytes;
        chunks << int(bytes.size());
        if (onBytes)
            onBytes(bytes);
        // After a load the program asks for the version: the rebooted device answers.
        if (heard.endsWith(QByteArray("\x02"
                                      "2003A9\0\x03",
                                      8)))
            send(platform::DeviceFrame("21", QByteArray("A9\0"
                                                        "2.00\0",
                                                        8)));
    }
    int baud() const override { return m_baud; }
    void setBaud(int b) { m_baud = b; }
    void send(const QByteArray& bytes) { m_host->peerSend(bytes); }
    void setCts(bool on) { m_host->peerSetCts(on); }

    QByteArray heard;
    QList<int> chunks;
    std::function<void(const QByteArray&)> onBytes;

private:
    int m_baud = 0;
};

class LoaderFixture : public RunFixture {
protected:
    // The working list FileList.frl, one entry a line.
    void writeList(const QStringList& entries) {
        QByteArray bytes;
        for (const QString& e : entries)
            bytes += e.toUtf8() + "\r\n";
        writeHomeFile(QStringLiteral("FileList.frl"), bytes);
    }
    void SetUp() override {
        RunFixture::SetUp();
        // The store of the adapter warning: a private file, never the user's own settings.
        qputenv("TELVO_REGISTRY_FILE", homeFile(QStringLiteral("registry.ini")).toUtf8());
        initControls();
        ui::SCL& s = ui::scl();
        s.DeviceModel->setText(QStringLiteral("Gorda"));
        s.txtPort->setText(QStringLiteral("COM1"));
        s.txtxfrspeed->setText(QStringLiteral("57600"));
        s.txtOrigSpeed->setText(QStringLiteral("19200"));
        s.txtCrntSpeed->setText(QStringLiteral("57600"));
        s.chkConfirm->setChecked(false);
    }
    void TearDown() override {
        events.cancelAll();
        RunFixture::TearDown();
        qunsetenv("TELVO_REGISTRY_FILE");
    }
    ui::LDR& l() { return ui::ldr(); }
    ui::SCL& s() { return ui::scl(); }

    // A file of `size` bytes counting 0, 1, 2... in the program's folder; its path.
    QString firmware(const QString& name, int size) {
        QByteArray bytes(size, '\0');
        for (int i = 0; i < size; ++i)
            bytes[i] = char(i % 251);
        writeHomeFile(name, bytes);
        return homeFile(name);
    }
    QByteArray fileBytes(const QString& name) const { return readHomeFile(name); }

    // The hand-played boot loader on COM1.
    LoaderPeer& attachLoader(bool pacing = false) {
        platform::PortMap::instance().attachPeer(1, &m_loader);
        line(1)->setPacing(pacing);
        return m_loader;
    }

    // Answers the loader window's next prompt once it stands (Continue or Cancel), keeping
    // the prompt's text in `text`.
    void answerPrompt(bool cont, QString* text = nullptr, int afterMs = 1) {
        events.in(afterMs, [this, cont, text] {
            QPushButton* b = cont ? l().cmdContinue : l().cmdCancel;
            if (b->isHidden())
                return answerPrompt(cont, text, 1);
            if (text)
                *text = l().lblMessage->text();
            b->click();
        });
    }

    // The program is killed once `cut` holds, `afterMs` later: its waits unwind as at the end.
    void killWhen(std::function<bool()> cut, int afterMs, int pollMs) {
        events.in(pollMs, [this, cut, afterMs, pollMs] {
            if (!cut())
                return killWhen(cut, afterMs, pollMs);
            events.in(afterMs, [] {
                try {
                    platform::EndProgram();
                } catch (const platform::ProgramEnd&) {
                }
            });
        });
    }
    // At the next start: "Use Existing Restart File" and Restart once RS stands, and Done on
    // the loader window once the restarted load is over, so that the start-up goes on.
    void restartFromFileAtStart(int pollMs) {
        events.in(pollMs, [this, pollMs] {
            if (!ui::FirmwareWindowExists("RS") || ui::rs().isHidden())
                return restartFromFileAtStart(pollMs);
            ui::rs().Check1->click();
            ui::rs().cmdReStart->click();
        });
        doneWhenRestarted(pollMs);
    }
    void doneWhenRestarted(int pollMs) {
        events.in(pollMs, [this, pollMs] {
            if (ui::FirmwareWindowExists("RS") && ui::rs().isHidden() && !ui::App().RestartBusy &&
                !l().isHidden())
                l().cmdEnd->click();
            else
                doneWhenRestarted(pollMs);
        });
    }

    LoaderPeer m_loader;
    TestEvents events;
};

} // namespace telvo::test
