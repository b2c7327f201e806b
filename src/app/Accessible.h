#pragma once
// What the program says, made reachable by a screen reader: captions that change at run time
// rename their control, the status lines carry their message and announce it, prompts take the
// keyboard, and the Details box reads line by line.

#include "app/Controls.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPushButton>
#include <QString>

namespace telvo::ui {

// Sets a control's caption and its accessible name together, so that the name a screen reader
// speaks is always the caption on screen (Start/Abort, Connect, WAIT, "name=value"...).
void SetCaption(QAbstractButton* button, const QString& caption);
void SetCaption(QLabel* label, const QString& caption);

// A status line (lblMessage). Its accessible object keeps the name "Status" and carries the
// message as its description, its value and its text; a change of message raises a description
// and a text change, an alert also the Alert event, and the object's role is an alert while one
// stands.
class StatusLine : public ClickLabel {
    Q_OBJECT
public:
    explicit StatusLine(QWidget* parent);

    // Hides QLabel::setText on purpose: every caption the routines write through the window's
    // member reaches the screen reader, and a rewrite of the same text (an alert's ticks) is
    // not announced again.
    void setText(const QString& text);
    // A status message: shown, and announced even when it repeats the one standing.
    void Say(const QString& text);
    // An alert: shown, marked as an alert and announced as one, even when it repeats.
    void Alert(const QString& text);
    bool IsAlert() const { return m_alert; }

private:
    void replace(const QString& text, bool always);
    bool m_alert = false;
};

// Stands for as long as a prompt (the status line and its Continue/Cancel buttons) waits: the
// buttons carry the prompt's text as their description, Continue takes the keyboard focus, Enter
// answers the focused button and Escape answers Cancel; at the end the focus goes back where it
// was. A scope, so that the end of the program unwinding through the wait ends it too.
class PromptFocus {
public:
    PromptFocus(QPushButton* cmdContinue, QPushButton* cmdCancel, const QString& text);
    ~PromptFocus();
    PromptFocus(const PromptFocus&) = delete;
    PromptFocus& operator=(const PromptFocus&) = delete;

private:
    QPushButton* m_continue;
    QPushButton* m_cancel;
};

// Makes Tab go through the focusable controls of `regions` in that order (each region's own in
// their present order), then through the window's other controls.
void ChainInOrder(QWidget* window, const QList<QWidget*>& regions);

// Gives the status lines and the Details box their accessible objects. Called by their
// constructors, before anything asks for (and caches) an object of theirs; once is enough.
void InstallAccessibleFactory();

} // namespace telvo::ui
