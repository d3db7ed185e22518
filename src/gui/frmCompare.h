#pragma once
// The Compare dialog: two versions of one client file, the base set and the
// altered set, and the blocks that differ go into the patch. Only the file
// types are offered; the IDX rows show for the types that have an index.
// Its second mode compares two whole clients: two folders, and the types
// whose files both hold, each with a check box.
#include <cstdint>
#include <vector>

#include "DialogForm.h"

class QComboBox;
class QLabel;
class QListWidget;
class QRadioButton;
class QLineEdit;
class QPushButton;
class QStatusBar;

namespace quillet {

class frmCompare : public DialogForm {
    Q_OBJECT
public:
    explicit frmCompare(QWidget* parent = nullptr);
    ~frmCompare() override;

    void cboMULType_Change();
    void cmdMUL1_Click();
    void cmdMUL2_Click();
    void cmdIDX1_Click();
    void cmdIDX2_Click();
    void cmdCompare_Click();
    void cmdCancel_Click();
    // The mode buttons: one file type (the dialog as it always was) or two whole clients.
    void optMode_Click();
    void cmdDir1_Click();
    void cmdDir2_Click();
    // Lists the types found in both folders, all checked.
    void FindClientTypes();
    // The FileIDs whose boxes are checked.
    std::vector<uint8_t> CheckedTypes() const;

    QRadioButton* optOneType;
    QRadioButton* optWholeClient;
    QWidget* fraOneType;
    QWidget* fraClient;

    QLabel* Label15;
    QLabel* Label1;
    QComboBox* cboMULType;
    QLabel* Label5;
    QLabel* Label2;
    QLineEdit* txtMUL1;
    QPushButton* cmdMUL1;
    QLabel* lblIDX1;
    QLineEdit* txtIDX1;
    QPushButton* cmdIDX1;
    QLabel* Label6;
    QLabel* Label3;
    QLineEdit* txtMUL2;
    QPushButton* cmdMUL2;
    QLabel* lblIDX2;
    QLineEdit* txtIDX2;
    QPushButton* cmdIDX2;
    QPushButton* cmdCompare;
    QPushButton* cmdCancel;
    QStatusBar* StatusBar1;
    QLabel* lblDir1;
    QLineEdit* txtDir1;
    QPushButton* cmdDir1;
    QLabel* lblDir2;
    QLineEdit* txtDir2;
    QPushButton* cmdDir2;
    QLabel* lblTypes;
    QListWidget* lstTypes;
    QLabel* lblSkipped;

protected:

private:
    bool SelectedHasIndex(const QLineEdit* mul) const;  // an IDX file needed beside that MUL box's file
    void BrowseMUL(QLineEdit* box);
    void BrowseIDX(QLineEdit* box);
    void BrowseDir(QLineEdit* box);
    void CompareOneType();
    void CompareWholeClients();
};

}  // namespace quillet
