#pragma once
// What the picture imports share: a dialog that takes a picture file (BMP,
// JPG, GIF or PNG, told by content) and a block number, and converts the one
// into the other in the open patch. It stays in sight while the conversion
// runs. The gump and the art import differ only in what this is told.
#include <QImage>

#include <cstdint>
#include <string>

#include "DialogForm.h"
#include "base/Result.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace quillet {

class PixelSource;

class PictureImportForm : public DialogForm {
    Q_OBJECT
public:
    ~PictureImportForm() override;

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
    QImage Picture;

protected:
    // What a picture becomes: the type, how the dialog names it and its blocks.
    struct Target {
        const char* ObjectName;    // "frmGump", under which the place is saved
        const char* Caption;       // "Import gump"
        const char* IndexLabel;    // "Gump index:"
        const char* DefaultIndex;  // "0x00"
        const char* Made;          // "A gump", in "... is made from a BMP, JPG, GIF or PNG file."
        const char* Numbers;       // "gump", in "gump index" and "gump numbers"
        int FileID;                // the type, whose last block ends the range
        // Whether the dialog refuses a number past the type itself, or leaves that to the job.
        bool RefusesPastRange;
        // Whether a failed conversion is told, and the dialog stays for another try.
        bool TellsFailure;
    };

    PictureImportForm(QWidget* parent, const Target& target);

    // The conversion, under its own wait text.
    virtual Result Convert(const PixelSource& picture, int32_t block) = 0;

private:
    // Tells the user that the index text is no block of the type.
    void RefuseIndex();

    Target target_;
};

}  // namespace quillet
