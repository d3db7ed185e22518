#pragma once
// What the modal dialogs share: their place is taken from the settings at
// load (without resizing) and saved at unload, whichever way the dialog ends
// (its buttons, Escape, the close box); and one arrangement, made of layouts
// so that it grows with the font: the fields in a grid on the left, the
// commands in a column at the top right, the status bar along the bottom.
#include <QDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QVBoxLayout>

#include <algorithm>

#include "cWindow.h"

namespace quillet {

// Lengths set by the kind of control, the same on every form, in twips.
inline constexpr int kBoxHeight = 315;     // text box, drop-down list, "..." button
inline constexpr int kButtonHeight = 375;  // the dialog's commands
inline constexpr int kRowGap = 90;         // between two rows of fields
inline constexpr int kGroupGap = 180;      // more between two groups of rows
inline constexpr int kColumnGap = 90;      // between a label and its box

inline QLabel* MakeLabel(QWidget* form, const char* name, const char* caption, bool bold = false) {
    auto* label = new QLabel(caption, form);
    label->setObjectName(name);
    if (bold) {
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
    }
    label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return label;
}

// A text box at least its drawn width wide.
inline QLineEdit* MakeText(QWidget* form, const char* name, const char* text, int width) {
    auto* edit = new QLineEdit(text, form);
    edit->setObjectName(name);
    edit->setMinimumWidth(Px(width));
    return edit;
}

// The dialog's status bar; the layout puts it along the bottom edge.
inline QStatusBar* MakeStatusBar(QWidget* form) {
    auto* bar = new QStatusBar(form);
    bar->setObjectName("StatusBar1");
    bar->setSizeGripEnabled(false);
    return bar;
}

// A button at least its drawn size, and never smaller than its caption
// needs; Return does not press it unless it is
// the dialog's default.
inline QPushButton* MakeButton(QWidget* form, const char* name, const char* caption, int width, int height) {
    auto* button = new QPushButton(caption, form);
    button->setObjectName(name);
    button->setAutoDefault(false);
    button->setMinimumSize(QSize(Px(width), Px(height)).expandedTo(button->sizeHint()));
    return button;
}

// A "..." button beside a path box: as narrow as the dialog was drawn with it, unless
// the font needs more.
inline QPushButton* MakeBrowseButton(QWidget* form, const char* name) {
    auto* button = MakeButton(form, name, "...", 375, kBoxHeight);
    button->setMinimumSize(0, 0);
    button->setFixedWidth(std::max(Px(375), button->fontMetrics().horizontalAdvance("...") + 2 * Px(kColumnGap)));
    return button;
}

// A box for a limit keeps its width: the drawn one, or what a number of
// seven digits needs in a larger font.
inline void KeepWidth(QLineEdit* box) {
    box->setFixedWidth(
        std::max(box->minimumWidth(), box->fontMetrics().horizontalAdvance("0000000") + 2 * Px(kColumnGap)));
}

// A hidden control keeps its room, so the rows below do not move when a
// selection hides a row.
inline void KeepRoomWhenHidden(std::initializer_list<QWidget*> controls) {
    for (QWidget* control : controls) {
        QSizePolicy policy = control->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        control->setSizePolicy(policy);
    }
}

// Where the fields and commands of a dialog stand, in twips.
struct DialogPlaces {
    int fieldsLeft;          // left of the headings
    int fieldsTop;           // top of the first row
    int labelIndent;         // from the headings to the labels of the rows
    int boxesFromLabels;     // from the labels' left to the boxes' left
    int commandsGap;         // from the fields' right to the commands
    int commandsTop;         // top of the first command
    int commandsGapBetween;  // between two commands
    int rightMargin;         // right of the commands
};

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

protected:
    // Lays out the dialog; answers the grid of the fields, whose column 0 is
    // the indent of the labels under the headings, column 1 the labels and
    // the columns from 2 on the boxes.
    QGridLayout* Arrange(const DialogPlaces& places, std::initializer_list<QPushButton*> commands,
                         QStatusBar* statusBar = nullptr) {
        auto* outer = new QVBoxLayout(this);
        outer->setContentsMargins(0, 0, 0, 0);
        outer->setSpacing(0);
        auto* body = new QHBoxLayout;
        body->setContentsMargins(Px(places.fieldsLeft), Px(places.commandsTop), Px(places.rightMargin), Px(kGroupGap));
        body->setSpacing(Px(places.commandsGap));
        outer->addLayout(body, 1);

        auto* fields = new QGridLayout;
        fields->setContentsMargins(0, Px(places.fieldsTop - places.commandsTop), 0, 0);
        fields->setHorizontalSpacing(Px(kColumnGap));
        fields->setVerticalSpacing(Px(kRowGap));
        fields->setColumnMinimumWidth(0, std::max(0, Px(places.labelIndent) - Px(kColumnGap)));
        fields->setColumnMinimumWidth(1, Px(places.boxesFromLabels) - Px(kColumnGap));
        auto* fieldsColumn = new QVBoxLayout;
        fieldsColumn->addLayout(fields);
        fieldsColumn->addStretch(1);
        body->addLayout(fieldsColumn, 1);

        auto* column = new QVBoxLayout;
        column->setSpacing(Px(places.commandsGapBetween));
        for (QPushButton* command : commands) column->addWidget(command);
        column->addStretch(1);
        body->addLayout(column);

        if (statusBar) outer->addWidget(statusBar);
        return fields;
    }

    // A gap between two groups of rows.
    static void GroupGap(QGridLayout* fields, int row) {
        fields->setRowMinimumHeight(row, Px(kGroupGap) - Px(kRowGap));
    }

    // The drawn client size is the least the dialog takes; a font that
    // needs more gets more. Only a dialog with a path box grows, and only in
    // width, where the path can use it.
    void Fit(int drawnWidth, int drawnHeight, bool growsSideways) {
        layout()->activate();
        const QSize least = QSize(Px(drawnWidth), Px(drawnHeight)).expandedTo(layout()->totalMinimumSize());
        if (growsSideways) {
            setMinimumSize(least);
            setMaximumHeight(least.height());
        } else {
            setFixedSize(least);
        }
        resize(least);
    }

private:
    bool unloaded_ = false;
};

}  // namespace quillet
