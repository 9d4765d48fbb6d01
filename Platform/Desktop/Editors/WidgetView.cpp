// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/WidgetView.h"

#include <QVBoxLayout>
#include <utility>

namespace zelvane {

WidgetView::WidgetView(QSize sizeBefore, MakeEditor makeEditor)
    : _makeEditor(std::move(makeEditor)), _widget(std::make_unique<QWidget>()) {
    _widget->setObjectName(QStringLiteral("editor"));
    _widget->resize(sizeBefore);
}

void WidgetView::load() {
    if (_editor != nullptr) return;
    _editor = _makeEditor(*this).release();
    auto* column = new QVBoxLayout(_widget.get());
    column->setContentsMargins(0, 0, 0, 0);
    column->setSizeConstraint(QLayout::SetMinAndMaxSize);
    column->addWidget(_editor);
    column->activate();
    _widget->resize(_editor->sizeHint().expandedTo(_widget->minimumSize()));
    _editor->show();
}

void WidgetView::unload() {
    delete _editor.data();
    delete _widget->layout();
    _widget->setMinimumSize(0, 0);
    _widget->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
}

void WidgetView::reloadLater() {
    QMetaObject::invokeMethod(
        _widget.get(),
        [this] {
            unload();
            load();
        },
        Qt::QueuedConnection);
}

// Without a parent it would become a window of its own.
void WidgetView::setHidden(bool isHidden) {
    _isHidden = isHidden;
    if (_widget->parentWidget() == nullptr) return;
    if (!isHidden && _widget->window()->isVisible()) load();
    _widget->setVisible(!isHidden);
}

}  // namespace zelvane
