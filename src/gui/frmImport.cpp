#include "frmImport.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>

#include "FileDialogs.h"
#include "actions/JobOutcome.h"
#include "actions/mImportJobs.h"
#include "base/cError.h"
#include "cWindow.h"
#include "core/mMuls.h"
#include "core/mWait.h"
#include "mMenu.h"
#include "support/Services.h"
#include "support/cConvert.h"

namespace quillet {

namespace {

std::string Text(const QLineEdit* edit) { return edit->text().toStdString(); }

// The parse of one limit box; a value that does not fit its range names the
// box, so the handler can point the user at it.
struct LimitError {
    QLineEdit* box;
    const char* range;
};

int32_t BlockLimit(QLineEdit* box) {
    try {
        return ParseLongPrefix(Text(box));
    } catch (...) {
        throw LimitError{box, "block numbers go from -2147483648 to 2147483647"};
    }
}

uint8_t FileIDLimit(QLineEdit* box) {
    try {
        return ParseBytePrefix(Text(box));
    } catch (...) {
        throw LimitError{box, "fileIDs go from 0 to 255"};
    }
}

}  // namespace

frmImport::frmImport(QWidget* parent) : DialogForm(parent) {
    setObjectName("frmImport");
    setWindowTitle("Import");
    setModal(true);
    setFixedSize(Px(7650), Px(4320));

    Label15 = MakeLabel(this, "Label15", "Select filetype:", 240, 240, true);
    Label5 = MakeLabel(this, "Label5", "Filetype:", 480, 600);
    cboMULType = new QComboBox(this);
    cboMULType->setObjectName("cboMULType");
    cboMULType->setEditable(false);
    cboMULType->setGeometry(Px(1920), Px(540), Px(3915), Px(kBoxHeight));
    Label6 = MakeLabel(this, "Label6", "Select files to import from:", 240, 1200, true);
    lblMUL = MakeLabel(this, "lblMUL", "MUL:", 480, 1560);
    txtMUL = MakeText(this, "txtMUL", "", 1920, 1560, 3435);
    cmdMUL = MakeButton(this, "cmdMUL", "...", 5460, 1560, 375, kBoxHeight);
    lblIDX = MakeLabel(this, "lblIDX", "IDX:", 480, 1980);
    txtIDX = MakeText(this, "txtIDX", "", 1920, 1980, 3435);
    cmdIDX = MakeButton(this, "cmdIDX", "...", 5460, 1980, 375, kBoxHeight);
    Label1 = MakeLabel(this, "Label1", "Limit range:", 240, 2520, true);
    lblFileID = MakeLabel(this, "lblFileID", "Limit to fileID:", 420, 2880);
    txtFileIDFrom = MakeText(this, "txtFileIDFrom", "0", 1860, 2880, 1155);
    lblFileIDTo = MakeLabel(this, "lblFileIDTo", "->", 3240, 2880);
    txtFileIDTo = MakeText(this, "txtFileIDTo", "255", 3660, 2880, 1155);
    Label3 = MakeLabel(this, "Label3", "Limit to block:", 420, 3300);
    txtBlockFrom = MakeText(this, "txtBlockFrom", "0", 1860, 3300, 1155);
    Label4 = MakeLabel(this, "Label4", "->", 3240, 3300);
    txtBlockTo = MakeText(this, "txtBlockTo", "400000", 3660, 3300, 1155);
    cmdImport = MakeButton(this, "cmdImport", "Import", 6180, 120, 1335, kButtonHeight);
    cmdImport->setDefault(true);
    cmdCancel = MakeButton(this, "cmdCancel", "Cancel", 6180, 600, 1335, kButtonHeight);
    StatusBar1 = MakeStatusBar(this);

    connect(cboMULType, &QComboBox::currentIndexChanged, this, [this] { cboMULType_Change(); });
    connect(cboMULType, &QComboBox::activated, this, [this] { cboMULType_Change(); });
    connect(cmdMUL, &QPushButton::clicked, this, [this] { cmdMUL_Click(); });
    connect(cmdIDX, &QPushButton::clicked, this, [this] { cmdIDX_Click(); });
    connect(cmdImport, &QPushButton::clicked, this, [this] { cmdImport_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });

    // The form's load: the patch sources first, then the file types.
    cboMULType->clear();
    cboMULType->addItem("MUO Patchfile (*.MUO)", kMUO);
    cboMULType->addItem("Verdata (Verdata.mul)", kVerdata);
    cboMULType->addItem("UOP Patchfile (*.UOP)", kUOP);
    for (int id = 0; id <= 200; ++id) {
        const FileTypeRec& row = FileTypes[static_cast<size_t>(id)];
        if (row.Name.empty()) continue;
        cboMULType->addItem(QString::fromStdString(row.Name) + " (" + QString::number(id) + ")", id);
    }
    cboMULType->setCurrentIndex(0);
    cboMULType_Change();
    gWindow.wLoad(this, false);
}

frmImport::~frmImport() = default;

int frmImport::SelectedItemData() const { return cboMULType->currentData().toInt(); }

void frmImport::cboMULType_Change() {
    const int item = SelectedItemData();
    bool idx = false;
    bool fileIDs = false;
    if (item >= kUOP) {
        fileIDs = true;
    } else if (item >= 0 && item < kFileIDs) {
        idx = FileTypes[static_cast<size_t>(item)].ConstantIndex == 0;
    }
    for (QWidget* control : {static_cast<QWidget*>(txtIDX), static_cast<QWidget*>(lblIDX),
                             static_cast<QWidget*>(cmdIDX)})
        control->setVisible(idx);
    for (QWidget* control : {static_cast<QWidget*>(txtFileIDFrom), static_cast<QWidget*>(txtFileIDTo),
                             static_cast<QWidget*>(lblFileID), static_cast<QWidget*>(lblFileIDTo)})
        control->setVisible(fileIDs);
}

void frmImport::cmdMUL_Click() {
    QString title = "Import from mul file";
    QString filter = "Mul file (*.mul) |*.mul";
    switch (cboMULType->currentIndex()) {
        case 0:
            title = "Patchfile";
            filter = "Patchfile (*.muo) |*.muo";
            break;
        case 1:
            title = "Verdata.mul";
            filter = "Verdata (*.mul) |*.mul";
            break;
        case 2:
            title = "Patchfile";
            filter = "Patchfile (*.uop) |*.uop";
            break;
        default: break;
    }
    const QString path = OpenDialog(this, filter, title, QString::fromStdString(gFileIO.exepath));
    if (!path.isEmpty()) txtMUL->setText(path);
}

void frmImport::cmdIDX_Click() {
    const QString path = OpenDialog(this, "MUL index (*.idx)|*.idx|MUL index (*.mul)|*.mul", "Open MUL index",
                                    QString::fromStdString(gFileIO.exepath));
    if (!path.isEmpty() && gFileIO.FileExist(path.toStdString())) txtIDX->setText(path);
}

void frmImport::cmdImport_Click() {
    const int item = SelectedItemData();
    const std::string mul = Text(txtMUL);
    // A file that is missing ends the click without a word: the dialog stays.
    if (!gFileIO.FileExist(mul)) return;
    if (item < kUOP) {
        if (item < 0 || item >= kFileIDs) return;
        const FileTypeRec& type = FileTypes[static_cast<size_t>(item)];
        if (type.ConstantIndex == 0 && !gFileIO.FileExist(Text(txtIDX))) return;
    }

    // The limits are read before the dialog goes out of sight: a limit that
    // does not fit its range is shown to the user with the dialog still open,
    // and no wait begins. A hidden box is not read.
    uint8_t fromFileID = 0;
    uint8_t toFileID = 255;
    int32_t fromBlock = 0;
    int32_t toBlock = 0;
    try {
        if (item >= kUOP) {
            fromFileID = FileIDLimit(txtFileIDFrom);
            toFileID = FileIDLimit(txtFileIDTo);
        }
        fromBlock = BlockLimit(txtBlockFrom);
        toBlock = BlockLimit(txtBlockTo);
    } catch (const LimitError& error) {
        gError.Log("frmImport.cmdImport_Click",
                   "Overflow in " + error.box->objectName().toStdString() + " (\"" + Text(error.box) + "\")");
        MsgBox("The limit \"" + Text(error.box) + "\" is out of range: " + error.range + ".");
        error.box->setFocus();
        error.box->selectAll();
        return;
    }

    ImportRequest request;
    request.Source = item;
    request.File = mul;
    request.Index = Text(txtIDX);
    request.FromFileID = fromFileID;
    request.ToFileID = toFileID;
    request.FromBlock = fromBlock;
    request.ToBlock = toBlock;
    hide();
    // The user sees the outcome in the tree's counts, and in one message
    // what failed or was gone on past.
    const Result outcome = ImportFrom(request);
    MenuRefresh();
    TellOutcome(outcome);
    done(QDialog::Accepted);
}

void frmImport::cmdCancel_Click() { done(QDialog::Rejected); }


}  // namespace quillet
