#include "ir/IRG.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/text/Ansi.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "platform/os/Launch.h"
#include "settings/SCL.h"

#include <QCloseEvent>
#include <QDir>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <memory>

namespace telvo::ui {

using core::ir::FormAbsolute;
using core::ir::FormRelative;
using core::ir::FormRemote;
using core::ir::FormValue;

namespace {

const QString kIllegalCode =
    QStringLiteral("Illegal function code. The function code exceeds 255 decimal");

QString decimalText(qint64 v) {
    return QString::number(v);
}

// The classic Hex: upper-case digits, no padding.
QString ToHex(qint64 v) {
    return core::HexField(v, 0).toUpper();
}

} // namespace

IrGlobals& Ir() {
    static IrGlobals* g = new IrGlobals;
    return *g;
}

IRG::IRG() {
    setObjectName(QStringLiteral("IRG"));
    setWindowTitle(QStringLiteral("IR Support"));
    auto* root = new QVBoxLayout(this);
    frmIR = new QGroupBox(QStringLiteral("IR Data "), this);
    frmIR->setObjectName(QStringLiteral("frmIR"));
    root->addWidget(frmIR);
    auto* grid = new QGridLayout(frmIR);

    auto named = [](QWidget* w, const char* name, const QString& spoken) {
        w->setObjectName(QString::fromLatin1(name));
        w->setAccessibleName(spoken);
    };
    auto label = [this](const QString& text, const char* name) {
        auto* l = new QLabel(text, frmIR);
        l->setObjectName(QString::fromLatin1(name));
        l->setAccessibleName(text.trimmed());
        return l;
    };

    // An option button spoken by its caption.
    auto option = [&named](const QString& caption, const char* name, QWidget* parent) {
        auto* b = new QRadioButton(caption, parent);
        named(b, name, caption.trimmed());
        return b;
    };

    // Modes and the leader.
    optDiscrete = option(QStringLiteral("Discrete"), "optDiscrete", frmIR);
    optRemote = option(QStringLiteral("Remote "), "optRemote", frmIR);
    optManual = option(QStringLiteral("Manual"), "optManual", frmIR);
    chkAbsolute = new QCheckBox(QStringLiteral("Absolute"), frmIR);
    named(chkAbsolute, "chkAbsolute", QStringLiteral("Absolute"));
    auto* modes = new QButtonGroup(this);
    for (QRadioButton* b : {optDiscrete, optRemote, optManual})
        modes->addButton(b);
    auto* modeRow = new QHBoxLayout;
    for (QWidget* w :
         std::initializer_list<QWidget*>{optDiscrete, optRemote, optManual, chkAbsolute})
        modeRow->addWidget(w);
    modeRow->addStretch(1);
    grid->addLayout(modeRow, 0, 0, 1, 3);

    // The three lists.
    lstCmnds = new QListWidget(frmIR);
    lstValues = new QListWidget(frmIR);
    lstRemote = new QListWidget(frmIR);
    named(lstCmnds, "lstCmnds", QStringLiteral("Device commands"));
    named(lstValues, "lstValues", QStringLiteral("Values"));
    named(lstRemote, "lstRemote", QStringLiteral("Remote keys"));
    for (QListWidget* l : {lstCmnds, lstValues, lstRemote})
        l->setMinimumSize(180, 200);
    grid->addWidget(lstCmnds, 1, 0);
    grid->addWidget(lstValues, 1, 1);
    grid->addWidget(lstRemote, 1, 2);
    // The value prompt lies over the lists, not in a row of its own: over lstValues after a
    // command's click, over the whole list area in Manual mode (placeValuesLabel).
    lblvalues = label(QString(), "lblvalues");
    lblvalues->setWordWrap(true);
    lblvalues->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    lblvalues->setAutoFillBackground(true);
    lblvalues->hide();
    for (QListWidget* l : {lstCmnds, lstValues, lstRemote})
        l->installEventFilter(this);

    // Function code and value.
    auto* codes = new QGridLayout;
    Label13 = label(QStringLiteral("Function"), "Label13");
    Label3 = label(QStringLiteral("  hex"), "Label3");
    Label12 = label(QStringLiteral("  dec"), "Label12");
    Label6 = label(QStringLiteral("Value"), "Label6");
    txtFChex = new QLineEdit(frmIR);
    txtFCdec = new QLineEdit(frmIR);
    txtValue = new QLineEdit(frmIR);
    named(txtFChex, "txtFChex", QStringLiteral("Function hex"));
    named(txtFCdec, "txtFCdec", QStringLiteral("Function dec"));
    named(txtValue, "txtValue", QStringLiteral("Value"));
    Label3->setBuddy(txtFChex);
    Label12->setBuddy(txtFCdec);
    Label6->setBuddy(txtValue);
    codes->addWidget(Label13, 0, 0, 1, 2);
    codes->addWidget(txtFChex, 1, 0);
    codes->addWidget(Label3, 1, 1);
    codes->addWidget(txtFCdec, 2, 0);
    codes->addWidget(Label12, 2, 1);
    codes->addWidget(Label6, 0, 2);
    codes->addWidget(txtValue, 1, 2);

    Frame3 = new QGroupBox(frmIR);
    Frame3->setObjectName(QStringLiteral("Frame3"));
    Frame3->setAccessibleName(QStringLiteral("Value kind"));
    auto* opts = new QHBoxLayout(Frame3);
    optVAL = option(QStringLiteral("value"), "optVAL", Frame3);
    optAscii = option(QStringLiteral("ascii"), "optAscii", Frame3);
    optHex = option(QStringLiteral("hex"), "optHex", Frame3);
    optDec = option(QStringLiteral("dec"), "optDec", Frame3);
    auto* values = new QButtonGroup(this);
    for (QRadioButton* b : {optVAL, optAscii, optHex, optDec}) {
        values->addButton(b);
        opts->addWidget(b);
    }
    codes->addWidget(Frame3, 2, 2);
    grid->addLayout(codes, 3, 0, 1, 3);

    Label6->setMinimumWidth(40);
    txtOutput = new QPlainTextEdit(frmIR);
    named(txtOutput, "txtOutput", QStringLiteral("IR Hex output"));
    txtOutput->setFont(QFont(QStringLiteral("Courier New"), 9));
    txtOutput->setMinimumHeight(110);
    grid->addWidget(txtOutput, 4, 0, 1, 3);

    lblError = label(QStringLiteral("Value Error"), "lblError");
    lblError->setStyleSheet(QStringLiteral("color: red"));
    lblError->hide();
    grid->addWidget(lblError, 5, 0, 1, 3);
    prgGenAll = new QProgressBar(frmIR);
    named(prgGenAll, "prgGenAll", QStringLiteral("Gen ALL progress"));
    prgGenAll->setFormat(QStringLiteral("%v of %m commands"));
    prgGenAll->hide();
    cmdCancelAll = new QPushButton(QStringLiteral("Cancel"), frmIR);
    named(cmdCancelAll, "cmdCancelAll", QStringLiteral("Cancel"));
    cmdCancelAll->hide();
    auto* progress = new QHBoxLayout;
    progress->addWidget(prgGenAll, 1);
    progress->addWidget(cmdCancelAll);
    grid->addLayout(progress, 6, 0, 1, 3);

    lblModel = label(QStringLiteral("Model = ????"), "lblModel");
    lblFirmware = label(QStringLiteral("Firmware= ???"), "lblFirmware");
    lblOptions = label(QStringLiteral("Installed Options= ????"), "lblOptions");
    auto* info = new QHBoxLayout;
    info->addWidget(lblModel);
    info->addWidget(lblFirmware);
    info->addWidget(lblOptions, 1);
    grid->addLayout(info, 7, 0, 1, 3);

    Line1 = new QFrame(frmIR);
    Line1->setObjectName(QStringLiteral("Line1"));
    Line1->setFrameShape(QFrame::HLine);
    grid->addWidget(Line1, 8, 0, 1, 3);

    cmdGen = new QPushButton(QStringLiteral("IR Gen"), frmIR);
    cmdGenAll = new QPushButton(QStringLiteral("Gen ALL"), frmIR);
    quit = new QPushButton(QStringLiteral("Done"), frmIR);
    named(cmdGen, "cmdGen", QStringLiteral("IR Gen"));
    named(cmdGenAll, "cmdGenAll", QStringLiteral("Gen ALL"));
    named(quit, "quit", QStringLiteral("Done"));
    // Beside Gen ALL, in the room the row leaves before Done: no control of the design moves.
    cmdSaveAs = new QPushButton(QStringLiteral("Save As..."), frmIR);
    named(cmdSaveAs, "cmdSaveAs", QStringLiteral("Save As"));
    cmdSaveAs->setEnabled(false);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdGen);
    buttons->addWidget(cmdGenAll);
    buttons->addWidget(cmdSaveAs);
    buttons->addStretch(1);
    buttons->addWidget(quit);
    grid->addLayout(buttons, 9, 0, 1, 3);
    for (QPushButton* b : {cmdGen, cmdGenAll, cmdSaveAs, quit, cmdCancelAll})
        b->setAutoDefault(false);

