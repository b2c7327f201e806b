#pragma once
// The main window. Its controls double as the run's state, and the routines read them directly.

#include "app/Accessible.h"
#include "app/Controls.h"
#include "app/LogView.h"
#include "platform/clock/Timer.h"
#include "platform/serial/CommControl.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QWidget>

namespace telvo::ui {

// A setting's label on a panel: "name=value", reached by mouse and by keyboard alike (Enter or
// Space opens its chooser as a click at its middle would).
class SettingLabel : public ClickLabel {
    Q_OBJECT
public:
    explicit SettingLabel(QWidget* parent);
Q_SIGNALS:
    void MouseDownAt(QPoint at);

protected:
    void mousePressEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
};

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
    StatusLine* lblMessage;
    QPushButton* cmdContinue;
    QPushButton* cmdCancel;
    QLabel* lblWait;

    // The frames.
    QGroupBox* Frame2; // "Communications"
    QGroupBox* Frame3; // "Device Settings"
    QGroupBox* Frame6; // "Operation and Options"
    QLabel* Label1;
    QLabel* Label2;
    QLabel* Label4;
    QLabel* Label6;
    QLabel* Label7;
    QLabel* Label8;
    QLabel* Label11;
    QLabel* lblFirmware;

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
    QListWidget* lstPreset;
    QListWidget* lstProfile;
    QPushButton* cmdSaveAs;
    QPushButton* cmdSaveAs2;
    QRadioButton* optDigital;
    QRadioButton* optAnalog;
    QFrame* Line1;
    QFrame* Line2;
    // The label arrays; member 0 of each is the design's hidden first member.
    QList<SettingLabel*> lblSettingTop;
    QList<SettingLabel*> lblSettingMid;
    QList<SettingLabel*> lblSettingBtm;
    QGridLayout* gridTop;
    QGridLayout* gridMid;
    QGridLayout* gridBtm;

    // The floating choosers of value entry.
    QGroupBox* frmEnter;
    QLabel* lblEnter;
    QLineEdit* txtValEnter;
    QGroupBox* frmSelect;
    QListWidget* lstSelect;
    int lstSelectTwips = 0; // the list's height as the design counts it

    // The window's arrangement, laid out again for the user level.
    QGridLayout* root;
    QWidget* panelArea;
    QWidget* detailsArea;
    QWidget* statusArea;

    // Sets the caption to the model and the version, as the title always reads.
    void SetTitle();
    // The load event: height to the last control plus 300 twips, centred on the screen.
    void CenterOnScreen();

protected:
    void closeEvent(QCloseEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;

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
