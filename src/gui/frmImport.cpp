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

    Label15 = MakeLabel(this, "Label15", "Select filetype:", true);
    Label5 = MakeLabel(this, "Label5", "Filetype:");
    cboMULType = new QComboBox(this);
    cboMULType->setObjectName("cboMULType");
    cboMULType->setEditable(false);
    cboMULType->setMinimumWidth(Px(3915));
    Label6 = MakeLabel(this, "Label6", "Select files to import from:", true);
    lblMUL = MakeLabel(this, "lblMUL", "MUL:");
    txtMUL = MakeText(this, "txtMUL", "", 3435);
    cmdMUL = MakeBrowseButton(this, "cmdMUL");
    lblIDX = MakeLabel(this, "lblIDX", "IDX:");
    txtIDX = MakeText(this, "txtIDX", "", 3435);
    cmdIDX = MakeBrowseButton(this, "cmdIDX");
    Label1 = MakeLabel(this, "Label1", "Limit range:", true);
    lblFileID = MakeLabel(this, "lblFileID", "Limit to fileID:");
    txtFileIDFrom = MakeText(this, "txtFileIDFrom", "0", 1155);
    lblFileIDTo = MakeLabel(this, "lblFileIDTo", "->");
    txtFileIDTo = MakeText(this, "txtFileIDTo", "255", 1155);
    Label3 = MakeLabel(this, "Label3", "Limit to block:");
    txtBlockFrom = MakeText(this, "txtBlockFrom", "0", 1155);
    Label4 = MakeLabel(this, "Label4", "->");
    txtBlockTo = MakeText(this, "txtBlockTo", std::to_string(HighestBlock()).c_str(), 1155);
    cmdImport = MakeButton(this, "cmdImport", "Import", 1335, kButtonHeight);
    cmdImport->setDefault(true);
    cmdCancel = MakeButton(this, "cmdCancel", "Cancel", 1335, kButtonHeight);
    StatusBar1 = MakeStatusBar(this);

    // Columns: 2 the "from" boxes, 3 the arrows, 4 the "to" boxes, 5 the
    // room that a wider dialog gives the paths, 6 the "..." buttons.
    QGridLayout* fields = Arrange({240, 240, 240, 1440, 345, 120, 105, 135}, {cmdImport, cmdCancel}, StatusBar1);
    fields->addWidget(Label15, 0, 0, 1, 7);
    fields->addWidget(Label5, 1, 1);
    fields->addWidget(cboMULType, 1, 2, 1, 5);
    GroupGap(fields, 2);
    fields->addWidget(Label6, 3, 0, 1, 7);
    fields->addWidget(lblMUL, 4, 1);
    fields->addWidget(txtMUL, 4, 2, 1, 4);
    fields->addWidget(cmdMUL, 4, 6);
    fields->addWidget(lblIDX, 5, 1);
    fields->addWidget(txtIDX, 5, 2, 1, 4);
    fields->addWidget(cmdIDX, 5, 6);
    GroupGap(fields, 6);
    fields->addWidget(Label1, 7, 0, 1, 7);
    fields->addWidget(lblFileID, 8, 1);
    fields->addWidget(txtFileIDFrom, 8, 2);
    fields->addWidget(lblFileIDTo, 8, 3, Qt::AlignCenter);
    fields->addWidget(txtFileIDTo, 8, 4);
    fields->addWidget(Label3, 9, 1);
    fields->addWidget(txtBlockFrom, 9, 2);
    fields->addWidget(Label4, 9, 3, Qt::AlignCenter);
    fields->addWidget(txtBlockTo, 9, 4);
    fields->setColumnMinimumWidth(3, Px(3660 - 3015) - 2 * Px(kColumnGap));
    fields->setColumnStretch(5, 1);
    for (QLineEdit* box : {txtFileIDFrom, txtFileIDTo, txtBlockFrom, txtBlockTo}) KeepWidth(box);
    KeepRoomWhenHidden({lblIDX, txtIDX, cmdIDX, lblFileID, txtFileIDFrom, lblFileIDTo, txtFileIDTo});
    Fit(7650, 4320, true);

    connect(cboMULType, &QComboBox::currentIndexChanged, this, [this] { cboMULType_Change(); });
    connect(cboMULType, &QComboBox::activated, this, [this] { cboMULType_Change(); });
    connect(cmdMUL, &QPushButton::clicked, this, [this] { cmdMUL_Click(); });
    connect(cmdIDX, &QPushButton::clicked, this, [this] { cmdIDX_Click(); });
    // A client's container in the MUL box needs no index file.
    connect(txtMUL, &QLineEdit::textChanged, this, [this] { cboMULType_Change(); });
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
        idx = NeedsIndexFile(static_cast<uint8_t>(item), Text(txtMUL));
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
    QString filter = kMulOrContainerFilter;
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
        if (NeedsIndexFile(static_cast<uint8_t>(item), mul) && !gFileIO.FileExist(Text(txtIDX))) return;
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
