// Gen ALL: the walk over the whole command table that writes every pattern to a text listing,
// a Pronto hex list, (through the converter) a Pronto configuration file, or a LIRC remote.
#include "ir/IRG.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "config/IniLoader.h"
#include "core/text/Ansi.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "platform/os/Launch.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFileInfo>
#include <memory>

namespace telvo::ui {

namespace {

const QString kCrLf = QStringLiteral("\r\n");

// The kinds of output, by the file name's ending.
constexpr qint16 kKindText = 0;
constexpr qint16 kKindHex = 1;
constexpr qint16 kKindCcf = 2;
constexpr qint16 kKindLirc = 3;

void writeLine(QFile* f, const QString& text) {
    if (!f)
        return;
    if (f->write(core::ToAnsi(text + kCrLf)) < 0)
        throw core::RuntimeError(75, QStringLiteral("Path/File access error"));
}

std::unique_ptr<QFile> openForOutput(const QString& path) {
    auto f = std::make_unique<QFile>(platform::NativePath(path));
    if (!f->open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw core::RuntimeError(75, QStringLiteral("Path/File access error"));
    return f;
}

QString converterName() {
#ifdef Q_OS_WIN
    return QStringLiteral("hex2ccf.exe");
#else
    return QStringLiteral("hex2ccf");
#endif
}

// Where the walk stands, for a platform that shows it other than by the bar.
void tellWalk(const QProgressBar* bar) {
    platform::Progress p;
    p.kind = platform::Progress::GenAll;
    p.done = bar->value();
    p.total = bar->maximum();
    platform::ProgressMade(p);
}

} // namespace

QString IRG::decimalCode(const QString& cmd) const {
    const std::optional<int> v = core::Hex2IntChecked(cmd);
    if (!v) {
        platform::MessageBox(core::Hex2IntMessage(cmd));
        return QStringLiteral("0");
    }
    return QString::number(*v);
}

bool IRG::walkCancelled() const {
    return Ir().CancelAll;
}

// The walk's yield: events always run (Cancel, Quit); the window is repainted at most every 40 ms.
void IRG::walkYield() {
    if (!m_frame.isValid() || m_frame.elapsed() >= 40) {
        frmIR->setUpdatesEnabled(true);
        platform::DoEventsOnce();
        frmIR->setUpdatesEnabled(false);
        m_frame.start();
        return;
    }
    platform::DoEventsOnce();
}

void IRG::saveIRdata(QFile* file1, QFile* file2, const QString& title, const QString& device,
                     const QString& function, qint16 kind) {
    IrGlobals& g = Ir();
    if (kind == kKindText) {
        writeLine(file1, QStringLiteral("IR Data For Command ") + title);
    } else {
        if (file2) {
            const QString label = device + function;
            const int blanks = 5 - int(label.size());
            if (blanks < 0)
                throw core::RuntimeError(5, QStringLiteral("Invalid procedure call or argument"));
            writeLine(file2, QStringLiteral("Pronto Button # ") +
                                 QStringLiteral("%1").arg(g.ButtonCount, 3, 10, QLatin1Char('0')) +
                                 QStringLiteral(" labeled as ") + label + QString(blanks, u' ') +
                                 QStringLiteral(" is IR Data For Command: ") + title);
        }
        writeLine(file1, QStringLiteral("IR Data For Command ") + title + QStringLiteral("  ") +
                             QStringLiteral("Device Code: ") + device +
                             QStringLiteral(" Function: ") + device + function);
        g.ButtonCount = core::AddInt(g.ButtonCount, 1);
    }
    writeLine(file1, txtOutput->toPlainText());
}

void IRG::walkValues(int row, QFile* f1, QFile* f2, qint16 kind) {
    const core::CommandRec r = Config().Commands.at(row);
    setOptionByKind(r.Kind);
    G().settings.ValueContext = QStringLiteral("Value");
    for (qsizetype i = 1; i < r.Values.size(); ++i) {
        txtValue->setText(QString::number(r.Values.at(i).Value));
        txtOutput->clear();
        walkYield();
        if (walkCancelled())
            return;
        ProduceIR();
        const QString dec = decimalCode(r.Cmd);
        const QString digits = txtValue->text();
        QString title = r.Name + QStringLiteral(" = ") + r.Values.at(i).Text;
        if (kind == kKindText)
            title += QStringLiteral("  (0x") + r.Cmd + u'/' + dec + QStringLiteral("  '") + digits +
                     QStringLiteral("'/") + EditValue(digits) + u')';
        lblError->setText(title);
        if (kind == kKindLirc)
            addLircButton(core::ir::LircButtonName(r.Name, r.Values.at(i).Text));
        else
            saveIRdata(f1, f2, lblError->text(), dec, digits, kind);
    }
}

// Every remote key in Remote mode, as a click on its row: each goes into the LIRC remote.
void IRG::walkRemoteKeys() {
    if (optRemote->isChecked())
        optRemote_Click();
    else
        optRemote->setChecked(true);
    const auto& keys = Config().RemoteCodes;
    for (qsizetype i = 1; i < keys.size(); ++i) {
        walkYield();
        if (walkCancelled())
            return;
        {
            const QSignalBlocker block(lstRemote);
            lstRemote->setCurrentRow(int(i - 1));
        }
        lblError->setText(keys.at(i).first);
        lstRemote_Click();
        addLircButton(keys.at(i).first);
        prgGenAll->setValue(prgGenAll->value() + 1);
        tellWalk(prgGenAll);
    }
}

void IRG::addLircButton(const QString& name) {
    const std::optional<core::ir::RawCode> code =
        core::ir::ProntoDurations(txtOutput->toPlainText());
    if (!code)
        return; // nothing was generated: no button
    m_lirc.add(name, *code);
    Ir().ButtonCount = core::AddInt(Ir().ButtonCount, 1);
}

QStringList IRG::LircHeader() const {
    const SCL& s = scl();
    const QString model = s.DeviceModel->text();
    const QString firmware = s.txtFirmware->text();
    QString device = QStringLiteral("IR codes of the Vorix ") +
                     (model.isEmpty() ? QStringLiteral("????") : model);
    if (!firmware.isEmpty())
        device += QStringLiteral(", firmware ") + firmware;
    return {device + QStringLiteral(", made by the Telvo Utility"),
            QStringLiteral("from ") +
                QDir::toNativeSeparators(
                    QFileInfo(platform::NativePath(IniFilePath())).absoluteFilePath()),
            QStringLiteral("Send a button with: irsend SEND_ONCE ") +
                QLatin1String(core::ir::kLircRemoteName) + QStringLiteral(" BUTTON")};
}

QString IRG::ShownMode2() const {
    const std::optional<core::ir::RawCode> code =
        core::ir::ProntoDurations(txtOutput->toPlainText());
    return code ? core::ir::Mode2Text(*code) : QString();
}

QString IRG::ShownLircRemote(const QString& button) const {
    const std::optional<core::ir::RawCode> code =
        core::ir::ProntoDurations(txtOutput->toPlainText());
    if (!code)
        return QString();
    core::ir::LircRemote remote;
    remote.add(button, *code);
    return remote.conf(LircHeader());
}

void IRG::walkPoint(int row, const QString& value, const QString& words, const QString& context,
                    QFile* f1, QFile* f2, qint16 kind) {
    const core::CommandRec r = Config().Commands.at(row);
    txtValue->setText(value);
    G().settings.ValueContext = context;
    SetOption(optVAL, true);
    const QString dec = decimalCode(r.Cmd);
    lblError->setText(r.Name + QStringLiteral("(0x") + r.Cmd + u'/' + dec + words +
                      txtValue->text());
    walkYield();
    if (walkCancelled())
        return;
    ProduceIR();
    saveIRdata(f1, f2, lblError->text(), dec, txtValue->text(), kind);
}

void IRG::cmdGenAll_Click() {
    IrGlobals& g = Ir();
    g.ButtonCount = 0;
    QString name = GetSaveFileName(QString());
    if (name.isEmpty())
        return;
    const QString lower = name.toLower();
    const qint16 kind = lower.endsWith(QLatin1String(".hex"))    ? kKindHex
                        : lower.endsWith(QLatin1String(".ccf"))  ? kKindCcf
                        : lower.endsWith(QLatin1String(".conf")) ? kKindLirc
                                                                 : kKindText;
    QString ccfName;
    std::unique_ptr<QFile> file1, file2;
    if (kind == kKindCcf) {
        ccfName = name;
        name = platform::JobFile(QStringLiteral("Temp$$.hex"));
        file2 = openForOutput(ccfName.left(ccfName.size() - 4) + QStringLiteral(".txt"));
    }
    file1 = openForOutput(name);

    lblError->setText(QString());
    lblError->show();
    const core::CommandTable& commands = Config().Commands;
    const int rows = int(core::TableRows(commands));
    // A LIRC remote holds the remote keys too: they come first, so that a command's value
    // whose name matches a key's is the one numbered.
    const int keys = kind == kKindLirc ? int(core::TableRows(Config().RemoteCodes)) : 0;
    g.CancelAll = false;
    m_lirc = core::ir::LircRemote();
    prgGenAll->setRange(0, rows + keys);
    prgGenAll->setValue(0);
    prgGenAll->show();
    tellWalk(prgGenAll);
    cmdCancelAll->show();
    cmdGenAll->setEnabled(false);
    // The walk touches every control once per pattern; the screen shows that state at a frame
    // rate (walkYield), since painting each of thousands of patterns costs far more than making
    // them and nobody can read faster than the screen refreshes.
    frmIR->setUpdatesEnabled(false);
    m_frame.invalidate();
    // A label of fixed size changes its text without laying the whole window out again. Its
    // size is the row's, as txtOutput above it has it: the label itself, hidden until now, has
    // never been laid out.
    const QSize errorMin = lblError->minimumSize(), errorMax = lblError->maximumSize();
    lblError->setFixedSize(txtOutput->width(), lblError->sizeHint().height());
    struct Restore {
        IRG* w;
        QSize min, max;
        ~Restore() {
            w->lblError->setMinimumSize(min);
            w->lblError->setMaximumSize(max);
            w->prgGenAll->hide();
            platform::ProgressEnded(platform::Progress::GenAll);
            w->cmdCancelAll->hide();
            w->cmdGenAll->setEnabled(true);
            w->frmIR->setUpdatesEnabled(true);
        }
    } restore{this, errorMin, errorMax};

    if (kind == kKindLirc)
        walkRemoteKeys();
    // Selecting Discrete runs its Click, which clears the window; when it is set already
    // nothing changes value, so the Click is run here.
    if (optDiscrete->isChecked())
        optDiscrete_Click();
    else
        optDiscrete->setChecked(true);
    for (int row = 1; row <= rows && !walkCancelled(); ++row) {
        const core::CommandRec& r = Config().Commands.at(row);
        // A LIRC remote is what the IR window lists: a command kept out of IR ("Enter Loader")
        // gets no button that a media centre could press.
        if (kind == kKindLirc && r.NotInIR) {
            prgGenAll->setValue(keys + row);
            tellWalk(prgGenAll);
            continue;
        }
        cmdGen->setEnabled(false);
        txtValue->clear();
        txtFChex->setText(r.Cmd);
        txtFCdec->setText(QString::number(core::HexToLong(txtFChex->text())));
        txtOutput->clear();
        if (r.IsList || r.IsByte) {
            walkValues(row, file1.get(), file2.get(), kind);
        } else if (r.IsRange && kind == kKindText) {
            const QString min = r.MinText;
            const QString max = r.MaxText;
            const double mid = (core::Val(max) + core::Val(min)) / 2;
            const QString middle =
                min.contains(u'.') ? core::CStr(mid) : QString::number(core::CInt(mid));
            const QString range = QStringLiteral("Range");
            walkPoint(row, min, QStringLiteral(") Minimum of Range="), range, file1.get(),
                      file2.get(), kind);
            if (!walkCancelled())
                walkPoint(row, middle, QStringLiteral(") Middle of Range="), range, file1.get(),
                          file2.get(), kind);
            if (!walkCancelled())
                walkPoint(row, max, QStringLiteral(") Maximum of Range="), range, file1.get(),
                          file2.get(), kind);
        } else if (r.IsInteger && kind == kKindText) {
            static const std::pair<const char*, const char*> kPoints[] = {
                {"1", "), Integer Value="},
                {"10", "), Interger Value ="},
                {"100", "), Interger Value="},
                {"1000", "), Interger Value="},
            };
            for (const auto& [value, words] : kPoints) {
                if (walkCancelled())
                    break;
                walkPoint(row, QString::fromLatin1(value), QString::fromLatin1(words),
                          QStringLiteral("Integer"), file1.get(), file2.get(), kind);
            }
        }
        prgGenAll->setValue(keys + row);
        tellWalk(prgGenAll);
    }
    if (kind == kKindLirc && !walkCancelled() &&
        file1->write(m_lirc.conf(LircHeader()).toUtf8()) < 0)
        throw core::RuntimeError(75, QStringLiteral("Path/File access error"));
    m_lirc = core::ir::LircRemote();
    file1->close();
    if (file2)
        file2->close();
    lblError->setText(QString());
    lblError->hide();
    txtOutput->clear();
    if (walkCancelled()) {
        // An unfinished listing is no listing: it goes, and the user is told.
        file1->remove();
        if (file2)
            file2->remove();
        platform::MessageBox(QStringLiteral("Gen ALL was cancelled; no file was written."));
        return;
    }
    if (kind == kKindCcf) {
        const QString exe = platform::AppPath() + u'/' + converterName();
        if (!core::FileExists(platform::NativePath(exe))) {
            platform::MessageBox(QStringLiteral("file '") +
                                 QDir::toNativeSeparators(platform::NativePath(exe)) +
                                 QStringLiteral("' does not exist"));
        } else if (!platform::LaunchApp(exe, {QStringLiteral("Temp$$.hex"), ccfName},
                                        platform::AppPath())) {
            platform::MessageBox(QStringLiteral("The converter '") + exe +
                                 QStringLiteral("' could not be started"));
        }
    }
}

} // namespace telvo::ui
