#include "app/Accessible.h"

#include "app/LogView.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QRegularExpression>

namespace telvo::ui {

namespace {

// The name a screen reader speaks for a caption: no mnemonic marks, no padding blanks.
QString spoken(const QString& caption) {
    QString s = caption;
    s.remove(QRegularExpression(QStringLiteral("&(?!&)")));
    return s.trimmed();
}

// A read-only text over a string the owner gives afresh at each call: nothing selectable, no
// caret to move, no geometry of characters. Line, word and character reading come from the
// interface's own boundary helpers over that text.
class ReadOnlyText : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    ReadOnlyText(QWidget* w, QAccessible::Role role) : QAccessibleWidget(w, role) {}
    using QAccessibleWidget::text;

    void* interface_cast(QAccessible::InterfaceType t) override {
        if (t == QAccessible::TextInterface)
            return static_cast<QAccessibleTextInterface*>(this);
        return QAccessibleWidget::interface_cast(t);
    }

    void selection(int, int* start, int* end) const override { *start = *end = 0; }
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    QString text(int start, int end) const override {
        const QString all = content();
        start = qBound(0, start, int(all.size()));
        end = end < 0 ? int(all.size()) : qBound(start, end, int(all.size()));
        return all.mid(start, end - start);
    }
    int characterCount() const override { return int(content().size()); }
    QRect characterRect(int) const override { return QRect(); }
    int offsetAtPoint(const QPoint&) const override { return -1; }
    void scrollToSubstring(int, int) override {}
    QString attributes(int, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return QString();
    }

protected:
    virtual QString content() const = 0;
};

// The status line: its message is its description, value and text; its role is an alert while
// one stands.
class StatusLineAccessible : public ReadOnlyText {
public:
    explicit StatusLineAccessible(StatusLine* w) : ReadOnlyText(w, QAccessible::StatusBar) {}

    QAccessible::Role role() const override {
        return line()->IsAlert() ? QAccessible::AlertMessage : QAccessible::StatusBar;
    }
    QString text(QAccessible::Text t) const override {
        if (t == QAccessible::Description || t == QAccessible::Value)
            return content();
        return QAccessibleWidget::text(t);
    }
    using ReadOnlyText::text;

protected:
    QString content() const override { return line()->text(); }

private:
    StatusLine* line() const { return static_cast<StatusLine*>(widget()); }
};

// The Details box: newest line first, one line per text line, read on demand. Adding a line
// raises no event, so a screen reader is not made to speak the log as it runs.
class LogViewAccessible : public ReadOnlyText {
public:
    explicit LogViewAccessible(LogView* w) : ReadOnlyText(w, QAccessible::EditableText) {}

    QAccessible::State state() const override {
        QAccessible::State s = ReadOnlyText::state();
        s.readOnly = true;
        s.multiLine = true;
        return s;
    }
    QString text(QAccessible::Text t) const override {
        if (t == QAccessible::Value)
            return content();
        return QAccessibleWidget::text(t);
    }
    using ReadOnlyText::text;

protected:
    // Made again only when the box has changed since the last reading.
    QString content() const override {
        const core::LogLines& lines = static_cast<LogView*>(widget())->lines();
        if (m_revision != lines.revision()) {
            m_text = lines.text();
            m_text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
            m_revision = lines.revision();
        }
        return m_text;
    }

private:
    mutable QString m_text;
    mutable quint64 m_revision = ~0ull;
};

QAccessibleInterface* factory(const QString&, QObject* object) {
    if (auto* line = qobject_cast<StatusLine*>(object))
        return new StatusLineAccessible(line);
    if (auto* log = qobject_cast<LogView*>(object))
        return new LogViewAccessible(log);
    return nullptr;
}

void announce(QObject* o, QAccessible::Event type) {
    QAccessibleEvent e(o, type);
    QAccessible::updateAccessibility(&e);
}

// Escape answers Cancel while a prompt stands in the window that has the keyboard.
class PromptKeys : public QObject {
public:
    QPointer<QPushButton> cancel;
    QPointer<QWidget> focusBefore;

protected:
    bool eventFilter(QObject* watched, QEvent* e) override {
        if (e->type() != QEvent::KeyPress || static_cast<QKeyEvent*>(e)->key() != Qt::Key_Escape)
            return false;
        auto* w = qobject_cast<QWidget*>(watched);
        if (!cancel || !w || w->window() != cancel->window())
            return false;
        if (!cancel->isHidden())
            cancel->click();
        return true;
    }
};

PromptKeys& promptKeys() {
    static auto* keys = new PromptKeys; // lives for the run, as the windows do
    return *keys;
}

} // namespace