    auto on = [this](auto* sender, auto signal, void (IRG::*handler)()) {
        connect(sender, signal, this,
                [this, handler] { Handle([this, handler] { (this->*handler)(); }); });
    };
    OnClick(optDiscrete, [this] { optDiscrete_Click(); });
    OnClick(optRemote, [this] { optRemote_Click(); });
    OnClick(optManual, [this] { optManual_Click(); });
    // A list's Click is a choice of row. Tabbing into a list makes its first row current
    // without selecting it: no choice, nothing runs until the row is selected (a click, a move
    // of the arrow keys, or Space on that row).
    auto onList = [this](QListWidget* list, void (IRG::*handler)()) {
        auto acted = std::make_shared<int>(-1);
        auto act = [this, list, handler, acted](bool rowChanged) {
            const int row = list->currentRow();
            const bool chosen = row >= 0 && list->item(row)->isSelected();
            if (row >= 0 && !chosen)
                return;
            if (!rowChanged && (row < 0 || row == *acted))
                return;
            *acted = row;
            Handle([this, handler] { (this->*handler)(); });
        };
        connect(list, &QListWidget::currentRowChanged, this, [act] { act(true); });
        connect(list, &QListWidget::itemSelectionChanged, this, [act] { act(false); });
    };
    onList(lstCmnds, &IRG::lstCmnds_Click);
    onList(lstValues, &IRG::lstValues_Click);
    onList(lstRemote, &IRG::lstRemote_Click);
    on(cmdGen, &QPushButton::clicked, &IRG::cmdGen_Click);
    on(txtValue, &QLineEdit::returnPressed, &IRG::cmdGen_Click);
    on(txtFCdec, &QLineEdit::textChanged, &IRG::txtFCdec_Change);
    on(txtFCdec, &QLineEdit::editingFinished, &IRG::txtFCdec_Commit);
    on(txtFChex, &QLineEdit::textChanged, &IRG::txtFChex_Change);
    on(txtFChex, &QLineEdit::editingFinished, &IRG::txtFChex_Commit);
    on(quit, &QPushButton::clicked, &IRG::quit_Click);
    on(cmdGenAll, &QPushButton::clicked, &IRG::cmdGenAll_Click);
    on(cmdSaveAs, &QPushButton::clicked, &IRG::cmdSaveAs_Click);
    connect(txtOutput, &QPlainTextEdit::textChanged, this, [this] {
        cmdSaveAs->setEnabled(cmdGenAll->isEnabled() && !txtOutput->toPlainText().isEmpty());
    });
    connect(cmdCancelAll, &QPushButton::clicked, this, [] { Ir().CancelAll = true; });

