#include "frmExport.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>

#include "actions/mExportJob.h"
#include "base/AppInfo.h"
#include "cWindow.h"
#include "core/mWait.h"
#include "support/Services.h"

namespace quillet {

namespace {

constexpr int kVerdata = 301;       // the item data that stands for verdata, as in the Import dialog

}  // namespace

frmExport::frmExport(QWidget* parent) : DialogForm(parent) {
    setObjectName("frmExport");
    setWindowTitle("Export");
    setModal(true);

    Label15 = MakeLabel(this, "Label15", "Select filetype:", true);
    Label5 = MakeLabel(this, "Label5", "Filetype:");
    cboMULType = new QComboBox(this);
    cboMULType->setObjectName("cboMULType");
    cboMULType->setEditable(false);
    cboMULType->setMinimumWidth(Px(3915));
    cmdExport = MakeButton(this, "cmdExport", "Export", 1335, kButtonHeight);
    cmdExport->setDefault(true);
    cmdCancel = MakeButton(this, "cmdCancel", "Cancel", 1335, kButtonHeight);
    StatusBar1 = MakeStatusBar(this);

    QGridLayout* fields = Arrange({120, 240, 240, 1440, 345, 120, 105, 120}, {cmdExport, cmdCancel}, StatusBar1);
    fields->addWidget(Label15, 0, 0, 1, 3);
    fields->addWidget(Label5, 1, 1);
    fields->addWidget(cboMULType, 1, 2);
    Fit(7515, 1695, false);

    connect(cmdExport, &QPushButton::clicked, this, [this] { cmdExport_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });

    // The form's load.
    cboMULType->clear();
    cboMULType->addItem("Verdata (Verdata.mul)", kVerdata);
    cboMULType->setCurrentIndex(0);
    gWindow.wLoad(this, false);
}

frmExport::~frmExport() = default;

void frmExport::cmdExport_Click() {
    // The list is not read: verdata is all there is. ExportVerdata tells the
    // user of the failures it foresees; one it only logs (a full disk, say)
    // is told here. The dialog closes whatever the outcome, and as an export
    // does not change the patch, nothing is refreshed.
    // Another program exporting into the same folder is told at once
    // (NoWait): a window that hangs until that one ends tells nothing.
    // Without a verdata.mul beside the program the user chooses: a new, empty
    // one to export into, or no export at all (the dialog closes, nothing is
    // written).
    MissingVerdata missing = MissingVerdata::Tell;
    if (ExportNeedsNewVerdata(gFileIO.exepath)) {
        const QString where = QDir::cleanPath(QString::fromStdString(gFileIO.exepath));
        const auto answer =
            QMessageBox::question(this, kAppTitle,
                                  "There is no verdata.mul in " + where +
                                      ".\n\nCreate a new, empty verdata.mul there and export the patch into it?",
                                  QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        if (answer != QMessageBox::Yes) {
            done(QDialog::Rejected);
            return;
        }
        missing = MissingVerdata::Create;
    }
    hide();
    const Result exported = ExportToVerdata(gFileIO.exepath, LockWait::NoWait, missing);
    if (!exported && !exported.WasShown())
        MsgBox("verdata.mul was not written; the file that was there is unchanged. The log tells why.");
    if (!exported.Warnings().empty()) {
        std::string text;
        for (const std::string& warning : exported.Warnings()) text += (text.empty() ? "" : "\r\n") + warning;
        MsgBox(text);
    }
    done(QDialog::Accepted);
}

void frmExport::cmdCancel_Click() { done(QDialog::Rejected); }


}  // namespace quillet
