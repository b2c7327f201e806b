#include "gamma/GMA.h"

#include "app/Controls.h"

#include <QChart>
#include <QChartView>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineSeries>
#include <QVBoxLayout>
#include <QValueAxis>

namespace telvo::ui {

namespace {

// Every control carries its system name, and a name a screen reader speaks.
template <typename W> W* named(W* w, const char* objectName, const QString& spoken) {
    w->setObjectName(QString::fromLatin1(objectName));
    w->setAccessibleName(spoken);
    return w;
}

QLineSeries* series(QChart* chart, const QColor& color) {
    auto* s = new QLineSeries;
    QPen pen(color);
    pen.setWidthF(1.5);
    pen.setStyle(Qt::SolidLine);
    s->setPen(pen);
    chart->addSeries(s);
    return s;
}

} // namespace

GMA::GMA() {
    setObjectName(QStringLiteral("GMA"));
    setWindowTitle(QStringLiteral("Telvo Hesta Gamma Control Loader"));
    buildControls();
    connectHandlers();

    // Load.
    SourceGamma = 0.45;
    MSC1->hide();
    txtSG->setText(QString::number(SourceGamma, 'f', 2));
    Frame2->setTitle(QStringLiteral("Construct Scalar Gamma;  Source Gamma = "));
    InitFG1();
    CenterForm(this);
    placeFrmGIN();
}

void GMA::buildControls() {
    auto* root = new QHBoxLayout(this);

    Frame1 = named(new QGroupBox(QStringLiteral("LUT Table Data"), this), "Frame1",
                   QStringLiteral("LUT Table Data"));
    auto* f1 = new QVBoxLayout(Frame1);
    m_grid = new GammaGrid;
    m_grid->setParent(this);
    FG1 = named(new QTableView(Frame1), "FG1", QStringLiteral("LUT Table Data"));
    FG1->setModel(m_grid);
    // Row 0 of the grid is its fixed header row: the view's own header shows it.
    FG1->setRowHidden(0, true);
    FG1->verticalHeader()->hide();
    FG1->horizontalHeader()->setSectionsClickable(true);
    FG1->horizontalHeader()->setHighlightSections(false);
    FG1->horizontalHeader()->setDefaultAlignment(Qt::AlignCenter);
    FG1->setEditTriggers(QAbstractItemView::NoEditTriggers);
    FG1->setSelectionMode(QAbstractItemView::SingleSelection);
    FG1->setSelectionBehavior(QAbstractItemView::SelectItems);
    FG1->verticalHeader()->setDefaultSectionSize(FG1->fontMetrics().height() + 6);
    FG1->setMinimumSize(300, 420);
    f1->addWidget(FG1);
    txtHiLite = named(new HiLiteBox(Frame1), "txtHiLite", QStringLiteral("Cell value"));
    txtHiLite->setAlignment(Qt::AlignCenter);
    txtHiLite->hide();
    root->addWidget(Frame1, 2);

    auto* right = new QVBoxLayout;
    frmChart = named(new QGroupBox(this), "frmChart", QStringLiteral("Gamma Curve"));
    auto* fc = new QGridLayout(frmChart);
    m_chart = new QChart;
    m_chart->legend()->hide();
    m_chart->setBackgroundBrush(Qt::white);
    m_chart->setDropShadowEnabled(false);
    m_axisX = new QValueAxis;
    m_axisY = new QValueAxis;
    m_axisX->setRange(0, 1);
    m_axisY->setRange(0, 1);
    m_axisX->setTickCount(6);
    m_axisY->setTickCount(6);
    m_axisX->setLabelFormat(QStringLiteral("%.1f"));
    m_axisY->setLabelFormat(QStringLiteral("%.1f"));
    m_chart->addAxis(m_axisX, Qt::AlignBottom);
    m_chart->addAxis(m_axisY, Qt::AlignLeft);
    Curve = series(m_chart, Qt::black);
    RGBCurves = {series(m_chart, QColor(255, 0, 0)), series(m_chart, QColor(0, 255, 0)),
                 series(m_chart, QColor(0, 0, 255))};
    for (QLineSeries* s : {Curve, RGBCurves[0], RGBCurves[1], RGBCurves[2]}) {
        s->attachAxis(m_axisX);
        s->attachAxis(m_axisY);
    }
    for (QLineSeries* s : RGBCurves)
        s->hide();
    MSC1 = named(new QChartView(m_chart, frmChart), "MSC1", QStringLiteral("Gamma Curve"));
    MSC1->setRenderHint(QPainter::Antialiasing);
    MSC1->setMinimumSize(380, 300);
    lblBuilding = named(new QLabel(QStringLiteral("Building    Chart"), frmChart), "lblBuilding",
                        QStringLiteral("Building    Chart"));
    lblBuilding->setAlignment(Qt::AlignCenter);
    QFont big = lblBuilding->font();
    big.setPointSize(big.pointSize() * 2);
    lblBuilding->setFont(big);
    lblBuilding->hide();
    fc->addWidget(MSC1, 0, 0);
    fc->addWidget(lblBuilding, 0, 0);
    chkAllColors = named(new QCheckBox(QStringLiteral("Show Red, Green and Blue"), frmChart),
                         "chkAllColors", QStringLiteral("Show Red, Green and Blue"));
    fc->addWidget(chkAllColors, 1, 0);
    fc->setRowStretch(0, 1);
    right->addWidget(frmChart, 1);

    Frame2 = named(new QGroupBox(QStringLiteral("Set Gamma Value"), this), "Frame2",
                   QStringLiteral("Set Gamma Value"));
    auto* f2 = new QGridLayout(Frame2);
    txtSG = named(new QLineEdit(Frame2), "txtSG", QStringLiteral("Source Gamma"));
    txtSG->setMaximumWidth(60);
    Label1 = named(new QLabel(QStringLiteral("Scalar Gamma"), Frame2), "Label1",
                   QStringLiteral("Scalar Gamma"));
    txtGamma = named(new QLineEdit(Frame2), "txtGamma", QStringLiteral("Scalar Gamma"));
    Label1->setBuddy(txtGamma);
    Label5 = named(new QLabel(QStringLiteral("Display Gamma"), Frame2), "Label5",
                   QStringLiteral("Display Gamma"));
    txtDSPgamma = named(new QLineEdit(Frame2), "txtDSPgamma", QStringLiteral("Display Gamma"));
    Label5->setBuddy(txtDSPgamma);
    chkDSPRef = named(new QCheckBox(QStringLiteral("Use Display Reference Data"), Frame2),
                      "chkDSPRef", QStringLiteral("Use Display Reference Data"));
    cmdBrowse = NamedButton(QStringLiteral("Open"), Frame2, "cmdBrowse");
    cmdBrowse->hide();
    const QString colors[4] = {QStringLiteral("All"), QStringLiteral("Red"),
                               QStringLiteral("Green"), QStringLiteral("Blue")};
    auto* opts = new QHBoxLayout;
    for (int i = 0; i < 4; ++i) {
        OptColor[size_t(i)] = named(new QRadioButton(colors[i], Frame2), "OptColor", colors[i]);
        OptColor[size_t(i)]->setProperty("Index", i);
        opts->addWidget(OptColor[size_t(i)]);
    }
    OptColor[0]->setChecked(true);
    cmdCompute = NamedButton(QStringLiteral("Compute"), Frame2, "cmdCompute");
    cmdLoad = NamedButton(QStringLiteral("Load"), Frame2, "cmdLoad");
    f2->addWidget(new QLabel(QStringLiteral("Source Gamma"), Frame2), 0, 0);
    f2->addWidget(txtSG, 0, 1);
    f2->addWidget(Label1, 1, 0);
    f2->addWidget(txtGamma, 1, 1);
    f2->addWidget(Label5, 2, 0);
    f2->addWidget(txtDSPgamma, 2, 1);
    f2->addWidget(chkDSPRef, 3, 0);
    f2->addWidget(cmdBrowse, 3, 1);
    f2->addLayout(opts, 4, 0, 1, 2);
    f2->addWidget(cmdCompute, 5, 0);
    f2->addWidget(cmdLoad, 5, 1);

    Frame3 = named(new QGroupBox(QStringLiteral("Program Control"), this), "Frame3",
                   QStringLiteral("Program Control"));
    auto* f3 = new QGridLayout(Frame3);
    cmdNew = NamedButton(QStringLiteral("New"), Frame3, "cmdNew");
    cmdOpen = NamedButton(QStringLiteral("Open"), Frame3, "cmdOpen");
    cmdSave = NamedButton(QStringLiteral("Save"), Frame3, "cmdSave");
    cmdSaveAs = NamedButton(QStringLiteral("Save As"), Frame3, "cmdSaveAs");
    cmdExit = NamedButton(QStringLiteral("Done"), Frame3, "cmdExit");
    f3->addWidget(cmdNew, 0, 0);
    f3->addWidget(cmdOpen, 0, 1);
    f3->addWidget(cmdSave, 1, 0);
    f3->addWidget(cmdSaveAs, 1, 1);
    f3->addWidget(cmdExit, 2, 0, 1, 2);

    frmExport =
        named(new QGroupBox(QStringLiteral("Export"), this), "frmExport", QStringLiteral("Export"));
    auto* fe = new QHBoxLayout(frmExport);
    cmdExportCal = NamedButton(QStringLiteral("ArgyllCMS .cal"), frmExport, "cmdExportCal");
    cmdExportCube = NamedButton(QStringLiteral("1D LUT .cube"), frmExport, "cmdExportCube");
    fe->addWidget(cmdExportCal);
    fe->addWidget(cmdExportCube);

    auto* lower = new QHBoxLayout;
    lower->addWidget(Frame2, 2);
    auto* side = new QVBoxLayout;
    side->addWidget(Frame3);
    side->addWidget(frmExport);
    side->addStretch(1);
    lower->addLayout(side, 1);
    right->addLayout(lower);
    root->addLayout(right, 3);

    // The name entry floats over the middle of the window, outside the layouts.
    frmGIN = named(new QGroupBox(QStringLiteral("Enter a Name for The Gamma Data"), this), "frmGIN",
                   QStringLiteral("Enter a Name for The Gamma Data"));
    frmGIN->setAutoFillBackground(true);
    auto* fg = new QGridLayout(frmGIN);
    txtGIN =
        named(new QLineEdit(frmGIN), "txtGIN", QStringLiteral("Enter a Name for The Gamma Data"));
    cmdDir = NamedButton(QStringLiteral("Accept"), frmGIN, "cmdDir");
    cmdCancel = NamedButton(QStringLiteral("Cancel"), frmGIN, "cmdCancel");
    fg->addWidget(txtGIN, 0, 0, 1, 2);
    fg->addWidget(cmdDir, 1, 0);
    fg->addWidget(cmdCancel, 1, 1);
    frmGIN->resize(320, 100);
    frmGIN->hide();
}

void GMA::connectHandlers() {
    auto on = [this](auto* sender, auto signal, void (GMA::*handler)()) {
        connect(sender, signal, this,
                [this, handler] { Handle([this, handler] { (this->*handler)(); }); });
    };
    on(cmdCompute, &QPushButton::clicked, &GMA::cmdCompute_Click);
    on(cmdLoad, &QPushButton::clicked, &GMA::cmdLoad_Click);
    on(cmdNew, &QPushButton::clicked, &GMA::cmdNew_Click);
    on(cmdOpen, &QPushButton::clicked, &GMA::cmdOpen_Click);
    on(cmdSave, &QPushButton::clicked, &GMA::cmdSave_Click);
    on(cmdSaveAs, &QPushButton::clicked, &GMA::cmdSaveAs_Click);
    on(cmdBrowse, &QPushButton::clicked, &GMA::cmdBrowse_Click);
    on(cmdExit, &QPushButton::clicked, &GMA::cmdExit_Click);
    on(cmdDir, &QPushButton::clicked, &GMA::cmdDir_Click);
    on(cmdCancel, &QPushButton::clicked, &GMA::cmdCancel_Click);
    on(cmdExportCal, &QPushButton::clicked, &GMA::cmdExportCal_Click);
    on(cmdExportCube, &QPushButton::clicked, &GMA::cmdExportCube_Click);
    OnClick(chkDSPRef, [this] { chkDSPRef_Click(); });
    on(txtSG, &QLineEdit::textChanged, &GMA::txtSG_Change);
    on(txtGamma, &QLineEdit::returnPressed, &GMA::cmdCompute_Click);
    on(txtGIN, &QLineEdit::returnPressed, &GMA::cmdDir_Click);
    on(txtHiLite, &QLineEdit::returnPressed, &GMA::txtHiLite_Close);
    on(txtHiLite, &HiLiteBox::LostFocus, &GMA::txtHiLite_Close);
    OnClick(chkAllColors, [this] {
        if (!MSC1->isHidden())
            BuildGraph(FG1->currentIndex().column());
    });
    connect(FG1, &QTableView::doubleClicked, this,
            [this](const QModelIndex& cell) { Handle([this, cell] { FG1_DblClick(cell); }); });
    connect(FG1, &QTableView::clicked, this,
            [this](const QModelIndex& cell) { MouseRow = cell.row(); });
    connect(FG1->horizontalHeader(), &QHeaderView::sectionClicked, this,
            [this](int column) { Handle([this, column] { FG1_HeadClick(column); }); });
}

qint16 GMA::ColorOption() const {
    for (int i = 0; i < 4; ++i)
        if (OptColor[size_t(i)]->isChecked())
            return qint16(i);
    return 0;
}

void GMA::InitFG1() {
    Grid().Clear();
    // Four equal columns across the grid, whatever its width.
    FG1->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    const char* const heads[] = {"Address", "Red", "Green", "Blue"};
    for (int c = 0; c < GammaGrid::kCols; ++c)
        Grid().SetText(0, c, QString::fromLatin1(heads[c]));
    for (int row = 1; row < GammaGrid::kRows; ++row)
        Grid().SetText(row, 0, core::FormatCode(row - 1));
}

void GMA::placeFrmGIN() {
    frmGIN->move((width() - frmGIN->width()) / 2, (height() - frmGIN->height()) / 2);
}

void GMA::resizeEvent(QResizeEvent* e) {
    QWidget::resizeEvent(e);
    placeFrmGIN();
}

void GMA::closeEvent(QCloseEvent* e) {
    // The window is never destroyed: it hides, or the program ends.
    e->ignore();
    Handle([this] {
        bool cancel = false;
        QueryUnload(cancel);
        if (!cancel)
            hide();
    });
}

} // namespace telvo::ui