    Form_Load();
}

// Children going away emit (focus, selection); none of that may reach a window being destroyed.
IRG::~IRG() {
    for (QObject* child : findChildren<QObject*>())
        child->blockSignals(true);
}

void IRG::Form_Load() {
    // As the window is designed: Discrete mode, Absolute checked.
    optDiscrete->setChecked(true);
    chkAbsolute->setChecked(true);
    core::ir::IRState& s = Ir().ir;
    s.Message = [](const QString& text) { platform::MessageBox(text); };
    s.Yield = [] { platform::DoEventsOnce(); };
    // The lists first, then the language's tables.
    const core::ConfigTables& c = Config();
    QSignalBlocker b1(lstCmnds), b2(lstRemote);
    lstCmnds->clear();
    for (qsizetype i = 1; i < c.Commands.size(); ++i)
        if (!c.Commands.at(i).NotInIR)
            lstCmnds->addItem(c.Commands.at(i).Name);
    lstRemote->clear();
    for (qsizetype i = 1; i < c.RemoteCodes.size(); ++i)
        lstRemote->addItem(c.RemoteCodes.at(i).first);
    lstCmnds->setCurrentRow(-1);
    lstRemote->setCurrentRow(-1);
    core::ir::InitIR(s);
    lstRemote->setEnabled(false);
    lstValues->setEnabled(false);
    cmdGen->setEnabled(false);
    placeValuesLabel(lstValues, lstValues);
    CenterForm(this);
}

