#pragma once
// The start page: title, version and the agreement text.
#include <QWidget>

class QLabel;
class QPlainTextEdit;

namespace quillet {

// "Version 1.0", or "Version 1.0 (Internal build 7)" for a revision above 0.
QString VersionLine(int major, int minor, int revision);

class uLicense : public QWidget {
    Q_OBJECT
public:
    explicit uLicense(QWidget* parent = nullptr);

    QLabel* lblTitle;
    QLabel* lblVersion;
    QLabel* lblCopyright;
    QPlainTextEdit* txtLicense;
};

}  // namespace quillet
