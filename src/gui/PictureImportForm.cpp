#include "PictureImportForm.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "FileDialogs.h"
#include "actions/JobOutcome.h"
#include "base/cError.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mWait.h"
#include "mMenu.h"
#include "qtpictures/PictureFiles.h"
#include "qtpictures/QImagePixels.h"
#include "support/Services.h"
#include "support/cConvert.h"

namespace quillet {

namespace {

// The drawn client area is 6315 wide; this height holds the two rows and the
// buttons with the same margin below as above.
constexpr int kClientWidth = 6315;
constexpr int kClientHeight = 1500;

}  // namespace

PictureImportForm::PictureImportForm(QWidget* parent, const Target& target) : DialogForm(parent), target_(target) {
    setObjectName(target.ObjectName);
    setWindowTitle(target.Caption);
    setModal(true);

    Label1 = MakeLabel(this, "Label1", target.IndexLabel);
    txtIndex = MakeText(this, "txtIndex", target.DefaultIndex, 3075);
    Label2 = MakeLabel(this, "Label2", "Picture:");
    txtPicture = MakeText(this, "txtPicture", "", 2655);
    cmdPicture = MakeBrowseButton(this, "cmdPicture");
    cmdImport = MakeButton(this, "cmdImport", "Import", 1275, kButtonHeight);
    cmdImport->setDefault(true);
    cmdCancel = MakeButton(this, "cmdCancel", "Cancel", 1275, kButtonHeight);

    // No headings: the labels stand at the left edge. Columns: 2 the index
    // and the picture's path, which takes a wider dialog's room, 3 the "...".
    QGridLayout* fields = Arrange({240, 300, 0, 1200, 285, 180, 105, 240}, {cmdImport, cmdCancel});
    fields->addWidget(Label1, 0, 1);
    fields->addWidget(txtIndex, 0, 2, 1, 2);
    fields->setRowMinimumHeight(1, Px(960 - 300 - kBoxHeight) - 2 * Px(kRowGap));
    fields->addWidget(Label2, 2, 1);
    fields->addWidget(txtPicture, 2, 2);
    fields->addWidget(cmdPicture, 2, 3);
    fields->setColumnStretch(2, 1);
    Fit(kClientWidth, kClientHeight, true);

    connect(cmdPicture, &QPushButton::clicked, this, [this] { cmdPicture_Click(); });
    connect(cmdImport, &QPushButton::clicked, this, [this] { cmdImport_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });

    gWindow.wLoad(this, false);
}

PictureImportForm::~PictureImportForm() = default;

void PictureImportForm::cmdPicture_Click() {
    const QString path = OpenDialog(this,
                                    "BMP picture (*.BMP)|*.bmp|JPG picture (*.JPG)|*.jpg|GIF Picture (*.gif)|*.gif|"
                                    "PNG picture (*.PNG)|*.png",
                                    "Open picture", QString::fromStdString(gFileIO.exepath));
    if (!path.isEmpty() && gFileIO.FileExist(path.toStdString())) txtPicture->setText(path);
}

void PictureImportForm::cmdImport_Click() {
    const QString path = txtPicture->text();
    // A missing file ends the click without a word: the dialog stays.
    if (!gFileIO.FileExist(path.toStdString())) return;
    // The reader goes by the file's content, not its name, and takes what the
    // CLI's commands take.
    std::string unreadable;
    if (!ReadPicture(path.toStdString(), Picture, unreadable)) {
        MsgBox("The file " + path.toStdString() + " could not be read as a picture. " + target_.Made +
               " is made from a BMP, JPG, GIF or PNG file.");
        return;
    }
    int32_t block = 0;
    try {
        block = ParseBlockIndex(txtIndex->text().toStdString());
    } catch (...) {
        gError.Log(std::string(target_.ObjectName) + ".cmdImport_Click");
        RefuseIndex();
        return;
    }
    if (target_.RefusesPastRange && (block < 0 || block > FileTypes[static_cast<size_t>(target_.FileID)].NbrOfBlocks)) {
        RefuseIndex();
        return;
    }

    const Result converted = Convert(QImagePixels(Picture), block);
    if (!converted && target_.TellsFailure) {
        // Nothing changed: the user may pick another picture or number.
        TellOutcome(converted);
        return;
    }
    // Otherwise the user sees the outcome in the tree's counts; a failure is in the log.
    MenuRefresh();
    done(QDialog::Accepted);
}

void PictureImportForm::cmdCancel_Click() { done(QDialog::Rejected); }

void PictureImportForm::RefuseIndex() {
    const int32_t last = FileTypes[static_cast<size_t>(target_.FileID)].NbrOfBlocks;
    MsgBox(std::string("The ") + target_.Numbers + " index \"" + txtIndex->text().toStdString() +
           "\" is out of range: " + target_.Numbers + " numbers go from 0 to " + std::to_string(last) + " (0x0 to 0x" +
           HexText(static_cast<uint32_t>(last)) + ").");
    txtIndex->setFocus();
    txtIndex->selectAll();
}

}  // namespace quillet
