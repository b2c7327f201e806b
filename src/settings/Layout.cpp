#include "settings/Layout.h"

#include "app/Globals.h"
#include "app/Main.h"
#include "settings/SCL.h"

#include <QVBoxLayout>

namespace telvo::ui {

void ArrangeToolButtons() {
    SCL& s = scl();
    // Frame4 takes the width of what it shows: its grid folds hidden buttons away.
    const bool debug = App().DebuggerMode;
    s.cmdDebugger->setVisible(debug);
    s.cmdAdvanced->setVisible(debug);
    s.cmdGamma->setVisible(debug);
    App().BootLoaderMode = CommandLineHas(QStringLiteral("BootLoader"));
}

namespace {

void clearArrangement(SCL& s) {
    for (QWidget* w : {static_cast<QWidget*>(s.Frame2), static_cast<QWidget*>(s.Frame3),
                       static_cast<QWidget*>(s.Frame4), static_cast<QWidget*>(s.Frame5),
                       static_cast<QWidget*>(s.Frame6), s.panelArea, s.detailsArea, s.statusArea})
        s.root->removeWidget(w);
    // Columns of an earlier arrangement go; their widgets stay children of the window.
    while (QLayoutItem* item = s.root->takeAt(0)) {
        if (QLayout* column = item->layout())
            while (QLayoutItem* inner = column->takeAt(0))
                delete inner;
        delete item;
    }
    s.Frame5->setMinimumHeight(0);
    s.Frame5->setMaximumHeight(QWIDGETSIZE_MAX);
    for (int r = 0; r < 6; ++r)
        s.root->setRowStretch(r, 0);
    for (int c = 0; c < 4; ++c)
        s.root->setColumnStretch(c, 0);
}

// The full window: communications, device settings and options across the top, the support
// tools under communications with termination beside them under the options, the details below,
// and the panels on the right reaching down to the details' bottom edge.
void arrangeFull(SCL& s) {
    QGridLayout* g = s.root;
    g->addWidget(s.Frame2, 0, 0);
    g->addWidget(s.Frame3, 0, 1, 2, 1);
    g->addWidget(s.Frame6, 0, 2);
    g->addWidget(s.Frame4, 1, 0);
    g->addWidget(s.Frame5, 1, 2);
    g->addWidget(s.detailsArea, 2, 0, 1, 3);
    g->addWidget(s.panelArea, 0, 3, 3, 1);
    g->addWidget(s.statusArea, 3, 0, 1, 4);
    g->setRowStretch(2, 1);
    g->setColumnStretch(3, 1);
}

// The beginner's window: communications over the details on the left; options, termination
// and the support tools stacked on the right.
void arrangeBeginner(SCL& s) {
    QGridLayout* g = s.root;
    auto* left = new QVBoxLayout;
    left->addWidget(s.Frame2);
    left->addWidget(s.detailsArea, 1);
    auto* right = new QVBoxLayout;
    right->addWidget(s.Frame6);
    // Termination is as tall as the support tools, as in the full window's shared row.
    s.Frame5->setFixedHeight(s.Frame4->sizeHint().height());
    right->addWidget(s.Frame5);
    right->addWidget(s.Frame4);
    right->addStretch(1);
    g->addLayout(left, 0, 0);
    g->addLayout(right, 0, 1);
    g->addWidget(s.statusArea, 1, 0);
    g->setRowStretch(0, 1);
    g->setColumnStretch(0, 1);
}

} // namespace

void ArrangeMainWindow(SCL& s, int level) {
    clearArrangement(s);
    if (level == 1)
        arrangeBeginner(s);
    else
        arrangeFull(s);
    SetReadingOrder(s, level);
}

void SetReadingOrder(SCL& s, int level) {
    const QList<QWidget*> full = {s.Frame2,   s.Frame3,      s.Frame6,    s.Frame4,
                                  s.Frame5,   s.detailsArea, s.SSTab1,    s.FrameTop,
                                  s.FrameMid, s.FrameBtm,    s.statusArea};
    const QList<QWidget*> beginner = {s.Frame2, s.detailsArea, s.Frame6,
                                      s.Frame5, s.Frame4,      s.statusArea};
    ChainInOrder(&s, level == 1 ? beginner : full);
}

void SetUserLayout(int level) {
    SCL& s = scl();
    if (level == 0 || level == 1) {
        const bool full = level == 0;
        for (QWidget* w :
             {static_cast<QWidget*>(s.chkConfirm), static_cast<QWidget*>(s.chkSim),
              static_cast<QWidget*>(s.chkNoFWupdate), static_cast<QWidget*>(s.cmdRefreshAll),
              static_cast<QWidget*>(s.Frame3), s.panelArea})
            w->setVisible(full);
        s.Frame6->show();
        s.chkSaveRestore->setEnabled(false);
        s.chkDefaults->setEnabled(full);
        ArrangeMainWindow(s, level);
        s.root->activate();
    }
    CenterForm(&s);
}

} // namespace telvo::ui
