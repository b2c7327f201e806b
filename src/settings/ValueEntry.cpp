#include "settings/ValueEntry.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/settings/ValueEntry.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/dialogs/Platform.h"
#include "settings/Panels.h"
#include "settings/SCL.h"

namespace telvo::ui {

namespace {

const core::CommandRec& selected() {
    return Config().Commands.at(G().settings.SelectedCmd);
}

// Places a chooser at the pointer: downward from the top panel, upward from the lower two, kept
// inside the window so it can always be reached.
void placeChooser(QWidget* chooser, QWidget* label, int x, int y, const QString& panel) {
    SCL& s = scl();
    chooser->adjustSize();
    QPoint at = label->mapTo(&s, QPoint(x, y));
    if (!core::SameText(panel, QStringLiteral("top")))
        at.ry() -= chooser->height();
    at.setX(qBound(0, at.x(), qMax(0, s.width() - chooser->width())));
    at.setY(qBound(0, at.y(), qMax(0, s.height() - chooser->height())));
    chooser->move(at);
    chooser->raise();
}

// Rows shown for the design's list height (240 twips a row).
void sizeList(SCL& s) {
    const int n = s.lstSelect->count();
    s.lstSelectTwips = core::SelectListHeight(n);
    const int rows = s.lstSelectTwips / 240;
    const int row = qMax(s.lstSelect->sizeHintForRow(0), s.fontMetrics().height() + 4);
    s.lstSelect->setFixedHeight(rows * row + 2 * s.lstSelect->frameWidth());
    // The frame is the list and 300 twips (its caption above, a margin below), or what the
    // style's caption and frame take where that is more: the list is never cut.
    const QMargins frame = s.frmSelect->contentsMargins();
    const QMargins inner = s.frmSelect->layout()->contentsMargins();
    const int chrome = frame.top() + frame.bottom() + inner.top() + inner.bottom();
    s.frmSelect->setFixedHeight(s.lstSelect->height() +
                                qMax(qRound(300.0 * s.logicalDpiY() / 1440.0), chrome));
}

} // namespace

void OpenSetting(QWidget* label, int index, int x, int y, const QString& panel) {
    SCL& s = scl();
    SettingsGlobals& g = G().settings;
    const int record = ControlMapAt(index);
    if (record <= 0 || record >= Config().Commands.size())
        return;
    const core::CommandRec& rec = Config().Commands.at(record);
    if (rec.ReadOnly) {
        platform::Beep();
        return;
    }
    g.SelectedCmd = qint16(record);
    g.SelectedLabel = label;
    const core::ChooserPlan plan = core::PlanChooser(rec);
    if (rec.IsList) {
        s.lstSelect->clear();
        for (int r = 1; r < rec.Values.size(); ++r)
            s.lstSelect->addItem(rec.Values.at(r).Text);
    }
    if (!plan.prompt.isEmpty())
        s.lblEnter->setText(plan.prompt);
    if (plan.integerContext)
        g.ValueContext = QStringLiteral("Integer");
    if (plan.mode == QLatin1String("Enter")) {
        placeChooser(s.frmEnter, label, x, y, panel);
        s.frmEnter->show();
        s.frmSelect->hide();
        s.txtValEnter->setFocus();
        return;
    }
    // A list, or a record of no kind: the list then keeps what it held.
    sizeList(s);
    placeChooser(s.frmSelect, label, x, y, panel);
    s.frmSelect->show();
    s.frmEnter->hide();
    s.lstSelect->setFocus();
}

void txtValEnter_KeyPress(int keyAscii) {
    if (keyAscii != 13)
        return;
    SCL& s = scl();
    QString text = s.txtValEnter->text();
    if (text.isEmpty())
        return;
    const core::CommandRec& rec = selected();
    if (rec.IsRange && rec.Decimals > 0) {
        text = core::PadToDecimals(text, rec.Decimals);
        s.txtValEnter->setText(text);
    }
    // No check against the range: the device is the judge.
    SetDevice(rec.Cmd, text);
    QueryDevice(rec.Cmd);
    ShowValueOf(G().settings.SelectedCmd);
    s.frmEnter->hide();
}

void lstSelect_Click() {
    SCL& s = scl();
    const int index = s.lstSelect->currentRow();
    if (index == -1)
        return;
    // One selection, one send: a reboot pauses with events running, and the second click of a
    // double-click (and its activation) would otherwise send the choice again.
    static bool acting = false;
    if (acting)
        return;
    acting = true;
    const struct Done {
        ~Done() { acting = false; }
    } done;
    const core::CommandRec& rec = selected();
    if (index + 1 >= rec.Values.size()) {
        s.frmSelect->hide();
        return;
    }
    const QString v = QString::number(rec.Values.at(index + 1).Value);
    if (rec.Action.isEmpty()) {
        SetDevice(rec.Cmd, v);
        QueryDevice(rec.Cmd);
        ShowValueOf(G().settings.SelectedCmd);
        s.frmSelect->hide();
    } else if (rec.Action == QLatin1String("1") || rec.Action == QLatin1String("2")) {
        // A reboot: wait it out, then find the device again at its original speed.
        SetDevice(rec.Cmd, v);
        ShowStatus(QStringLiteral("System is Rebooting, Please wait"));
        SetCaption(s.lblWait, QStringLiteral("WAIT - Rebooting"));
        s.lblWait->show();
        Pause(rec.Action == QLatin1String("1") ? 8000 : 25000);
        SetCaption(s.lblWait, QStringLiteral("WAIT - Processing"));
        s.lblWait->hide();
        const int i = RateIndex(s.txtOrigSpeed->text());
        s.txtCrntSpeed->setText(ProbeRates(s.txtPort->text(), i, i));
        SetState(QStringLiteral("Idle"));
        s.frmSelect->hide();
    } else if (rec.Action == QLatin1String("3")) {
        SetDevice(rec.Cmd, v);
        ShowStatus(QStringLiteral("System is Going to FRK Loader"));
        s.frmSelect->hide();
        SetGordaBaudRate(s.txtxfrspeed->text());
        ldr().show();
    } else {
        s.frmSelect->hide();
    }
}

} // namespace telvo::ui
