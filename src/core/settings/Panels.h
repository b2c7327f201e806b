#pragma once
// The setting panels without a window: where each record's label goes, and what an answer shows.

#include "core/config/CommandRec.h"

#include <QList>
#include <QString>

namespace telvo::core {

// Where one record's label sits: its panel (1 top, 2 middle, 3 bottom), its number n in the
// panel (from 1), its row and column (from 0) and its position in twips.
struct LabelPlace {
    int record = 0;
    int panel = 0;
    int number = 0;
    int row = 0;
    int column = 0;
    int left = 0;
    int top = 0;
    int mapIndex = 0; // the ControlMap index: n, n + 100 or n + 200
};

// The frame measures the placement needs, in twips.
struct PanelMetrics {
    int topWidth = 0;    // FrameTop.Width
    int line1X = 0;      // Line1's x position in FrameTop
    int midWidth = 0;    // FrameMid.Width
    int line2X = 0;      // Line2's x position in FrameMid
    int btmWidth = 0;    // FrameBtm.Width
    int labelHeight = 0; // height of one label
    int interRowSpace = 0;
};

// Columns of each panel: three in the top and middle, four in the bottom.
int PanelColumns(int panel);

// Places every record of panels 1 to 3, in record order. Records of other panels get no label.
QList<LabelPlace> PlaceLabels(const CommandTable& commands, const PanelMetrics& m);

// The answer's parts, positions from 1 as the device sends them.
QString AnswerType(const QString& reply);    // characters 2, 3
QString AnswerCommand(const QString& reply); // characters 6, 7
QString AnswerValue(const QString& reply);   // from character 9 to the NUL; empty with no NUL

// What a label shows for an answer. `unknownCommand` is set when the answer's command is in no
// record (the caller alerts); model and firmware answers show the two given texts.
// What a label shows for `value` of the record (a list value's text, a number as it came).
QString ValueText(const CommandRec& rec, const QString& value);
QString FormatAnswerText(const CommandTable& commands, const QString& reply,
                         const QString& modelText, const QString& firmwareText,
                         bool* unknownCommand);

} // namespace telvo::core