void IRG::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    Handle([this] { Form_Activate(); });
}

void IRG::closeEvent(QCloseEvent* e) {
    // With "Quit" the window is the whole run: closing it ends the program.
    if (quit->text() != QLatin1String("Done"))
        Handle([this] { quit_Click(); });
    e->accept();
}

void IRG::Form_Activate() {
    const SCL& s = scl();
    const QString model = s.DeviceModel->text();
    const QString firmware = s.txtFirmware->text();
    const QString options = Config().Options;
    lblModel->setText(model.isEmpty() ? QStringLiteral("Model=????")
                                      : QStringLiteral("Model=") + model);
    lblFirmware->setText(firmware.isEmpty() ? QStringLiteral("Firmware=???")
                                            : QStringLiteral("Firmware=") + firmware);
    lblOptions->setText(options.isEmpty() ? QStringLiteral("Installed Options=None")
                                          : QStringLiteral("Installed Options=") + options);
}

void IRG::SetOption(QRadioButton* b, bool on) {
    QButtonGroup* g = b->group();
    if (on || !g) {
        b->setChecked(on);
        return;
    }
    g->setExclusive(false);
    b->setChecked(false);
    g->setExclusive(true);
}

QString IRG::EditValue(const QString& text) {
    QStringList codes;
    for (const QChar c : text)
        codes << QString::number(core::AnsiCode(c));
    return codes.join(u',');
}

int IRG::FindCommand(const QString& name) const {
    return core::FindCommandByName(Config().Commands, name);
}

bool IRG::IsValueAllowed(const QString& value) const {
    QListWidgetItem* item = lstCmnds->currentItem();
    const int row = FindCommand(item && lstCmnds->currentRow() >= 0 ? item->text() : QString());
    const core::CommandTable& t = Config().Commands;
    if (row < 0 || row >= t.size())
        return false;
    const core::CommandRec& r = t.at(row);
    if (r.IsRange)
        return core::Val(r.MinText) <= core::Val(value) && core::Val(r.MaxText) >= core::Val(value);
    if (r.IsInteger)
        return !value.contains(u'+') && !value.contains(u'.') && !value.contains(u'-') &&
               core::ir::IsNumeric(value);
    return r.IsByte || r.IsList;
}

void IRG::ShowValueError() {
    lblError->setText(QStringLiteral("Value Error"));
    lblError->show();
    cmdGen->setEnabled(false);
    BeepTimes(2);
    Pause(1000);
    lblError->hide();
    txtValue->clear();
    txtOutput->clear();
    txtValue->setFocus();
    cmdGen->setEnabled(true);
}

QString IRG::GetSaveFileName(const QString& folder) {
    // The dialog of the design: its title, its filter with the text kind first, and the
    // program's folder (with "*.txt") unless a folder is given.
    const QString title = QStringLiteral("Select File name to save IR Data");
    // A LIRC remote (.conf) is offered after the three kinds of the design.
    const QString classic =
        QStringLiteral("Text (*.txt)|*.txt|Pronto HEX (*.hex)|*.hex|Pronto CCF (*.ccf)|*.ccf") +
        QStringLiteral("|LIRC remote (*.conf)|*.conf");
    const QString start = folder.isEmpty() ? platform::AppPath() + QStringLiteral("/*.txt")
                                           : folder + QStringLiteral("*.txt");
    return platform::SaveFileDialog(title, platform::NativePath(start),
                                    core::DialogFilter(classic));
}

void IRG::GenerateIR(const QString& form) {
    core::ir::IRInputs in;
    in.FChex = txtFChex->text();
    in.FCdec = txtFCdec->text();
    in.Value = txtValue->text();
    if (in.FChex.isEmpty() || in.FCdec.isEmpty() || in.Value.isEmpty()) {
        ShowAlert(core::ir::kMissingValue);
        return;
    }
    using core::ir::ValueOption;
    in.Option = optAscii->isChecked() ? ValueOption::Ascii
                : optDec->isChecked() ? ValueOption::Dec
                : optHex->isChecked() ? ValueOption::Hex
                : optVAL->isChecked() ? ValueOption::VAL
                                      : ValueOption::None;
    QString out;
    if (core::ir::GenerateIR(Ir().ir, form, in, out))
        txtOutput->setPlainText(out);
}

