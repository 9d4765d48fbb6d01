// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/DesktopShell/FallbackWindow.h"

#include "Platform/Foundation/LocalizedString.h"

#include <QAction>
#include <QFrame>
#include <QHBoxLayout>
#include <QToolButton>
#include <QVBoxLayout>

namespace zelvane {

namespace {

constexpr int kImageSize = 32;

QFrame* makeLine(QWidget& parent) {
    auto* line = new QFrame(&parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

QToolButton* makeButton(QAction& action, QWidget& parent) {
    auto* button = new QToolButton(&parent);
    button->setObjectName(action.objectName() + QStringLiteral("Button"));
    button->setDefaultAction(&action);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return button;
}

}  // namespace

FallbackWindow::FallbackWindow(QtStatusItem& statusItem, const QMenu& menu)
    : _statusItem(statusItem), _image(new QLabel(this)), _state(new QLabel(this)) {
    setObjectName(QStringLiteral("fallbackWindow"));
    setWindowTitle(QStringLiteral("Zelvane"));
    _image->setObjectName(QStringLiteral("statusImage"));
    _state->setObjectName(QStringLiteral("statusText"));
    _state->setTextFormat(Qt::PlainText);
    _state->setWordWrap(true);
    _state->setMinimumWidth(fontMetrics().averageCharWidth() * 36);
    auto* column = new QVBoxLayout(this);
    auto* head = new QHBoxLayout;
    head->addWidget(_image, 0, Qt::AlignTop);
    head->addWidget(_state, 1);
    column->addLayout(head);
    for (QAction* action : menu.actions())
        column->addWidget(action->isSeparator() ? static_cast<QWidget*>(makeLine(*this)) : makeButton(*action, *this));
    auto* note = new QLabel(QString::fromStdString(localizedString(
                                "Zelvane goes on playing when this window is closed. Start it again to see it.")),
                            this);
    note->setObjectName(QStringLiteral("note"));
    note->setWordWrap(true);
    column->addWidget(makeLine(*this));
    column->addWidget(note);
    column->addStretch();
    // The shortcuts are those of the menu, which has no window of its own here.
    addActions(menu.actions());
    update();
}

void FallbackWindow::update() {
    const QIcon icon = _statusItem.icon();
    if (icon.cacheKey() != windowIcon().cacheKey()) {
        setWindowIcon(icon);
        _image->setPixmap(icon.pixmap(kImageSize));
    }
    _state->setText(_statusItem.toolTip());
    growToText();
}

// Qt asks a window for the height of its wrapped texts only when it is shown.
void FallbackWindow::growToText() {
    layout()->activate();
    const int needed = layout()->totalHeightForWidth(width());
    if (isVisible() && needed > height()) resize(width(), needed);
}

void FallbackWindow::bringUp() {
    show();
    raise();
    activateWindow();
}

}  // namespace zelvane
