#pragma once
// What the modal dialogs share: their place is taken from the settings at
// load (without resizing) and saved at unload, whichever way the dialog ends
// (its buttons, Escape, the close box).
#include <QDialog>

#include "cWindow.h"

namespace quillet {

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
