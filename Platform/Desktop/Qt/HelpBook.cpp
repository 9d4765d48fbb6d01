// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/HelpBook.h"

#include "Platform/Desktop/Qt/HelpWindow.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Resources.h"

#include <QProcess>
#include <QStandardPaths>
#include <QUrl>
#include <QWidget>
#include <memory>

namespace zelvane {

bool HelpBook::openHelpAnchor(const QString& anchor, const QString& book, QWidget* parent) {
    const auto page = book == QLatin1String(kBook) ? helpPage(anchor.toStdString()) : std::nullopt;
    if (!page) {
        Log::write("HelpBook: [%@] there is no page %@", {"openHelpAnchor:inBook:", anchor.toStdString()});
        return false;
    }
    const QString file = QString::fromStdString(page->string());
    // Qt's own way says that it worked also where nothing opened.
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (opener.isEmpty()) {
        openOurWindow(file, parent);
    } else {
        openByDesktop(opener, file, parent);
    }
    return true;
}

/// What it starts may stay for as long as the browser does: it is not waited for, and belongs to nobody.
void HelpBook::openByDesktop(const QString& opener, const QString& page, QWidget* parent) {
    auto* process = std::make_unique<QProcess>().release();
    const bool hadParent = parent != nullptr;
    const auto failed = [this, page, hadParent, place = QPointer<QWidget>(parent)] {
        if (!hadParent || place != nullptr) openOurWindow(page, place);
    };
    connect(process, &QProcess::finished, this, [failed](int status, QProcess::ExitStatus kind) {
        if (kind != QProcess::NormalExit || status != 0) failed();
    });
    connect(process, &QProcess::errorOccurred, this, [failed](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) failed();
    });
    connect(process, &QProcess::finished, process, &QObject::deleteLater);
    connect(process, &QProcess::errorOccurred, process, [process](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) process->deleteLater();
    });
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(opener, {QUrl::fromLocalFile(page).toString(QUrl::FullyEncoded)});
}

void HelpBook::openOurWindow(const QString& page, QWidget* parent) {
    if (_window != nullptr && _window->parentWidget() != parent) {
        _window->close();
        _window = nullptr;
    }
    if (_window == nullptr) _window = new HelpWindow(parent);
    _window->show(page);
}

}  // namespace zelvane
