#include "uLicense.h"

#include <QLabel>
#include <QPlainTextEdit>

#include "cWindow.h"
#include "base/AppInfo.h"

namespace quillet {

namespace {

constexpr const char* kAgreement =
    "Quillet changes the data files of your game client. Use it on a copy of the "
    "client, and keep backups of the files you care about.\n\n"
    "Quillet never writes into the client's own MUL and IDX files. It writes the "
    "patch files you save, and a new verdata.mul beside the program; the previous "
    "verdata.mul is kept as a backup.\n\n"
    "This program is provided as it is, without warranty of any kind. You use it at "
    "your own risk, and the makers are not liable for any damage or loss of data "
    "that may come from its use.\n\n"
    "The game and its data belong to their owners. Respect the terms under which "
    "you received your client, and share patches only where you are allowed to.";

}  // namespace

QString VersionLine(int major, int minor, int revision) {
    QString line = QString("Version %1.%2").arg(major).arg(minor);
    if (revision > 0) line += QString(" (Internal build %1)").arg(revision);
    return line;
}

uLicense::uLicense(QWidget* parent) : QWidget(parent) {
    setObjectName("pageLicense");
    lblTitle = new QLabel(kAppTitle, this);
    lblTitle->setObjectName("lblTitle");
    lblTitle->setAlignment(Qt::AlignCenter);
    QFont titleFont = lblTitle->font();
    titleFont.setBold(true);
    titleFont.setPointSize(18);
    lblTitle->setFont(titleFont);

    lblVersion = new QLabel(VersionLine(QUILLET_VERSION_MAJOR, QUILLET_VERSION_MINOR, QUILLET_VERSION_REVISION), this);
    lblVersion->setObjectName("lblVersion");
    lblVersion->setAlignment(Qt::AlignCenter);

    lblCopyright = new QLabel("Made by the Quillet developers for shard maintainers and modders", this);
    lblCopyright->setObjectName("lblCopyright");
    lblCopyright->setAlignment(Qt::AlignCenter);

    txtLicense = new QPlainTextEdit(kAgreement, this);
    txtLicense->setObjectName("txtLicense");
    txtLicense->setReadOnly(true);
    txtLicense->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    txtLicense->setBackgroundRole(QPalette::Button);
    QPalette palette = txtLicense->palette();
    palette.setColor(QPalette::Base, palette.color(QPalette::Button));
    txtLicense->setPalette(palette);

    lblTitle->setGeometry(Px(200), Px(180), 100, Px(495));
    lblVersion->setGeometry(Px(200), Px(660), 100, Px(315));
    lblCopyright->setGeometry(Px(200), Px(900), 100, Px(255));
    txtLicense->setGeometry(Px(200), Px(1380), 100, 100);
    resize(Px(6420), Px(5745));
}

void uLicense::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The text box takes the room below the labels, margins 200 at the sides
    // and 400 at the bottom; too small a page leaves the controls as they were.
    const int width = this->width() - Px(400);
    const int height = this->height() - txtLicense->y() - Px(400);
    if (width > 0) {
        txtLicense->setGeometry(Px(200), txtLicense->y(), width, txtLicense->height());
        for (QLabel* label : {lblTitle, lblVersion, lblCopyright})
            label->setGeometry(Px(200), label->y(), width, label->height());
    }
    if (height > 0) txtLicense->resize(txtLicense->width(), height);
}

}  // namespace quillet