void InstallAccessibleFactory() {
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    (void)installed;
}

// The name goes first, so that the change the caption raises already carries it.
void SetCaption(QAbstractButton* button, const QString& caption) {
    button->setAccessibleName(spoken(caption));
    button->setText(caption);
}

void SetCaption(QLabel* label, const QString& caption) {
    if (auto* line = qobject_cast<StatusLine*>(label))
        return line->setText(caption);
    label->setAccessibleName(spoken(caption));
    label->setText(caption);
}

void ChainInOrder(QWidget* window, const QList<QWidget*>& regions) {
    QList<QWidget*> chain;
    for (QWidget* w = window->nextInFocusChain(); w && w != window; w = w->nextInFocusChain())
        if (w->focusPolicy() & Qt::TabFocus)
            chain << w;
    QList<QWidget*> order;
    for (QWidget* region : regions)
        for (QWidget* w : chain)
            if (region->isAncestorOf(w) && !order.contains(w))
                order << w;
    for (QWidget* w : chain)
        if (!order.contains(w))
            order << w;
    for (qsizetype i = 1; i < order.size(); ++i)
        QWidget::setTabOrder(order.at(i - 1), order.at(i));
}

StatusLine::StatusLine(QWidget* parent) : ClickLabel(parent) {
    InstallAccessibleFactory();
    setAccessibleName(QStringLiteral("Status"));
}

void StatusLine::setText(const QString& text) {
    // An emptied line ends the alert it showed.
    if (text.isEmpty())
        m_alert = false;
    replace(text, false);
}

void StatusLine::Say(const QString& text) {
    m_alert = false;
    replace(text, true);
}

void StatusLine::Alert(const QString& text) {
    m_alert = true;
    replace(text, true);
    announce(this, QAccessible::Alert);
}

void StatusLine::replace(const QString& text, bool always) {
    const QString before = QLabel::text();
    if (text == before && !always)
        return;
    QLabel::setText(text);
    // The description is what a reader speaks with the name; the text event is what a reader
    // of the text hears inserted.
    announce(this, QAccessible::DescriptionChanged);
    QAccessibleTextUpdateEvent update(this, 0, before, text);
    QAccessible::updateAccessibility(&update);
}

PromptFocus::PromptFocus(QPushButton* cmdContinue, QPushButton* cmdCancel, const QString& text)
    : m_continue(cmdContinue), m_cancel(cmdCancel) {
    PromptKeys& keys = promptKeys();
    // The window's own focus, which it keeps while another window is active.
    keys.focusBefore = cmdContinue->window()->focusWidget();
    keys.cancel = cmdCancel;
    for (QPushButton* b : {cmdContinue, cmdCancel}) {
        b->setAccessibleDescription(text);
        // Enter answers the button that has the focus, in a window that is not a dialog too.
        b->setAutoDefault(true);
    }
    qApp->installEventFilter(&keys);
    QWidget* window = cmdContinue->window();
    if (window->isVisible()) {
        window->raise();
        window->activateWindow();
    }
    cmdContinue->setFocus(Qt::OtherFocusReason);
}

PromptFocus::~PromptFocus() {
    PromptKeys& keys = promptKeys();
    qApp->removeEventFilter(&keys);
    keys.cancel = nullptr;
    for (QPushButton* b : {m_continue, m_cancel}) {
        b->setAccessibleDescription(QString());
        b->setAutoDefault(false);
    }
    if (keys.focusBefore && !keys.focusBefore->isHidden() && keys.focusBefore->isEnabled())
        keys.focusBefore->setFocus(Qt::OtherFocusReason);
    keys.focusBefore = nullptr;
}

} // namespace telvo::ui
