// Start-up: the service objects exist before main (in their order), the
// client's location is looked up, then the main window, two rounds of pending
// events, the first empty patch and the first refresh. From there on the
// program lives on window events.
#include <QApplication>

#include "actions/mStart.h"
#include "base/AppInfo.h"
#include "frmStart.h"
#include "mMenu.h"
#include "support/Services.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(quillet::kAppTitle);
    QApplication::setOrganizationName(quillet::kAppTitle);
    quillet::ClientLocation();

    quillet::frmStart& form = quillet::frmStart::Instance();
    form.show();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    quillet::PatchNew();
    quillet::MenuRefresh();
    return QApplication::exec();
}
