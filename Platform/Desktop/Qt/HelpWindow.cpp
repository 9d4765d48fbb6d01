// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/HelpWindow.h"

#include "Platform/Foundation/LocalizedString.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QPushButton>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace zelvane {

namespace {

/// The style that the pages bring is for browsers.
class Pages : public QTextBrowser {
  public:
    QVariant loadResource(int type, const QUrl& name) override {
        return type == QTextDocument::StyleSheetResource ? QVariant(QString()) : QTextBrowser::loadResource(type, name);
    }
};

}  // namespace

HelpWindow::HelpWindow(QWidget* parent) : QDialog(parent), _pages(new Pages) {
    setObjectName(QStringLiteral("helpWindow"));
    setWindowTitle(QString::fromStdString(localizedString("Zelvane Help")));
    setAttribute(Qt::WA_DeleteOnClose);
    _pages->setObjectName(QStringLiteral("helpPages"));
    _pages->setFrameShape(QFrame::NoFrame);
    // Pages of ours link among themselves only.
    _pages->setOpenExternalLinks(false);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->setObjectName(QStringLiteral("helpButtons"));
    buttons->button(QDialogButtonBox::Close)->setText(QString::fromStdString(localizedString("&Close")));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(_pages);
    column->addWidget(buttons);
    applyStyle();
    resize(fontMetrics().averageCharWidth() * 90, fontMetrics().height() * 34);
}

void HelpWindow::show(const QString& page) {
    _pages->setSource(QUrl::fromLocalFile(page));
    QDialog::show();
    raise();
    activateWindow();
    _pages->setFocus();
}

void HelpWindow::applyStyle() {
    const QString link = palette().color(QPalette::Link).name();
    _pages->document()->setDocumentMargin(fontMetrics().height());
    _pages->document()->setDefaultStyleSheet(
        QStringLiteral(
            "h1 { font-size: x-large; } h2 { font-size: large; margin-top: 16px; } p, li { line-height: 130%; }"
            " dt { font-weight: bold; margin-top: 8px; } a { color: %1; }")
            .arg(link));
    _pages->reload();
}

void HelpWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) applyStyle();
    QDialog::changeEvent(event);
}

}  // namespace zelvane
