#include "core/gamma/GammaFiles.h"

#include "core/config/IniFile.h"
#include "core/gamma/Evaluate.h"
#include "core/text/Classic.h"

#include <QFile>
#include <QSaveFile>
#include <algorithm>
#include <cmath>

namespace telvo::core {

namespace {

const QString kCrLf = QStringLiteral("\r\n");
const char* const kColorKeys[kGammaColors] = {"Red", "Green", "Blue"};

[[noreturn]] void raiseSubscript() {
    throw RuntimeError(kSubscript, QStringLiteral("Subscript out of range"));
}

// Splits at the first "="; false when the line has none.
bool splitKey(const QString& line, QString& key, QString& value) {
    const qsizetype eq = line.indexOf(u'=');
    if (eq < 0)
        return false;
    key = TrimBlank(line.left(eq));
    value = TrimBlank(line.mid(eq + 1));
    return true;
}

QStringList blankTokens(const QString& text) {
    return text.split(u' ', Qt::SkipEmptyParts);
}

int colorOfKey(const QString& key, const QString& prefix) {
    for (int c = 0; c < kGammaColors; ++c)
        if (SameText(key, prefix + QLatin1String(kColorKeys[c])))
            return c;
    return -1;
}

QString fraction(double v) {
    return QString::number(v, 'f', 6);
}

} // namespace

QByteArray GammaFileText(const GammaFileHeader& h, const GammaCells& cells) {
    QString text;
    text.reserve(3 * kGammaRows * 5 + 256);
    text += QStringLiteral("Scalar Gamma=") + h.txtGamma + kCrLf;
    text += QStringLiteral("Display Gamma=") + h.txtDSPgamma + kCrLf;
    text += QStringLiteral("ColorOption=") + QString::number(h.colorOption) + kCrLf;
    text += QStringLiteral("UseRefData=") + QString::number(h.useRefData) + kCrLf;
    if (h.useRefData == 1)
        text += QStringLiteral("DSPrefData=") + h.DSPrefFile + kCrLf;
    for (int c = 0; c < kGammaColors; ++c) {
        QString line = QString::fromLatin1(kColorKeys[c]).toUpper() + u'=';
        for (int i = 0; i < kGammaRows; ++i)
            line += cells.at(i, c) + u' ';
        text += TrimBlankRight(line) + kCrLf;
    }
    return text.toUtf8();
}

void ReadGammaLines(const QStringList& lines, GammaFileRead& out, GammaCells& cells) {
    out = GammaFileRead{};
    for (const QString& line : lines) {
        QString key;
        QString value;
        if (!splitKey(line, key, value))
            continue;
        if (SameText(key, QStringLiteral("Gamma")) ||
            SameText(key, QStringLiteral("Scalar Gamma"))) {
            out.txtGamma = value;
        } else if (SameText(key, QStringLiteral("Display Gamma"))) {
            out.txtDSPgamma = value;
        } else if (SameText(key, QStringLiteral("ColorOption"))) {
            const qint16 n = CInt(Val(value));
            if (n < 0 || n > 3)
                throw RuntimeError(
                    kNoControlArrayElement,
                    QStringLiteral("Control array element '%1' doesn't exist").arg(n));
            out.colorOption = n;
        } else if (SameText(key, QStringLiteral("UseRefData"))) {
            const qint16 n = CInt(Val(value));
            if (n < 0 || n > 2)
                throw RuntimeError(kInvalidPropertyValue, QStringLiteral("Invalid property value"));
            out.useRefData = n;
        } else if (SameText(key, QStringLiteral("DSPrefData"))) {
            out.DSPrefFile = value;
        } else if (const int c = colorOfKey(key, QString()); c >= 0) {
            int row = 0;
            for (const QString& token : blankTokens(value)) {
                if (row >= kGammaRows)
                    raiseSubscript();
                cells.at(row++, c) = token;
            }
        }
    }
}

QString GammaFileProblem(const QStringList& lines) {
    std::array<int, kGammaColors> counts{-1, -1, -1};
    bool gamma = false;
    for (const QString& line : lines) {
        QString key;
        QString value;
        if (!splitKey(line, key, value))
            continue;
        if (SameText(key, QStringLiteral("Gamma")) || SameText(key, QStringLiteral("Scalar Gamma")))
            gamma = true;
        const int c = colorOfKey(key, QString());
        if (c < 0)
            continue;
        counts.at(size_t(c)) = 0;
        for (const QString& token : blankTokens(value)) {
            bool number = false;
            token.toDouble(&number);
            if (!number)
                return QStringLiteral("the %1 table holds \"%2\", not a code")
                    .arg(QString::fromLatin1(kColorKeys[c]).toUpper(), token.left(20));
            ++counts.at(size_t(c));
        }
    }
    if (!gamma)
        return QStringLiteral("it has no \"Scalar Gamma=\" line");
    for (int c = 0; c < kGammaColors; ++c) {
        const QString name = QString::fromLatin1(kColorKeys[c]).toUpper();
        if (counts.at(size_t(c)) < 0)
            return QStringLiteral("it has no ") + name + QStringLiteral(" table");
        if (counts.at(size_t(c)) != kGammaRows)
            return QStringLiteral("its %1 table holds %2 codes, not %3")
                .arg(name)
                .arg(counts.at(size_t(c)))
                .arg(kGammaRows);
    }
    return QString();
}

void ReadReferenceLines(const QStringList& lines, Reference& ref) {
    ref = Reference{};
    for (qsizetype n = 0; n < lines.size(); ++n) {
        QString line = lines.at(n);
        if (line.startsWith(u'\''))
            continue;
        const qsizetype comment = line.indexOf(QStringLiteral(" ' "));
        if (comment >= 0)
            line = line.left(comment);
        line = TrimBlank(line);
        if (line.isEmpty())
            continue;
        QString key;
        QString value;
        if (!splitKey(line, key, value))
            continue;
        const int c = colorOfKey(key, QStringLiteral("Function"));
        if (c < 0)
            continue;
        if (!SameText(value, QStringLiteral("Table"))) {
            ref.FunctionText[size_t(c)] = value;
            continue;
        }
        // The table is the next line as it stands, whatever it holds.
        ref.FunctionText[size_t(c)].clear();
        if (++n >= lines.size())
            break;
        int row = 0;
        for (const QString& token : blankTokens(lines.at(n))) {
            if (row >= kGammaRows)
                raiseSubscript();
            ref.DSPrefData[size_t(row++)][size_t(c)] = Val(token);
        }
    }
}

void ApplyReference(Reference& ref) {
    for (int c = 0; c < kGammaColors; ++c) {
        const QString& text = ref.FunctionText[size_t(c)];
        if (text.isEmpty() || ContainsText(text, QStringLiteral("Copy")))
            continue;
        for (int i = 0; i < kGammaRows; ++i) {
            const double v = Evaluate(text, i / kGammaMax) * kGammaMax;
            if (!std::isfinite(v))
                throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
            ref.DSPrefData[size_t(i)][size_t(c)] = v;
        }
    }
    // In this order, after all evaluation: a copy of a copy takes what stands there now.
    auto copy = [&ref](int to, int from) {
        for (auto& row : ref.DSPrefData)
            row[size_t(to)] = row[size_t(from)];
    };
    for (int to = 0; to < kGammaColors; ++to) {
        const QString word = TrimBlank(ref.FunctionText[size_t(to)]);
        for (int from = 0; from < kGammaColors; ++from) {
            if (from != to &&
                SameText(word, QStringLiteral("Copy") + QLatin1String(kColorKeys[from])))
                copy(to, from);
        }
    }
}

QStringList ReadTextFileLines(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw RuntimeError(kFileNotFound, QStringLiteral("File not found"));
    return SplitTextLines(f.readAll());
}

void WriteFileWhole(const QString& path, const QByteArray& bytes) {
    QSaveFile out(path);
    // The buffer is flushed and checked first: commit() takes the file in place even when the
    // last flush failed part way (a full disk, a size limit), and the old file would be lost.
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() || !out.flush()) {
        out.cancelWriting();
        throw RuntimeError(kPathFileAccess, QStringLiteral("Path/File access error"));
    }
    if (!out.commit())
        throw RuntimeError(kPathFileAccess, QStringLiteral("Path/File access error"));
}

