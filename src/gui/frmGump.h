#pragma once
// The gump import: an ordinary picture file (BMP, JPG, GIF) becomes one block
// of the Gumps type in the open patch, at the number the user gives. Unlike
// the other dialogs it stays in sight while the conversion runs.
#include <QDialog>
#include <QImage>

class QLabel;
class QLineEdit;
class QPushButton;

namespace quillet {

class frmGump : public QDialog {
    Q_OBJECT
public:
    explicit frmGump(QWidget* parent = nullptr);
    ~frmGump() override;

    bool Unloaded() const { return unloaded_; }

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
    void done(int result) override;

private:
    bool unloaded_ = false;
};

}  // namespace quillet