void IRG::ProduceIR() {
    txtFChex->setText(txtFChex->text().toUpper());
    if (!txtOutput->toPlainText().isEmpty()) {
        txtOutput->clear();
        Pause(100); // the box is seen to blank
    }
    if (optDiscrete->isChecked() ||
        (optManual->isChecked() && txtFCdec->text() != QString::number(core::ir::kRemoteCode))) {
        if (chkAbsolute->isChecked())
            GenerateIR(optVAL->isChecked() ? FormValue : FormAbsolute);
        else
            GenerateIR(FormRelative);
    } else {
        GenerateIR(FormRemote);
    }
}

// ------------------------------------------------------------------ events

void IRG::optDiscrete_Click() {
    lstRemote->setEnabled(false);
    lstValues->setEnabled(false);
    lstCmnds->setEnabled(true);
    Ir().EntryMode = true;
    lstCmnds->setCurrentRow(-1);
    Ir().EntryMode = false;
    txtOutput->clear();
    txtFChex->clear();
    txtFCdec->clear();
    txtValue->clear();
    lblvalues->hide();
    cmdGen->setEnabled(false);
    SetOption(optAscii, false);
    SetOption(optDec, false);
    SetOption(optHex, false);
}

void IRG::optRemote_Click() {
    lstRemote->setEnabled(true);
    lstValues->setEnabled(false);
    lstCmnds->setEnabled(false);
    Ir().EntryMode = true;
    lstRemote->setCurrentRow(-1);
    Ir().EntryMode = false;
    txtOutput->clear();
    txtFCdec->setText(QString::number(core::ir::kRemoteCode));
    txtFChex->setText(ToHex(core::ir::kRemoteCode));
    txtValue->clear();
    lblvalues->hide();
    SetOption(optDec, true);
    cmdGen->setEnabled(false);
}

void IRG::optManual_Click() {
    txtOutput->clear();
    lstCmnds->setEnabled(false);
    lstValues->setEnabled(false);
    lstRemote->setEnabled(false);
    lblvalues->setText(
        QStringLiteral("Enter either a decinal or hex number for the function code ") +
        QStringLiteral("(%1 Decimal for Remote). ").arg(core::ir::kRemoteCode) +
        QStringLiteral(" Enter a number or character for the value parameter and set the proper "
                       "option (ascii, hex, decimal) based upon the item entered. ") +
        QStringLiteral(" Click 'IR Gen' to produce the desired IR Hex pattern. "));
    placeValuesLabel(lstCmnds, lstRemote);
    lblvalues->show();
    txtFChex->clear();
    txtFCdec->clear();
    txtValue->clear();
    cmdGen->setEnabled(true);
}

// From the left edge of `from` and the top of `to` over to the far corner of `to`.
void IRG::placeValuesLabel(QWidget* from, QWidget* to) {
    m_valuesFrom = from;
    m_valuesTo = to;
    const QRect a = from->geometry(), b = to->geometry();
    lblvalues->setGeometry(QRect(QPoint(a.left(), b.top()), b.bottomRight()));
    lblvalues->raise();
}

bool IRG::eventFilter(QObject* watched, QEvent* e) {
    // The lists move with the window's layout; the prompt over them follows.
    if ((e->type() == QEvent::Resize || e->type() == QEvent::Move) && m_valuesFrom &&
        (watched == m_valuesFrom || watched == m_valuesTo))
        placeValuesLabel(m_valuesFrom, m_valuesTo);
    return QWidget::eventFilter(watched, e);
}

void IRG::setOptionByKind(const QString& kind) {
    if (kind == u"A")
        SetOption(optAscii, true);
    else if (kind == u"H")
        SetOption(optHex, true);
    else if (kind == u"D")
        SetOption(optDec, true);
    else if (kind == u"V")
        SetOption(optVAL, true);
}

