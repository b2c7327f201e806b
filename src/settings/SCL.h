#pragma once
// The main window. Its controls double as the run's state, and the routines read them directly.

#include "app/Controls.h"
#include "app/LogView.h"
#include "platform/CommControl.h"
#include "platform/Timer.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QWidget>

namespace telvo::ui {

class SCL : public QWidget {
    Q_OBJECT
public:
    SCL();
    ~SCL() override;

    // Serial control and timers of the link.
    platform::CommControl* P1;
    platform::Timer* T1;
    platform::Timer* tmrdelay;
    platform::Timer* tmrmessage;
    platform::Timer* tmrFindGorda;
    platform::Timer* tmrload;

    // Log, status and prompts.
    LogView* D1;
    QLabel* Label9;
    ClickLabel* lblMessage;
    QPushButton* cmdContinue;
    QPushButton* cmdCancel;
    QLabel* lblWait;

    // Connection and state.
    QLabel* DeviceModel;
    QComboBox* lstPort;
    QComboBox* lstRate;
    QLineEdit* txtPort;
    QLineEdit* txtCrntSpeed;
    QLineEdit* txtOrigSpeed;
    QLineEdit* txtxfrspeed;
    QLineEdit* txtFirmware;
    QLineEdit* txtState;
    QLabel* lblState;
    QLineEdit* txtTO;
    QLineEdit* txtretry;
    QCheckBox* chkSim;
    QCheckBox* chkConfirm;
    QCheckBox* chkNoFWupdate;
    QCheckBox* chkSaveRestore;
    QCheckBox* chkDefaults;

    // The button row.
    QGroupBox* Frame4;
    QGroupBox* Frame5;
    QPushButton* cmdOpen;
    QPushButton* cmdRefreshAll;
    QPushButton* cmdSave;
    QPushButton* cmdRestore;
    QPushButton* cmdStart;
    QPushButton* cmdDecodeIR;
    QPushButton* cmdSupport;
    QPushButton* cmdDebugger;
    QPushButton* cmdAdvanced;
    QPushButton* cmdGamma;
    QPushButton* cmdEnd;

    // The settings area.
    QTabBar* SSTab1;
    QGroupBox* FrameTop;
    QGroupBox* FrameMid;
    QGroupBox* FrameBtm;
    QComboBox* lstPreset;
    QComboBox* lstProfile;
    QPushButton* cmdSaveAs;
    QPushButton* cmdSaveAs2;

    // Sets the caption to the model and the version, as the title always reads.
    void SetTitle();
    // The load event: height to the last control plus 300 twips, centred on the screen.
    void CenterOnScreen();

protected:
    void closeEvent(QCloseEvent* e) override;

private:
    void build();
    void wire();
};

// The button groups that keep two senders apart.
void EnableControls(const QString& words);
void DisableControls(const QString& words);

// The tab captions of the inputs.
QStringList InputTabNames();

} // namespace telvo::ui
