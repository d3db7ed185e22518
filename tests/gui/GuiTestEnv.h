#pragma once
// A private world for each GUI test program: settings, log, program
// directory and scratch files in a temporary directory.
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <functional>
#include <string>
#include <vector>

#include "core/mWait.h"
#include "base/ByteIO.h"

namespace quillet::guitest {

class Environment {
public:
    Environment();
    ~Environment();
    QString Path(const QString& name) const { return dir_.filePath(name); }
    std::vector<std::string> messages;  // message boxes, captured
    std::vector<std::string> warnings;  // message boxes with the warning icon, captured
    // Message boxes land in `messages` and `warnings` instead of waiting for a click.
    void CaptureMessages() {
        WaitHooks hooks = CurrentWaitHooks();
        hooks.message = [this](const std::string& text) { messages.push_back(text); };
        hooks.warning = [this](const std::string& text) { warnings.push_back(text); };
        InstallWaitHooks(hooks);
    }
    // seen hears every Wait_Start, after the front end's own hook has run.
    static void OnWaitStart(std::function<void(const std::string& text)> seen) {
        WaitHooks hooks = CurrentWaitHooks();
        hooks.start = [start = hooks.start, seen = std::move(seen)](const std::string& text) {
            if (start) start(text);
            seen(text);
        };
        InstallWaitHooks(hooks);
    }

private:
    QTemporaryDir dir_;
};

// A whole file: empty when it cannot be read; written anew.
inline QByteArray ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
inline bool WriteAll(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}
inline ByteArray ReadBytes(const QString& path) {
    const QByteArray bytes = ReadAll(path);
    return ByteArray(bytes.begin(), bytes.end());
}
inline bool WriteAll(const QString& path, const ByteArray& bytes) {
    return WriteAll(path,
                    QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())));
}

// The texts of the nodes under the tree's root ("Map (0)", ...).
inline QStringList NodeTexts(QTreeWidget* tree) {
    QStringList texts;
    QTreeWidgetItem* root = tree->topLevelItem(0);
    for (int i = 0; root && i < root->childCount(); ++i) texts << root->child(i)->text(0);
    return texts;
}

// The node of the tree with this key ("PATCHES", "P12"), or nullptr.
inline QTreeWidgetItem* Node(QTreeWidget* tree, const QString& key) {
    for (QTreeWidgetItem* item : tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive))
        if (item->data(0, Qt::UserRole).toString() == key) return item;
    return nullptr;
}

// Grabs a widget to $QUILLET_SCREENSHOT_DIR/name.png when that is set.
void Screenshot(class QWidget* widget, const QString& name);

// What is wrong with the look of a shown window, one line each: a label,
// check box or button whose text does not fit it, two visible controls of
// one parent that overlap, a control that sticks out of its parent (but for
// the content of a scroll area). Empty when all is well.
QStringList LayoutFaults(QWidget* top);

}  // namespace quillet::guitest
