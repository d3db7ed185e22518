#pragma once
// The Export dialog: the door to writing verdata.mul beside the program. Its
// list has one entry, verdata being the only export target.
#include "DialogForm.h"

class QComboBox;
class QLabel;
class QPushButton;
class QStatusBar;

namespace quillet {

class frmExport : public DialogForm {
    Q_OBJECT
public:
    explicit frmExport(QWidget* parent = nullptr);
    ~frmExport() override;

    void cmdExport_Click();
    void cmdCancel_Click();

    QLabel* Label15;
    QLabel* Label5;
    QComboBox* cboMULType;
    QPushButton* cmdExport;
    QPushButton* cmdCancel;
    QStatusBar* StatusBar1;

protected:

private:
};

}  // namespace quillet
