// The setting panels: labels built from Commands, refreshed from the device for the state the
// selectors show.
#include "settings/Panels.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/config/CommandRec.h"
#include "core/settings/Panels.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "settings/Layout.h"
#include "settings/SCL.h"
#include "settings/ValueEntry.h"

#include <QScopeGuard>

namespace telvo::ui {

using core::Val;

namespace {

QString replyValue() {
    return core::AnswerValue(Link().Reply);
}

QList<SettingLabel*>& arrayOf(SCL& s, int panel) {
    return panel == 3 ? s.lblSettingBtm : panel == 2 ? s.lblSettingMid : s.lblSettingTop;
}
QGridLayout* gridOf(SCL& s, int panel) {
    return panel == 3 ? s.gridBtm : panel == 2 ? s.gridMid : s.gridTop;
}
const char* panelWord(int panel) {
    return panel == 3 ? "Btm" : panel == 2 ? "Mid" : "top";
}

void setMap(int index, int record) {
    QList<qint16>& map = G().settings.ControlMap;
    if (map.size() <= index)
        map.resize(index + 1);
    map[index] = qint16(record);
}

// Fills a selector list from a record's values, in order.
void fillList(QListWidget* list, const core::CommandRec& rec) {
    list->clear();
    for (int r = 1; r < rec.Values.size(); ++r)
        list->addItem(rec.Values.at(r).Text);
}

} // namespace

int ControlMapAt(int index) {
    const QList<qint16>& map = G().settings.ControlMap;
    return index >= 0 && index < map.size() ? map.at(index) : 0;
}

void BuildPanels() {
    SCL& s = scl();
    core::CommandTable& commands = Config().Commands;
    // Labels of an earlier build go; member 0 of each array stays, hidden.
    for (int panel = 1; panel <= 3; ++panel) {
        QList<SettingLabel*>& labels = arrayOf(s, panel);
        while (labels.size() > 1)
            delete labels.takeLast();
        labels.at(0)->hide();
    }
    G().settings.ControlMap.clear();
    for (int i = 1; i < commands.size(); ++i)
        commands[i].ControlIndex = 0;

    // Rows and columns follow the twip rules; the grid keeps them when fonts or scale change.
    core::PanelMetrics m;
    m.interRowSpace = Config().InterRowSpace;
    for (const core::LabelPlace& p : core::PlaceLabels(commands, m)) {
        core::CommandRec& rec = commands[p.record];
        rec.ControlIndex = qint16(p.number);
        setMap(p.mapIndex, p.record);
        QList<SettingLabel*>& labels = arrayOf(s, p.panel);
        QWidget* frame = p.panel == 3   ? static_cast<QWidget*>(s.FrameBtm)
                         : p.panel == 2 ? static_cast<QWidget*>(s.FrameMid)
                                        : static_cast<QWidget*>(s.FrameTop);
        auto* label = new SettingLabel(frame);
        label->setObjectName(QStringLiteral("lblSetting%1_%2")
                                 .arg(QLatin1String(p.panel == 3   ? "Btm"
                                                    : p.panel == 2 ? "Mid"
                                                                   : "Top"))
                                 .arg(p.number));
        SetCaption(label, rec.Name);
        label->setEnabled(!rec.ReadOnly);
        labels.append(label);
        gridOf(s, p.panel)->addWidget(label, p.row, p.column);
        label->show();
        const int index = p.mapIndex;
        const QString word = QLatin1String(panelWord(p.panel));
        QObject::connect(label, &SettingLabel::MouseDownAt, label, [label, index, word](QPoint at) {
            Handle([&] { OpenSetting(label, index, at.x(), at.y(), word); });
        });
    }
    for (int i = 1; i < commands.size(); ++i) {
        const core::CommandRec& rec = commands.at(i);
        if (rec.Panel != 0)
            continue;
        if (core::SameText(rec.Cmd, QStringLiteral("E1")))
            fillList(s.lstPreset, rec);
        if (core::SameText(rec.Cmd, QStringLiteral("E0")))
            fillList(s.lstProfile, rec);
    }
    // The new labels take their place in the reading order, before the status line.
    SetReadingOrder(s, Config().UserLevel);
}

QString FormatAnswer(const QString& reply) {
    SCL& s = scl();
    bool unknown = false;
    QString text = core::FormatAnswerText(Config().Commands, reply, s.DeviceModel->text(),
                                          s.txtFirmware->text(), &unknown);
    if (unknown)
        ShowAlert(QStringLiteral("Device returned an un-recognized command code(1). Reply was '") +
                  core::Printable(reply) + QStringLiteral("'"));
    return text;
}

// A label's caption after the query of its record.
void ShowValueOf(int record) {
    SCL& s = scl();
    const core::CommandRec& rec = Config().Commands.at(record);
    QList<SettingLabel*>& labels = arrayOf(s, rec.Panel == 3 ? 3 : rec.Panel == 2 ? 2 : 1);
    if (rec.ControlIndex <= 0 || rec.ControlIndex >= labels.size())
        return;
    SetCaption(labels.at(rec.ControlIndex),
               rec.Name + QStringLiteral("=") + FormatAnswer(Link().Reply));
}

void RefreshPanels(int mask) {
    SCL& s = scl();
    if (Config().UserLevel == 1)
        return;
    if (Link().PowerState != QLatin1String("ON") && !ConnectDevice())
        return;
    SettingsGlobals& g = G().settings;
    s.lblWait->show();
    // Whatever ends the refresh (its end, a run-time error, a pulled adapter) puts the flags and
    // the wait sign back; left set, tabs and Digital/Analog would send nothing for the run.
    const auto back = qScopeGuard([&s, &g] {
        g.SuppressTab = false;
        g.SuppressOutput = false;
        s.lblWait->hide();
    });
    if (mask & 1) {
        QueryDevice(QStringLiteral("4C"));
        g.SuppressTab = true;
        s.SSTab1->setCurrentIndex(Link().Reply.isEmpty() ? 0 : int(Val(replyValue())) - 1);
        g.SuppressTab = false;
        QueryDevice(QStringLiteral("E1"));
        if (s.lstPreset->count() > 0)
            s.lstPreset->setCurrentRow(int(Val(replyValue())));
    }
    if (mask & 2) {
        QueryDevice(QStringLiteral("60"));
        g.SuppressOutput = true;
        if (Val(replyValue()) == 1)
            s.optAnalog->setChecked(true);
        else
            s.optDigital->setChecked(true);
        g.SuppressOutput = false;
        QueryDevice(QStringLiteral("E0"));
        if (s.lstProfile->count() > 0)
            s.lstProfile->setCurrentRow(int(Val(replyValue())));
    }
    const core::CommandTable& commands = Config().Commands;
    for (int i = 1; i < commands.size(); ++i) {
        const core::CommandRec& rec = Config().Commands.at(i);
        if (rec.ControlIndex == 0)
            continue;
        const bool wanted = ((mask & 4) && rec.Panel == 3) || ((mask & 2) && rec.Panel == 2) ||
                            ((mask & 1) && rec.Panel == 1 && rec.ControlIndex < 100);
        if (!wanted)
            continue;
        QList<SettingLabel*>& labels = arrayOf(s, rec.Panel);
        if (rec.ControlIndex >= labels.size())
            continue;
        if (rec.WriteOnly) {
            SetCaption(labels.at(rec.ControlIndex), rec.Name);
            continue;
        }
        QueryDevice(rec.Cmd);
        ShowValueOf(i);
    }
    s.lblWait->hide();
}

namespace {

// The selectors in the order the exact put-back sets them: the preset first, while the input
// the save ended on is selected, so that its recall never lands on the input that was found.
const QStringList& selectorCodes() {
    static const QStringList codes{QStringLiteral("E1"), QStringLiteral("4C"), QStringLiteral("E0"),
                                   QStringLiteral("60")};
    return codes;
}

bool hasRecord(const QString& code) {
    return core::FindCommandByCode(Config().Commands, code) > 0;
}

QString readSelector(const QString& code) {
    QueryDevice(code);
    return replyValue();
}

// Each selector the job moved goes back to what was read, and is read again to prove it.
void putBackExactly() {
    const SettingsGlobals& g = G().settings;
    const QStringList& codes = selectorCodes();
    for (int i = 0; i < codes.size() && i < g.KeptSelection.size(); ++i) {
        const QString& code = codes.at(i);
        const QString& kept = g.KeptSelection.at(i);
        if (kept.isEmpty() || readSelector(code) == kept)
            continue;
        SetDevice(code, kept);
        if (readSelector(code) != kept) {
            const int record = core::FindCommandByCode(Config().Commands, code);
            ShowAlert(QStringLiteral("Could not put back the ") +
                      Config().Commands.at(record).Name + QStringLiteral(" ") + kept);
        }
    }
}

} // namespace

void SaveViewState() {
    SCL& s = scl();
    SettingsGlobals& g = G().settings;
    if (g.ExactPutBack) {
        g.KeptSelection.clear();
        for (const QString& code : selectorCodes())
            g.KeptSelection << (hasRecord(code) ? readSelector(code) : QString());
        return;
    }
    g.KeptTab = qint16(s.SSTab1->currentIndex());
    g.KeptPreset = qint16(s.lstPreset->currentRow());
    g.KeptDigital = s.optDigital->isChecked() ? -1 : 0;
}

void RestoreViewState() {
    SCL& s = scl();
    SettingsGlobals& g = G().settings;
    if (g.ExactPutBack) {
        putBackExactly();
        return;
    }
    g.SuppressTab = true;
    g.SuppressOutput = true;
    const auto back = qScopeGuard([&g] {
        g.SuppressTab = false;
        g.SuppressOutput = false;
    });
    s.SSTab1->setCurrentIndex(g.KeptTab);
    s.lstPreset->setCurrentRow(g.KeptPreset);
    // Both buttons take the kept value, the analog one last.
    if (g.KeptDigital != 0) {
        s.optDigital->setChecked(true);
        s.optAnalog->setChecked(true);
    } else {
        s.optDigital->setAutoExclusive(false);
        s.optAnalog->setAutoExclusive(false);
        s.optDigital->setChecked(false);
        s.optAnalog->setChecked(false);
        s.optDigital->setAutoExclusive(true);
        s.optAnalog->setAutoExclusive(true);
    }
    s.lstPreset->setCurrentRow(g.KeptPreset);
    SetDevice(QStringLiteral("4C"), QString::number(g.KeptTab + 1));
    QueryDevice(QStringLiteral("4C"));
    // One above the index a click sends: as designed.
    SetDevice(QStringLiteral("E1"), QString::number(s.lstPreset->currentRow() + 1));
    QueryDevice(QStringLiteral("E1"));
    if (g.KeptDigital != 0) {
        SetDevice(QStringLiteral("60"), QStringLiteral("2"));
        SetDevice(QStringLiteral("60"), QStringLiteral("1"));
    }
    QueryDevice(QStringLiteral("60"));
    SetDevice(QStringLiteral("E0"), QString::number(s.lstProfile->currentRow() + 1));
    QueryDevice(QStringLiteral("E0"));
    g.SuppressTab = false;
    g.SuppressOutput = false;
    RefreshPanels(7);
}

void SSTab1_Click() {
    if (G().settings.SuppressTab)
        return;
    SetDevice(QStringLiteral("4C"), QString::number(scl().SSTab1->currentIndex() + 1));
    RefreshPanels(1);
}

void lstPreset_DblClick() {
    const int index = scl().lstPreset->currentRow();
    if (index == -1)
        return;
    SetDevice(QStringLiteral("E1"), QString::number(index));
    RefreshPanels(1);
}

void lstProfile_DblClick() {
    const int index = scl().lstProfile->currentRow();
    if (index == -1)
        return;
    SetDevice(QStringLiteral("E0"), QString::number(index));
    RefreshPanels(2);
}

void optAnalog_Click() {
    if (G().settings.SuppressOutput)
        return;
    SetDevice(QStringLiteral("60"), QStringLiteral("1"));
    RefreshPanels(2);
}

void optDigital_Click() {
    if (G().settings.SuppressOutput)
        return;
    SetDevice(QStringLiteral("60"), QStringLiteral("2"));
    RefreshPanels(2);
}

void cmdRefreshAll_Click() {
    RefreshPanels(7);
}

void Frame_Click() {
    SCL& s = scl();
    s.frmEnter->hide();
    s.frmSelect->hide();
}

// The two exclude each other: a load either keeps the settings or resets them.
void chkDefaults_Click() {
    scl().chkSaveRestore->setEnabled(!scl().chkDefaults->isChecked());
}
void chkSaveRestore_Click() {
    scl().chkDefaults->setEnabled(!scl().chkSaveRestore->isChecked());
}

} // namespace telvo::ui
