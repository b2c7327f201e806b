// `ir code` and `ir gen-all`: the IR tool's window, loaded and never shown, driven as its lists
// and buttons are.
#include "app/Globals.h"
#include "cli/CliPlatform.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "config/IniLoader.h"
#include "core/ir/Lirc.h"
#include "core/text/Classic.h"
#include "ir/IRG.h"
#include "settings/Layout.h"

#include <QFileInfo>
#include <QJsonObject>

namespace telvo::cli {

namespace {

Report& rep() {
    return Report::instance();
}

// The row of `text` in a list, by its text (case ignored); -1 when none.
int rowOf(const QListWidget* list, const QString& text) {
    for (int i = 0; i < list->count(); ++i)
        if (core::SameText(list->item(i)->text(), text))
            return i;
    return -1;
}

// The run as the IR tool finds it: with a device, the connection; without one (Telvo.ini's
// IR-generator-only run), the second pass of Telvo.ini alone.
int prepare() {
    if (!ui::Config().NoDeviceMode)
        return Connect();
    ui::ReadIniFile(2);
    ui::BuildPanels();
    return kDone;
}

// The forms `ir code` prints the shown code in.
const QStringList kFormats{QStringLiteral("pronto"), QStringLiteral("mode2"),
                           QStringLiteral("lirc")};

// The shown code in `format`; `button` names it in a LIRC remote.
int told(ui::IRG& w, const QString& what, const QString& format, const QString& button) {
    const QString out = w.txtOutput->toPlainText();
    if (out.isEmpty()) {
        QString why = HeardSoFar().alert.simplified();
        if (why.isEmpty())
            why = QStringLiteral("no IR code for ") + what;
        return rep().fail(kUsage, why);
    }
    QJsonObject fields{{QStringLiteral("for"), what}, {QStringLiteral("pronto"), out}};
    QString text = out;
    if (format != kFormats[0]) {
        text = format == kFormats[1] ? w.ShownMode2() : w.ShownLircRemote(button);
        if (text.isEmpty())
            return rep().fail(kUsage, QStringLiteral("no IR durations for ") + what);
        fields.insert(format, text);
        fields.insert(QStringLiteral("button"), core::ir::LircButtonName(button));
        text.chop(1); // the last line's end: each line is printed with its own
    }
    rep().result(text, fields);
    return kDone;
}

int codeJob(const Options& o) {
    ui::IRG& w = ui::irg();
    const QString value = NamedValue(o, QStringLiteral("--value"));
    const QString key = NamedValue(o, QStringLiteral("--key"));
    QString format = NamedValue(o, QStringLiteral("--format")).toLower();
    if (format.isEmpty())
        format = kFormats[0];
    if (!kFormats.contains(format))
        return rep().fail(kUsage, QStringLiteral("--format takes pronto, mode2 or lirc"));
    HeardSoFar().alert.clear();
    if (!key.isEmpty()) {
        w.optRemote->setChecked(true);
        w.optRemote_Click();
        const int row = rowOf(w.lstRemote, key);
        if (row < 0)
            return rep().fail(kUsage, QStringLiteral("no remote key named ") + key);
        w.lstRemote->setCurrentRow(row);
        w.lstRemote_Click();
        return told(w, key, format, w.lstRemote->item(row)->text());
    }
    if (o.words.size() != 2)
        return rep().fail(kUsage, QStringLiteral("ir code takes COMMAND [--value V] or --key KEY"));
    const QString name = o.words.at(1);
    w.optDiscrete->setChecked(true);
    w.optDiscrete_Click();
    const int row = rowOf(w.lstCmnds, name);
    if (row < 0)
        return rep().fail(kUsage, QStringLiteral("no IR command named ") + name);
    w.lstCmnds->setCurrentRow(row);
    w.lstCmnds_Click();
    if (w.lstValues->isEnabled()) {
        int v = rowOf(w.lstValues, value);
        if (v < 0) {
            // A list value by its number, as `set` takes it.
            const core::CommandRec& rec =
                ui::Config().Commands.at(core::FindCommandByName(ui::Config().Commands, name));
            bool number = false;
            const int n = value.toInt(&number);
            for (int r = 1; number && r < rec.Values.size(); ++r)
                if (rec.Values.at(r).Value == n)
                    v = r - 1;
        }
        if (v < 0)
            return rep().fail(kUsage, name + QStringLiteral(" has no value ") + value);
        w.lstValues->setCurrentRow(v);
        w.lstValues_Click();
        return told(
            w, name + QStringLiteral("=") + value, format,
            core::ir::LircButtonName(w.lstCmnds->item(row)->text(), w.lstValues->item(v)->text()));
    } else if (w.cmdGen->isEnabled()) {
        if (value.isEmpty())
            return rep().fail(kUsage, name + QStringLiteral(" needs --value"));
        w.txtValue->setText(value);
        w.cmdGen_Click();
    }
    const QString command = w.lstCmnds->item(row)->text();
    return told(w, name + (value.isEmpty() ? QString() : QStringLiteral("=") + value), format,
                value.isEmpty() ? command : core::ir::LircButtonName(command, value));
}

int genAllJob(const Options& o) {
    if (o.words.size() != 2)
        return rep().fail(kUsage,
                          QStringLiteral("ir gen-all takes OUT.txt, OUT.hex, OUT.ccf or OUT.conf"));
    if (!NamedValue(o, QStringLiteral("--format")).isEmpty())
        return rep().fail(kUsage, QStringLiteral("ir gen-all takes its format from the file name"));
    const QString out = QFileInfo(o.words.at(1)).absoluteFilePath();
    if (!QFileInfo(QFileInfo(out).path()).isWritable())
        return rep().fail(kFileError, QStringLiteral("could not write ") + o.words.at(1));
    ui::IRG& w = ui::irg();
    if (auto* p = dynamic_cast<CliPlatform*>(&platform::CurrentPlatform()))
        p->paths = {out};
    ForgetTold();
    w.cmdGenAll_Click();
    const int outcome = JobOutcome();
    if (outcome != kDone)
        return outcome;
    if (!QFileInfo::exists(out))
        return rep().fail(kFileError, QStringLiteral("could not write ") + out);
    rep().result(
        QStringLiteral("Wrote ") + out,
        {{QStringLiteral("file"), out}, {QStringLiteral("buttons"), int(ui::Ir().ButtonCount)}});
    return kDone;
}

} // namespace

int IrJob(const Options& o) {
    const QString sub = o.words.value(0);
    if (sub != QLatin1String("code") && sub != QLatin1String("gen-all"))
        return WrongWords(o);
    const int ready = prepare();
    if (ready != kDone)
        return ready;
    return sub == QLatin1String("code") ? codeJob(o) : genAllJob(o);
}

} // namespace telvo::cli
