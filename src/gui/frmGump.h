#pragma once
// The gump import: an ordinary picture file (BMP, JPG, GIF) becomes one block
// of the Gumps type in the open patch, at the number the user gives. Unlike
// the other dialogs it stays in sight while the conversion runs.
#include "DialogForm.h"
#include <QImage>

class QLabel;
class QLineEdit;
class QPushButton;

namespace quillet {

class frmGump : public DialogForm {
    Q_OBJECT
public:
    explicit frmGump(QWidget* parent = nullptr);
    ~frmGump() override;

    void cmdPicture_Click();
    void cmdImport_Click();
    void cmdCancel_Click();

    QLabel* Label1;
    QLineEdit* txtIndex;
    QLabel* Label2;
    QLineEdit* txtPicture;
    QPushButton* cmdPicture;
    QPushButton* cmdImport;
    QPushButton* cmdCancel;
    // The picture being converted; it is never shown.
    QImage picGump;

protected:

private:
};

}  // namespace quillet