double CellFraction(const QString& cell) {
    return std::clamp(Val(cell) / kGammaMax, 0.0, 1.0);
}

QByteArray ArgyllCalText(const GammaCells& cells, const QString& created) {
    QString t;
    t += QStringLiteral("CAL\n\n");
    t += QStringLiteral("DESCRIPTOR \"Argyll Device Calibration State\"\n");
    t += QStringLiteral("ORIGINATOR \"Telvo Utility gamma tool\"\n");
    t += QStringLiteral("CREATED \"%1\"\n").arg(created);
    t += QStringLiteral("KEYWORD \"DEVICE_CLASS\"\nDEVICE_CLASS \"DISPLAY\"\n");
    t += QStringLiteral("KEYWORD \"COLOR_REP\"\nCOLOR_REP \"RGB\"\n\n");
    t += QStringLiteral("KEYWORD \"RGB_I\"\nNUMBER_OF_FIELDS 4\nBEGIN_DATA_FORMAT\n");
    t += QStringLiteral("RGB_I RGB_R RGB_G RGB_B\nEND_DATA_FORMAT\n\n");
    t += QStringLiteral("NUMBER_OF_SETS %1\nBEGIN_DATA\n").arg(kGammaRows);
    for (int i = 0; i < kGammaRows; ++i) {
        t += fraction(i / kGammaMax);
        for (int c = 0; c < kGammaColors; ++c)
            t += u' ' + fraction(CellFraction(cells.at(i, c)));
        t += u'\n';
    }
    t += QStringLiteral("END_DATA\n");
    return t.toUtf8();
}

QByteArray CubeLutText(const GammaCells& cells, const QString& title) {
    QString t;
    // The title is one quoted line: quotes and line ends can't stand inside it.
    QString clean = title;
    clean.remove(u'"').remove(u'\r').remove(u'\n');
    t += QStringLiteral("TITLE \"%1\"\n").arg(clean);
    t += QStringLiteral("LUT_1D_SIZE %1\n").arg(kGammaRows);
    t += QStringLiteral("DOMAIN_MIN 0.0 0.0 0.0\nDOMAIN_MAX 1.0 1.0 1.0\n");
    for (int i = 0; i < kGammaRows; ++i) {
        for (int c = 0; c < kGammaColors; ++c) {
            if (c)
                t += u' ';
            t += fraction(CellFraction(cells.at(i, c)));
        }
        t += u'\n';
    }
    return t.toUtf8();
}

} // namespace telvo::core
