#pragma once
// What the modal dialogs share: their place is taken from the settings at
// load (without resizing) and saved at unload, whichever way the dialog ends
// (its buttons, Escape, the close box).
#include <QDialog>
#include <QPushButton>

#include "cWindow.h"

namespace quillet {

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
