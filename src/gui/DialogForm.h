#pragma once
// What the modal dialogs share: their place is taken from the settings at
// load (without resizing) and saved at unload, whichever way the dialog ends
// (its buttons, Escape, the close box).
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>

#include "cWindow.h"

namespace quillet {

// Heights set by the kind of control, the same on every form, in twips.
inline constexpr int kBoxHeight = 315;     // text box, drop-down list, "..." button
inline constexpr int kButtonHeight = 375;  // the dialog's commands

// A label stands beside the boxes of its row, centred on them.
inline QLabel* MakeLabel(QWidget* form, const char* name, const char* caption, int left, int top,
                         bool bold = false) {
    auto* label = new QLabel(caption, form);
    label->setObjectName(name);
    if (bold) {
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
    }
    label->adjustSize();
    label->setGeometry(Px(left), Px(top), label->width(), Px(kBoxHeight));
    label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return label;
}

inline QLineEdit* MakeText(QWidget* form, const char* name, const char* text, int left, int top, int width) {
    auto* edit = new QLineEdit(text, form);
    edit->setObjectName(name);
    edit->setGeometry(Px(left), Px(top), Px(width), Px(kBoxHeight));
    return edit;
}

// The dialog's status bar, along its bottom edge.
inline QStatusBar* MakeStatusBar(QWidget* form) {
    auto* bar = new QStatusBar(form);
    bar->setObjectName("StatusBar1");
    bar->setSizeGripEnabled(false);
    const int barHeight = bar->sizeHint().height();
    bar->setGeometry(0, form->height() - barHeight, form->width(), barHeight);
    return bar;
}

// A command button at its design place, in twips; Return does not press it
// unless it is the dialog's default.
inline QPushButton* MakeButton(QWidget* form, const char* name, const char* caption, int left, int top, int width,
                               int height) {
    auto* button = new QPushButton(caption, form);
    button->setObjectName(name);
    button->setAutoDefault(false);
    button->setGeometry(Px(left), Px(top), Px(width), Px(height));
    return button;
}

class DialogForm : public QDialog {
public:
    using QDialog::QDialog;

    // The dialog has saved its place and is done.
    bool Unloaded() const { return unloaded_; }

    void done(int result) override {
        if (!unloaded_) {
            unloaded_ = true;
            gWindow.wSave(this);
        }
        QDialog::done(result);
    }

private:
    bool unloaded_ = false;
};

}  // namespace quillet
