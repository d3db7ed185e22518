#include "uLicense.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include <utility>

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

    // The labels centred above the text box, which takes the room below them;
    // margins of 200 twips at the sides and 400 at the bottom. The labels
    // wrap rather than cut their lines on a narrow page.
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Px(200), Px(180), Px(200), Px(400));
    layout->setSpacing(0);
    const std::pair<QLabel*, int> labels[] = {{lblTitle, 495}, {lblVersion, 315}, {lblCopyright, 255}};
    for (const auto& [label, height] : labels) {
        label->setWordWrap(true);
        label->setMinimumHeight(Px(height));
        layout->addWidget(label);
    }
    layout->addSpacing(Px(1380 - 900 - 255));
    layout->addWidget(txtLicense, 1);
    resize(Px(6420), Px(5745));
}

}  // namespace quillet
