#pragma once
// The Import dialog: a kind of source, a file (and an index), optional
// limits, and the loader that takes them. It decides nothing about blocks
// itself: it shows what the selection needs, tests that the named files
// exist, and hands the parsed limits to the right loader.
#include "DialogForm.h"
#include "actions/mImportJobs.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStatusBar;

namespace quillet {

class frmImport : public DialogForm {
    Q_OBJECT
public:
    // Item data of cboMULType beside the FileIDs of the file types.
    static constexpr int kUOP = kSourceUOP;
    static constexpr int kVerdata = kSourceVerdata;
    static constexpr int kMUO = kSourceMUO;

    explicit frmImport(QWidget* parent = nullptr);
    ~frmImport() override;

    void cboMULType_Change();
    void cmdMUL_Click();
    void cmdIDX_Click();
    void cmdImport_Click();
    void cmdCancel_Click();

    QLabel* Label15;
    QLabel* Label5;
    QComboBox* cboMULType;
    QLabel* Label6;
    QLabel* lblMUL;
    QLineEdit* txtMUL;
    QPushButton* cmdMUL;
    QLabel* lblIDX;
    QLineEdit* txtIDX;
    QPushButton* cmdIDX;
    QLabel* Label1;
    QLabel* lblFileID;
    QLineEdit* txtFileIDFrom;
    QLabel* lblFileIDTo;
    QLineEdit* txtFileIDTo;
    QLabel* Label3;
    QLineEdit* txtBlockFrom;
    QLabel* Label4;
    QLineEdit* txtBlockTo;
    QPushButton* cmdImport;
    QPushButton* cmdCancel;
    QStatusBar* StatusBar1;

protected:

private:
    int SelectedItemData() const;
};

}  // namespace quillet
