#pragma once
// "System Debugger": a plain terminal on the device's own debugger.

#include "link/ConsoleBox.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QWidget>

namespace telvo::ui {

class DBGText : public QPlainTextEdit {
    Q_OBJECT
public:
    using QPlainTextEdit::QPlainTextEdit;
Q_SIGNALS:
    void DblClick();

protected:
    void mouseDoubleClickEvent(QMouseEvent*) override { Q_EMIT DblClick(); }
};

class DBG : public QWidget {
    Q_OBJECT
public:
    DBG();

    QPushButton* cmdDbgr;
    QPushButton* cmdsend;
    QLineEdit* txtSend;
    DBGText* Text1;
    QPushButton* cmdExit;

    void SyncText();
    void MoveCursorToEnd();

    void cmdDbgr_Click();
    void cmdsend_Click();
    void cmdExit_Click();

private:
    ConsoleBox m_box;
};

} // namespace telvo::ui
