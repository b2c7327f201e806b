#pragma once
// "Telvo Hesta Gamma Control Loader": the gamma tool's window. It shows the table in a grid and
// the curve on a chart, takes the gamma values, the colour choice and the file commands. It
// never talks to the device: its "Load" button stands there and does nothing.

#include "app/Tools.h"
#include "core/gamma/GammaFiles.h"
#include "gamma/GammaGrid.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QWidget>
#include <array>

QT_BEGIN_NAMESPACE
class QChart;
class QChartView;
class QLineSeries;
class QValueAxis;
QT_END_NAMESPACE

namespace telvo::ui {

// The in-place editor of a grid cell: it reports the loss of focus.
class HiLiteBox : public QLineEdit {
    Q_OBJECT
public:
    using QLineEdit::QLineEdit;
Q_SIGNALS:
    void LostFocus();

protected:
    void focusOutEvent(QFocusEvent* e) override {
        QLineEdit::focusOutEvent(e);
        Q_EMIT LostFocus();
    }
};

class GMA : public QWidget {
    Q_OBJECT
public:
    GMA();

    // Controls, by their system names.
    QGroupBox* Frame1;
    QTableView* FG1;
    HiLiteBox* txtHiLite;
    QGroupBox* frmChart;
    QChartView* MSC1;
    QLabel* lblBuilding;
    QGroupBox* Frame2;
    QLabel* Label1;
    QLineEdit* txtGamma;
    QLabel* Label5;
    QLineEdit* txtDSPgamma;
    QLineEdit* txtSG;
    QCheckBox* chkDSPRef;
    QPushButton* cmdBrowse;
    std::array<QRadioButton*, 4> OptColor;
    QPushButton* cmdCompute;
    QPushButton* cmdLoad;
    QGroupBox* Frame3;
    QPushButton* cmdNew;
    QPushButton* cmdOpen;
    QPushButton* cmdSave;
    QPushButton* cmdSaveAs;
    QPushButton* cmdExit;
    QGroupBox* frmGIN;
    QLineEdit* txtGIN;
    QPushButton* cmdDir;
    QPushButton* cmdCancel;
    // Additions for other colour tools: exports and a chart of all three colours.
    QGroupBox* frmExport;
    QPushButton* cmdExportCal;
    QPushButton* cmdExportCube;
    QCheckBox* chkAllColors;

    // The chart's curves: the one colour of BuildGraph, and red, green, blue together.
    QLineSeries* Curve;
    std::array<QLineSeries*, 3> RGBCurves;

    // State of the window object.
    double SourceGamma = 0.45;
    core::Reference Ref; // FunctionText and DSPrefData
    bool DataChanged = false;
    std::vector<std::array<float, 2>> ChartData;
    QString GammaFileName;
    QString GammaName;
    QString DSPrefFile;
    int MouseRow = 0; // the grid row last released on

    GammaGrid& Grid() { return *m_grid; }

    // Routines of the window.
    qint16 ColorOption() const;
    void InitFG1();
    void BuildGraph(int color);
    void OpenGamma();
    void SaveGamma();
    void OpenDSPref(QString& path);
    // The folder "Gamma" below the program's folder, found without regard to case.
    static QString GammaFolder();

    // Handlers.
    void cmdCompute_Click();
    void cmdLoad_Click() {}
    void cmdNew_Click();
    void cmdOpen_Click();
    void cmdSave_Click();
    void cmdSaveAs_Click();
    void cmdBrowse_Click();
    void cmdExit_Click();
    void cmdDir_Click();
    void cmdCancel_Click();
    void chkDSPRef_Click();
    void txtSG_Change();
    void FG1_DblClick(const QModelIndex& cell);
    void txtHiLite_Close();
    void FG1_HeadClick(int column);
    void QueryUnload(bool& cancel);
    void cmdExportCal_Click();
    void cmdExportCube_Click();

protected:
    void closeEvent(QCloseEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;

private:
    void buildControls();
    void connectHandlers();
    void placeFrmGIN();
    void exportTable(const QString& title, const QString& extension, const QString& filter,
                     bool cal);

    GammaGrid* m_grid;
    QChart* m_chart;
    QValueAxis* m_axisX;
    QValueAxis* m_axisY;
    int m_editRow = 0;
    int m_editCol = 0;
};

// The window of the run, created (and loaded) on first use.
GMA& gma();
bool GmaExists();

} // namespace telvo::ui
