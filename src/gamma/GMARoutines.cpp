// The routines of the gamma window: computation, chart, files, cell editing and the ways out.

#include "gamma/GMA.h"

#include "core/gamma/Evaluate.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"

#include <QChart>
#include <QChartView>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLineSeries>
#include <QValueAxis>

namespace telvo::ui {

namespace {

// A yield that returns at once: the computation yields at every row, and a wait for the next
// event there would cost a heartbeat a row.
void YieldNow() {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    platform::Clock::instance().fireDue();
    platform::ThrowIfEnded();
}

const QString kGammaFilter = QStringLiteral("Gamma Files (*.gma)|*.gma");

// Where the open dialogs start: the Gamma folder when it exists, the program's folder otherwise.
QString dialogStart(const QString& wildcard) {
    const QString folder = GMA::GammaFolder();
    if (core::FolderExists(folder))
        return folder + QDir::separator() + wildcard;
    return platform::AppPath() + QDir::separator() + wildcard;
}

double reciprocal(double v) {
    if (v == 0)
        throw core::RuntimeError(core::kDivisionByZero, QStringLiteral("Division by zero"));
    return 1.0 / v;
}

} // namespace

QString GMA::GammaFolder() {
    return platform::FindFileNoCase(platform::AppPath(), QStringLiteral("Gamma"));
}

void GMA::cmdCompute_Click() {
    lblBuilding->show();
    MSC1->hide();
    core::GammaInputs in;
    in.useReference = chkDSPRef->isChecked();
    in.txtGamma = txtGamma->text();
    in.txtDSPgamma = txtDSPgamma->text();
    in.sourceGamma = SourceGamma;
    txtDSPgamma->setEnabled(in.useReference);
    const core::Exponent e = core::SettleExponent(in);
    if (txtDSPgamma->text() != in.txtDSPgamma)
        txtDSPgamma->setText(in.txtDSPgamma);
    if (txtGamma->text() != in.txtGamma)
        txtGamma->setText(in.txtGamma);

    const int option = ColorOption();
    try {
        core::ComputeTable(e, Ref.DSPrefData, option, SourceGamma, Grid().cells(), [this](int i) {
            if (i > 0) {
                Grid().Changed(i, i);
                DataChanged = true;
            }
            YieldNow();
        });
    } catch (...) {
        Grid().Changed();
        throw;
    }
    Grid().Changed();
    DataChanged = true;

    BuildGraph(ColorOption());
    lblBuilding->hide();
    MSC1->show();
    YieldNow();
}

void GMA::BuildGraph(int color) {
    const int column = color == 0 ? 1 : color;
    FG1->setCurrentIndex(Grid().index(qMax(FG1->currentIndex().row(), 1), column));
    ChartData.assign(core::kGammaRows, {0.0f, 0.0f});
    QList<QPointF> points;
    points.reserve(core::kGammaRows);
    double top = 1.0;
    for (int i = 0; i < core::kGammaRows; ++i) {
        ChartData[size_t(i)] = {float(i / core::kGammaMax),
                                float(core::Val(Grid().Text(i + 1, column)) / core::kGammaMax)};
        points.append(QPointF(ChartData[size_t(i)][0], ChartData[size_t(i)][1]));
        top = qMax(top, double(ChartData[size_t(i)][1]));
    }
    Curve->replace(points);
    const QColor pens[4] = {Qt::black, QColor(255, 0, 0), QColor(0, 255, 0), QColor(0, 0, 255)};
    QPen pen = Curve->pen();
    pen.setStyle(Qt::SolidLine);
    pen.setColor(pens[qBound(0, color, 3)]);
    Curve->setPen(pen);

    // The addition: all three colours at once, the one curve standing aside.
    const bool all = chkAllColors->isChecked();
    Curve->setVisible(!all);
    for (int c = 0; c < core::kGammaColors; ++c) {
        RGBCurves[size_t(c)]->setVisible(all);
        if (!all)
            continue;
        QList<QPointF> rgb;
        rgb.reserve(core::kGammaRows);
        for (int i = 0; i < core::kGammaRows; ++i) {
            const double y = core::Val(Grid().Text(i + 1, c + 1)) / core::kGammaMax;
            rgb.append(QPointF(i / core::kGammaMax, y));
            top = qMax(top, y);
        }
        RGBCurves[size_t(c)]->replace(rgb);
    }
    m_axisY->setRange(0, top);
    frmChart->setTitle(QStringLiteral("Gamma Curve for Gamma = ") + txtGamma->text());
    MSC1->show();
}

void GMA::cmdNew_Click() {
    DataChanged = false;
    InitFG1();
    OptColor[0]->setChecked(true);
    txtDSPgamma->setText(core::FormatTenths(reciprocal(SourceGamma)));
    txtGamma->setText(core::FormatTenths(reciprocal(core::Val(txtDSPgamma->text()) * SourceGamma)));
    chkDSPRef->setChecked(false);
    cmdBrowse->hide();
    DSPrefFile.clear();
    GammaFileName.clear();
    GammaName.clear();
    cmdCompute_Click();
}

void GMA::chkDSPRef_Click() {
    cmdBrowse->setVisible(chkDSPRef->checkState() == Qt::Checked);
}

void GMA::txtSG_Change() {
    SourceGamma = core::Val(txtSG->text());
    txtDSPgamma->clear();
}

// Files ---------------------------------------------------------------------------------------

void GMA::cmdOpen_Click() {
    InitFG1();
    MSC1->hide();
    const QString path =
        platform::OpenFileDialog(QStringLiteral("Open"), dialogStart(QStringLiteral("*.gma")),
                                 QStringLiteral("Gamma Files (*.gma)|(*.gma)"));
    if (path.isEmpty())
        return; // cancelled
    if (!core::FileExists(path))
        return;
    GammaFileName = path;
    OpenGamma();
    BuildGraph(ColorOption());
}

void GMA::OpenGamma() {
    txtGamma->clear();
    txtDSPgamma->clear();
    DSPrefFile.clear();
    const QStringList lines = core::ReadTextFileLines(GammaFileName);
    core::GammaFileRead read;
    // What was read before an error stays, as a reader line by line leaves it.
    auto apply = [this, &read] {
        txtGamma->setText(read.txtGamma);
        txtDSPgamma->setText(read.txtDSPgamma);
        DSPrefFile = read.DSPrefFile;
        if (read.colorOption)
            OptColor[size_t(*read.colorOption)]->setChecked(true);
        if (read.useRefData) {
            const int v = *read.useRefData;
            chkDSPRef->setTristate(v == 2);
            chkDSPRef->setCheckState(v == 0   ? Qt::Unchecked
                                     : v == 1 ? Qt::Checked
                                              : Qt::PartiallyChecked);
            cmdBrowse->setVisible(v == 1);
        }
        Grid().Changed();
    };
    try {
        core::ReadGammaLines(lines, read, Grid().cells());
    } catch (...) {
        apply();
        throw;
    }
    apply();
}

void GMA::SaveGamma() {
    if (GammaFileName.isEmpty()) {
        QString folder = GammaFolder();
        if (!core::FolderExists(folder)) {
            folder = platform::AppPath() + QDir::separator() + QStringLiteral("Gamma");
            if (!QDir().mkpath(folder))
                throw core::RuntimeError(core::kPathFileAccess,
                                         QStringLiteral("Path/File access error"));
        }
        QString path = platform::SaveFileDialog(
            QStringLiteral("Save As"), folder + QDir::separator() + GammaName, kGammaFilter);
        if (path.isEmpty())
            return; // cancelled
        // A gamma file is a .gma file: a name typed without extension gets it, or Open's
        // filter would hide the file.
        if (QFileInfo(path).suffix().isEmpty())
            path += QStringLiteral(".gma");
        if (core::FileExists(path) &&
            platform::MessageBox(path + QStringLiteral("\r\nCurrently exists, Overwrite?"),
                                 platform::vbYesNo) == platform::vbNo)
            return;
        GammaFileName = path;
    }
    core::GammaFileHeader h;
    h.txtGamma = txtGamma->text();
    h.txtDSPgamma = txtDSPgamma->text();
    h.colorOption = ColorOption();
    h.useRefData = chkDSPRef->checkState() == Qt::Checked            ? 1
                   : chkDSPRef->checkState() == Qt::PartiallyChecked ? 2
                                                                     : 0;
    h.DSPrefFile = DSPrefFile;
    core::WriteFileWhole(GammaFileName, core::GammaFileText(h, Grid().cells()));
    DataChanged = false;
}

void GMA::cmdSave_Click() {
    if (!GammaFileName.isEmpty())
        SaveGamma();
    else
        cmdSaveAs_Click();
}

void GMA::cmdSaveAs_Click() {
    txtGIN->clear();
    placeFrmGIN();
    frmGIN->show();
    frmGIN->raise();
    txtGIN->setFocus();
    while (!frmGIN->isHidden())
        platform::DoEvents();
    if (txtGIN->text().isEmpty())
        return;
    GammaName = txtGIN->text();
    GammaFileName.clear();
    SaveGamma();
}

void GMA::cmdDir_Click() {
    frmGIN->hide();
}

void GMA::cmdCancel_Click() {
    txtGIN->clear();
    frmGIN->hide();
}

void GMA::cmdBrowse_Click() {
    QString path =
        platform::OpenFileDialog(QStringLiteral("Open"), dialogStart(QStringLiteral("*")),
                                 QStringLiteral("Reference Files (*.*)|(*.*)"));
    if (path.isEmpty() || !core::FileExists(path))
        return;
    DSPrefFile = path;
    OpenDSPref(path);
}

void GMA::OpenDSPref(QString& path) {
    Ref = core::Reference{};
    const QStringList lines = core::ReadTextFileLines(path);
    core::ReadReferenceLines(lines, Ref);
    txtDSPgamma->setText(QStringLiteral("Data"));
    core::ApplyReference(Ref);
}

void GMA::exportTable(const QString& title, const QString& extension, const QString& filter,
                      bool cal) {
    QString folder = GammaFolder();
    if (!core::FolderExists(folder))
        folder = platform::AppPath();
    QString name = GammaName;
    if (name.isEmpty() && !GammaFileName.isEmpty())
        name = QFileInfo(GammaFileName).completeBaseName();
    if (name.isEmpty())
        name = QStringLiteral("Gamma");
    const QString path =
        platform::SaveFileDialog(title, folder + QDir::separator() + name + extension, filter);
    if (path.isEmpty())
        return;
    const QByteArray bytes =
        cal ? core::ArgyllCalText(Grid().cells(), QDateTime::currentDateTime().toString(
                                                      QStringLiteral("ddd MMM d HH:mm:ss yyyy")))
            : core::CubeLutText(Grid().cells(), name);
    core::WriteFileWhole(path, bytes);
}

void GMA::cmdExportCal_Click() {
    exportTable(QStringLiteral("Export ArgyllCMS Calibration"), QStringLiteral(".cal"),
                QStringLiteral("ArgyllCMS Calibration (*.cal)|*.cal"), true);
}

void GMA::cmdExportCube_Click() {
    exportTable(QStringLiteral("Export 1D LUT"), QStringLiteral(".cube"),
                QStringLiteral("Cube LUT (*.cube)|*.cube"), false);
}

// The grid ------------------------------------------------------------------------------------

void GMA::FG1_DblClick(const QModelIndex& cell) {
    if (!cell.isValid())
        return;
    FG1->setCurrentIndex(cell);
    m_editRow = cell.row();
    m_editCol = cell.column();
    const QRect r = FG1->visualRect(cell);
    const QPoint topLeft = FG1->viewport()->mapTo(Frame1, r.topLeft());
    txtHiLite->setGeometry(QRect(topLeft, r.size()));
    txtHiLite->setText(Grid().Text(m_editRow, m_editCol));
    txtHiLite->selectAll();
    txtHiLite->setAlignment(Qt::AlignCenter);
    txtHiLite->show();
    txtHiLite->raise();
    txtHiLite->setFocus();
    while (!txtHiLite->isHidden())
        platform::DoEvents();
}

void GMA::txtHiLite_Close() {
    if (txtHiLite->isHidden())
        return;
    const double v = core::Val(txtHiLite->text());
    if (v < 0 || v > core::kGammaMax) {
        platform::Beep();
        return;
    }
    // As typed: no four-digit format, and no change of DataChanged.
    Grid().SetText(m_editRow, m_editCol, txtHiLite->text());
    txtHiLite->hide();
}

void GMA::FG1_HeadClick(int column) {
    MSC1->hide();
    YieldNow();
    BuildGraph(column);
    MSC1->show();
    YieldNow();
}

// The ways out --------------------------------------------------------------------------------

namespace {
const QString kChanged = QStringLiteral("The data has changed. Do you wish to save it?");
}

void GMA::cmdExit_Click() {
    if (DataChanged) {
        // Yes saves and leaves the window open, so the saved table can be looked at; No hides.
        const int answer = platform::MessageBox(kChanged, platform::vbYesNoCancel);
        if (answer == platform::vbCancel)
            return;
        if (answer == platform::vbYes)
            cmdSave_Click();
        else
            hide();
    } else {
        hide();
    }
    if (cmdExit->text() == QLatin1String("Exit"))
        platform::EndProgram();
}

void GMA::QueryUnload(bool& cancel) {
    if (!DataChanged)
        platform::EndProgram();
    const int answer = platform::MessageBox(kChanged, platform::vbYesNoCancel);
    if (answer == platform::vbCancel) {
        cancel = true;
        return;
    }
    if (answer == platform::vbNo)
        platform::EndProgram();
    cmdSave_Click();
}

} // namespace telvo::ui
