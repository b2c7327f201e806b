// `gamma make` and `gamma export`: the gamma tool's window, loaded and never shown, with its
// boxes filled and its buttons' routines run. It never talks to the device.
#include "cli/CliPlatform.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "core/gamma/GammaFiles.h"
#include "core/text/Classic.h"
#include "gamma/GMA.h"

#include <QFileInfo>
#include <QJsonObject>

namespace telvo::cli {

namespace {

Report& rep() {
    return Report::instance();
}

void answerDialogs(std::deque<QString> paths) {
    if (auto* p = dynamic_cast<CliPlatform*>(&platform::CurrentPlatform()))
        p->paths = std::move(paths);
}

bool isNumber(const QString& text) {
    bool ok = false;
    text.toDouble(&ok);
    return ok;
}

int makeJob(const Options& o) {
    const QString source = NamedValue(o, QStringLiteral("--source"));
    const QString scalar = NamedValue(o, QStringLiteral("--scalar"));
    const QString reference = NamedValue(o, QStringLiteral("--reference"));
    if (o.words.size() != 2 || !isNumber(source) || !isNumber(scalar))
        return rep().fail(kUsage, QStringLiteral("gamma make takes --source G --scalar G "
                                                 "[--reference FILE] OUT.gma"));
    const QString out = QFileInfo(o.words.at(1)).absoluteFilePath();
    if (!reference.isEmpty() && !QFileInfo(reference).isReadable())
        return rep().fail(kFileError, QStringLiteral("could not read ") + reference);
    ui::GMA& w = ui::gma();
    w.txtSG->setText(source);
    if (w.SourceGamma != core::Val(source))
        w.txtSG_Change();
    w.txtGamma->setText(scalar);
    if (!reference.isEmpty()) {
        w.chkDSPRef->setChecked(true);
        w.chkDSPRef_Click();
        answerDialogs({QFileInfo(reference).absoluteFilePath()});
        w.cmdBrowse_Click();
    }
    w.cmdCompute_Click();
    // Save with the name known: the window's Save, without the name box it would wait on.
    w.GammaFileName = out;
    w.cmdSave_Click();
    if (!QFileInfo::exists(out))
        return rep().fail(kFileError, QStringLiteral("could not write ") + out);
    rep().result(
        QStringLiteral("Wrote ") + out + QStringLiteral(" (gamma ") + w.txtGamma->text() +
            QStringLiteral(")"),
        {{QStringLiteral("file"), out}, {QStringLiteral("gamma"), core::Val(w.txtGamma->text())}});
    return kDone;
}

int exportJob(const Options& o) {
    if (o.words.size() != 3)
        return rep().fail(kUsage, QStringLiteral("gamma export takes IN.gma OUT.cal|OUT.cube"));
    const QString in = QFileInfo(o.words.at(1)).absoluteFilePath();
    const QString out = QFileInfo(o.words.at(2)).absoluteFilePath();
    const QString kind = QFileInfo(out).suffix().toLower();
    if (kind != QLatin1String("cal") && kind != QLatin1String("cube"))
        return rep().fail(kUsage, QStringLiteral("gamma export writes .cal or .cube, not ") + out);
    if (!QFileInfo(in).isReadable())
        return rep().fail(kFileError, QStringLiteral("could not read ") + o.words.at(1));
    // A file that is no gamma table would export as a table of zeros: a black picture.
    const QString problem = core::GammaFileProblem(core::ReadTextFileLines(in));
    if (!problem.isEmpty())
        return rep().fail(kFileError,
                          o.words.at(1) + QStringLiteral(" is not a gamma file: ") + problem);
    ui::GMA& w = ui::gma();
    answerDialogs({in, out});
    w.cmdOpen_Click();
    if (kind == QLatin1String("cal"))
        w.cmdExportCal_Click();
    else
        w.cmdExportCube_Click();
    if (!QFileInfo::exists(out))
        return rep().fail(kFileError, QStringLiteral("could not write ") + out);
    rep().result(QStringLiteral("Wrote ") + out, {{QStringLiteral("file"), out}});
    return kDone;
}

} // namespace

int GammaJob(const Options& o) {
    const QString sub = o.words.value(0);
    try {
        if (sub == QLatin1String("make"))
            return makeJob(o);
        if (sub == QLatin1String("export"))
            return exportJob(o);
    } catch (const core::RuntimeError& e) {
        // A file the tool could not read or write, as its window would tell it.
        return rep().fail(kFileError, e.description());
    }
    return WrongWords(o);
}

} // namespace telvo::cli
