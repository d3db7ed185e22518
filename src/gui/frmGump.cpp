#include "frmGump.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "FileDialogs.h"
#include "cWindow.h"
#include "mMenu.h"
#include "actions/mImportJobs.h"
#include "base/cError.h"
#include "core/mWait.h"
#include "qtpictures/PictureFiles.h"
#include "qtpictures/QImagePixels.h"
#include "support/Services.h"
#include "support/cConvert.h"

namespace quillet {

namespace {

// The drawn client area is 6315 wide, with a picture box off to its
// right; this height holds the two rows and the buttons with the same
// margin below as above.
constexpr int kClientHeight = 1500;

}  // namespace

frmGump::frmGump(QWidget* parent) : DialogForm(parent) {
    setObjectName("frmGump");
    setWindowTitle("Import gump");
    setModal(true);

    Label1 = MakeLabel(this, "Label1", "Gump index:");
    txtIndex = MakeText(this, "txtIndex", "0x00", 3075);
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
    Fit(6315, kClientHeight, true);

    connect(cmdPicture, &QPushButton::clicked, this, [this] { cmdPicture_Click(); });
    connect(cmdImport, &QPushButton::clicked, this, [this] { cmdImport_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });

    gWindow.wLoad(this, false);
}

frmGump::~frmGump() = default;

void frmGump::cmdPicture_Click() {
    const QString path =
        OpenDialog(this, "BMP picture (*.BMP)|*.bmp|JPG picture (*.JPG)|*.jpg|GIF Picture (*.gif)|*.gif",
                   "Open picture", QString::fromStdString(gFileIO.exepath));
    if (!path.isEmpty() && gFileIO.FileExist(path.toStdString())) txtPicture->setText(path);
}

void frmGump::cmdImport_Click() {
    const QString path = txtPicture->text();
    // A missing file ends the click without a word: the dialog stays.
    if (!gFileIO.FileExist(path.toStdString())) return;
    // The reader goes by the file's content, not its name, and takes what the
    // CLI's gump command takes.
    QImage picture;
    std::string unreadable;
    if (!ReadPicture(path.toStdString(), picture, unreadable)) {
        MsgBox("The file " + path.toStdString() +
               " could not be read as a picture. A gump is made from a BMP, JPG or GIF file.");
        return;
    }
    picGump = picture;
    int32_t block = 0;
    try {
        block = ParseBlockIndex(txtIndex->text().toStdString());
    } catch (...) {
        gError.Log("frmGump.cmdImport_Click");
        MsgBox("The gump index \"" + txtIndex->text().toStdString() +
               "\" is out of range: gump numbers go from 0 to 65535 (0x0 to 0xFFFF).");
        txtIndex->setFocus();
        txtIndex->selectAll();
        return;
    }

    // The user sees the outcome in the tree's counts; a failure is in the log.
    ImportGump(QImagePixels(picGump), block);
    MenuRefresh();
    done(QDialog::Accepted);
}

void frmGump::cmdCancel_Click() { done(QDialog::Rejected); }


}  // namespace quillet
