#pragma once
// Small control kinds the windows share: a label that reports clicks, and the event boundary
// where run-time errors become a message box.

#include <QCheckBox>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <functional>

namespace telvo::ui {

class ClickLabel : public QLabel {
    Q_OBJECT
public:
    using QLabel::QLabel;
Q_SIGNALS:
    void Click();
    void MouseDown();
    void DblClick();

protected:
    void mousePressEvent(QMouseEvent* e) override {
        Q_EMIT MouseDown();
        QLabel::mousePressEvent(e);
    }
    void mouseReleaseEvent(QMouseEvent* e) override {
        if (rect().contains(e->position().toPoint()))
            Q_EMIT Click();
        QLabel::mouseReleaseEvent(e);
    }
    void mouseDoubleClickEvent(QMouseEvent* e) override {
        Q_EMIT DblClick();
        QLabel::mouseDoubleClickEvent(e);
    }
};

// A button that carries its system name as object name and speaks its caption, or (`Text`)
// whatever text it shows at the moment, as Qt speaks an unnamed button.
enum class Spoken { Caption, Text };
QPushButton* NamedButton(const QString& caption, QWidget* parent, const char* name,
                         Spoken spoken = Spoken::Caption);

// Shows a window that loads on its first showing and is activated on every one.
template <typename W> void ShowLoadedWindow(W& w, bool& loaded) {
    if (!loaded) {
        loaded = true;
        w.Form_Load();
    }
    w.show();
    w.raise();
    w.activateWindow();
    w.Form_Activate();
}

// The Click of an option button or a check box as the windows were designed: it runs on every
// change of value, whoever makes it (mouse, keyboard, an accessibility action, or code calling
// setChecked). An option button's Click runs when it becomes set, and also when the user clicks
// it while it is already set; clearing it runs nothing. A check box's runs on each change.
// Each Click runs through Handle. Every window wires its option buttons and check boxes here.
void OnClick(QRadioButton* button, std::function<void()> click);
void OnClick(QCheckBox* box, std::function<void()> click);

// Puts a window in the middle of the screen: the screen's size less the window's, halved.
void CenterForm(QWidget* window);

// Every event handler runs through here: a classic run-time error becomes a message box with its
// number and text; the end of the program unwinds quietly (the yield underneath rethrows it).
void Handle(const std::function<void()>& handler);

} // namespace telvo::ui