void IRG::lstCmnds_Click() {
    QListWidgetItem* item = lstCmnds->currentItem();
    const int row = FindCommand(item && lstCmnds->currentRow() >= 0 ? item->text() : QString());
    cmdGen->setEnabled(false);
    if (Ir().EntryMode || row <= 0)
        return;
    const core::CommandRec& r = Config().Commands.at(row);
    {
        QSignalBlocker block(lstValues);
        lstValues->clear();
    }
    lstValues->setEnabled(false);
    lblvalues->hide();
    placeValuesLabel(lstValues, lstValues);
    txtValue->clear();
    txtFChex->setText(r.Cmd);
    txtFCdec->setText(decimalText(core::HexToLong(txtFChex->text())));
    txtOutput->clear();
    if (r.IsList || r.IsByte) {
        lstValues->setEnabled(true);
        QSignalBlocker block(lstValues);
        for (qsizetype i = 1; i < r.Values.size(); ++i)
            lstValues->addItem(r.Values.at(i).Text);
        lstValues->setCurrentRow(-1);
        setOptionByKind(r.Kind);
        G().settings.ValueContext = QStringLiteral("Value");
    } else if (r.IsRange) {
        lblvalues->setText(QStringLiteral("Enter a value in the range ") + r.MinText +
                           QStringLiteral(" to ") + r.MaxText);
        lblvalues->show();
        G().settings.ValueContext = QStringLiteral("Range");
        cmdGen->setEnabled(true);
        SetOption(optVAL, true);
    } else if (r.IsInteger) {
        lblvalues->setText(QStringLiteral("Enter an integer value in the range ") + r.RangeText);
        lblvalues->show();
        G().settings.ValueContext = QStringLiteral("Integer");
        cmdGen->setEnabled(true);
        SetOption(optVAL, true);
    } else {
        ProduceIR();
        lblvalues->setText(QStringLiteral("Query Commands are not handled by IR"));
        lblvalues->show();
    }
}

void IRG::lstValues_Click() {
    const int index = lstValues->currentRow();
    if (Ir().EntryMode || index < 0)
        return;
    QListWidgetItem* item = lstCmnds->currentItem();
    const int row = FindCommand(item ? item->text() : QString());
    if (row <= 0)
        return;
    const core::CommandRec& r = Config().Commands.at(row);
    if (r.Values.size() <= index + 1)
        return;
    txtValue->setText(decimalText(r.Values.at(index + 1).Value));
    txtOutput->clear();
    ProduceIR();
}

void IRG::lstRemote_Click() {
    const int index = lstRemote->currentRow();
    if (Ir().EntryMode || index < 0)
        return;
    const auto& codes = Config().RemoteCodes;
    if (codes.size() <= index + 1)
        return;
    txtValue->setText(codes.at(index + 1).second);
    ProduceIR();
}

void IRG::cmdGen_Click() {
    const QString v = txtValue->text();
    if (IsValueAllowed(v)) {
        ProduceIR();
        cmdGen->setEnabled(false);
    } else {
        ShowValueError();
    }
}

void IRG::txtFCdec_Change() {
    if (txtFCdec->text().isEmpty())
        txtFChex->clear();
}

void IRG::txtFCdec_Commit() {
    const double d = core::Val(txtFCdec->text());
    if (!core::ir::IsFunctionCode(d))
        ShowAlert(kIllegalCode);
    else
        txtFChex->setText(ToHex(core::CLng(d)));
}

void IRG::txtFChex_Change() {
    if (txtFChex->text().isEmpty())
        txtFCdec->clear();
}

void IRG::txtFChex_Commit() {
    txtFChex->setText(txtFChex->text().toUpper());
    const qint64 d = core::HexToLong(txtFChex->text());
    txtFCdec->setText(decimalText(d));
    if (!core::ir::IsFunctionCode(double(d)))
        ShowAlert(kIllegalCode);
}

// The code shown, to a file: Pronto hex (.txt, the line as the box shows it) or one press as
// pulse/space lines (.ir).
void IRG::cmdSaveAs_Click() {
    if (txtOutput->toPlainText().isEmpty())
        return;
    const QString name = platform::SaveFileDialog(
        QStringLiteral("Save the IR code shown"),
        platform::NativePath(platform::AppPath() + QStringLiteral("/*.txt")),
        QStringLiteral("Pronto hex (*.txt);;Pulse/space for ir-ctl and LIRC (*.ir)"));
    if (name.isEmpty())
        return;
    const QByteArray bytes = name.endsWith(QLatin1String(".ir"), Qt::CaseInsensitive)
                                 ? ShownMode2().toLatin1()
                                 : core::ToAnsi(txtOutput->toPlainText() + QStringLiteral("\r\n"));
    QFile f(platform::NativePath(name));
    if (bytes.isEmpty() || !f.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        f.write(bytes) != bytes.size())
        platform::MessageBox(QStringLiteral("Could not write '") + QDir::toNativeSeparators(name) +
                             QStringLiteral("'"));
}

void IRG::quit_Click() {
    QFile::remove(platform::JobFile(QStringLiteral("Temp$$.hex")));
    if (quit->text() == QLatin1String("Done")) {
        hide();
        return;
    }
    platform::EndProgram();
}

} // namespace telvo::ui
