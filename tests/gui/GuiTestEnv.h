#pragma once
// A private world for each GUI test program: settings, log, program
// directory and scratch files in a temporary directory.
#include <QString>
#include <QTemporaryDir>

#include <string>
#include <vector>

namespace quillet::guitest {

class Environment {
public:
    Environment();
    ~Environment();
    QString Path(const QString& name) const { return dir_.filePath(name); }
    std::vector<std::string> messages;  // message boxes, captured

private:
    QTemporaryDir dir_;
};

// Grabs a widget to $QUILLET_SCREENSHOT_DIR/name.png when that is set.
void Screenshot(class QWidget* widget, const QString& name);

}  // namespace quillet::guitest
