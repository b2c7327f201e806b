#pragma once
// "IR Support": a device command, a remote key or a typed code becomes its line of Pronto hex;
// Gen ALL writes the whole command table to a text listing, a Pronto hex list, a Pronto
// configuration file or a LIRC remote.

#include "core/ir/GenIR.h"
#include "core/ir/Lirc.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QWidget>

namespace telvo::ui {

// The IR tool's module state: the language's tables and the window's flags.
struct IrGlobals {
    core::ir::IRState ir;
    bool EntryMode = false;
    qint16 ButtonCount = 0;
    bool CancelAll = false; // Cancel during a Gen ALL walk
};
IrGlobals& Ir();

class IRG : public QWidget {
    Q_OBJECT
public:
    IRG();
    ~IRG() override;

    QGroupBox* frmIR;
    QListWidget* lstCmnds;
    QListWidget* lstValues;
    QListWidget* lstRemote;
    QRadioButton* optDiscrete;
    QRadioButton* optRemote;
    QRadioButton* optManual;
    QCheckBox* chkAbsolute;
    QGroupBox* Frame3;
    QRadioButton* optVAL;
    QRadioButton* optAscii;
    QRadioButton* optHex;
    QRadioButton* optDec;
    QLineEdit* txtFChex;
    QLineEdit* txtFCdec;
    QLineEdit* txtValue;
    QPlainTextEdit* txtOutput;
    QLabel* Label3;
    QLabel* Label12;
    QLabel* Label13;
    QLabel* Label6;
    QLabel* lblvalues;
    QLabel* lblError;
    QLabel* lblModel;
    QLabel* lblFirmware;
    QLabel* lblOptions;
    QPushButton* cmdGen;
    QPushButton* cmdGenAll;
    QPushButton* cmdSaveAs;
    QPushButton* quit;
    QFrame* Line1;
    QProgressBar* prgGenAll;
    QPushButton* cmdCancelAll;

    // Public operations.
    static QString EditValue(const QString& text);
    void saveIRdata(QFile* file1, QFile* file2, const QString& title, const QString& device,
                    const QString& function, qint16 kind);
    QString GetSaveFileName(const QString& folder);
    void ShowValueError();

    // The code in txtOutput as one press in pulse/space lines, or as a one-button LIRC remote
    // whose button is `button`; empty when the box holds no code.
    QString ShownMode2() const;
    QString ShownLircRemote(const QString& button) const;
    // The comment lines at the head of a LIRC remote: the device and the Telvo.ini it came from.
    QStringList LircHeader() const;

    int FindCommand(const QString& name) const;
    bool IsValueAllowed(const QString& value) const;
    void ProduceIR();
    void GenerateIR(const QString& form);

    // Events.
    void Form_Activate();
    void optDiscrete_Click();
    void optRemote_Click();
    void optManual_Click();
    void lstCmnds_Click();
    void lstValues_Click();
    void lstRemote_Click();
    void cmdGen_Click();
    void txtFCdec_Change();
    void txtFCdec_Commit();
    void txtFChex_Change();
    void txtFChex_Commit();
    void quit_Click();
    void cmdGenAll_Click();
    void cmdSaveAs_Click();

    // Option buttons as the classic ones: one can be cleared without setting another.
    static void SetOption(QRadioButton* b, bool on);

protected:
    void showEvent(QShowEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

private:
    void Form_Load();
    void setOptionByKind(const QString& kind);
    void placeValuesLabel(QWidget* from, QWidget* to);
    bool eventFilter(QObject* watched, QEvent* e) override;
    QWidget* m_valuesFrom = nullptr;
    QWidget* m_valuesTo = nullptr;
    void walkValues(int row, QFile* f1, QFile* f2, qint16 kind);
    void walkRemoteKeys();
    void addLircButton(const QString& name);
    core::ir::LircRemote m_lirc; // what a Gen ALL to a LIRC remote has gathered
    void walkPoint(int row, const QString& value, const QString& words, const QString& context,
                   QFile* f1, QFile* f2, qint16 kind);
    QString decimalCode(const QString& cmd) const;
    bool walkCancelled() const;
    void walkYield();
    QElapsedTimer m_frame;
};

IRG& irg();

} // namespace telvo::ui
