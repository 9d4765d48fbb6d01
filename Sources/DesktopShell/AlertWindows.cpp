// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/DesktopShell/AlertWindows.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <QApplication>

namespace zelvane {

namespace {

void fill(QMessageBox& box, const Error& error) {
    box.setObjectName(QStringLiteral("alert"));
    box.setIcon(QMessageBox::Warning);
    box.setWindowTitle(QStringLiteral("Zelvane"));
    // Names of files and devices are no markup.
    box.setTextFormat(Qt::PlainText);
    box.setText(QString::fromStdString(error.description));
    box.setInformativeText(QString::fromStdString(error.recoverySuggestion));
    box.setStandardButtons(QMessageBox::Ok);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

/// A modal dialog lets nobody else be clicked but its own; the alert stays when the dialog goes.
void putBeforeDialog(QMessageBox& box) {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) return;
    box.setParent(dialog, box.windowFlags());
    QObject::connect(dialog, &QDialog::finished, &box, [&box] {
        box.setParent(nullptr, box.windowFlags());
        box.show();
    });
}

}  // namespace

AlertWindows::~AlertWindows() {
    for (auto& [text, window] : _windows) delete window.box.data();
}

void AlertWindows::present(const Error& error) {
    const QString text = QString::fromStdString(error.description);
    Window& window = _windows[text];
    if (window.box == nullptr) {
        window = {new QMessageBox, 1};
        fill(*window.box, error);
        window.box->setModal(false);
        window.box->setAttribute(Qt::WA_DeleteOnClose);
        putBeforeDialog(*window.box);
        return window.box->show();
    }
    const std::string times = formatted(localizedString("This happened %d times."), {std::to_string(++window.times)});
    window.box->setInformativeText(
        QString::fromStdString(error.recoverySuggestion.empty() ? times : error.recoverySuggestion + "\n" + times));
}

void AlertWindows::presentAndWait(const Error& error) {
    QMessageBox box;
    fill(box, error);
    box.setIcon(QMessageBox::Critical);
    box.exec();
}

}  // namespace zelvane
