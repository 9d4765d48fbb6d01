// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/PluginWindowController/PluginWindowController.h"

#include "ui_PluginWindow.h"

#include <QCloseEvent>
#include <QShortcut>
#include <algorithm>
#include <utility>

namespace zelvane {

PluginWindowController::PluginWindowController(Actions actions)
    : _actions(std::move(actions)),
      _window(std::make_unique<QWidget>()),
      _outlets(std::make_unique<Ui::PluginWindow>()) {
    _outlets->setupUi(_window.get());
    _window->installEventFilter(this);
    _outlets->pluginView->installEventFilter(this);
    connect(_outlets->popUpButton, &QComboBox::activated, this, [this] { _actions.changeUnitNumber(); });
    connect(_outlets->sendMicroTuningsButton, &QPushButton::clicked, this, [this] { _actions.sendMicroTunings(); });
    for (const QKeySequence& keys : {QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)})
        connect(new QShortcut(keys, _window.get()), &QShortcut::activated, _window.get(), &QWidget::close);
}

// The widgets are the views'.
PluginWindowController::~PluginWindowController() {
    for (const auto& view : subviews()) removeSubview(*view);
}

void PluginWindowController::addSubview(const std::shared_ptr<View>& view) {
    auto subview = std::dynamic_pointer_cast<WidgetView>(view);
    if (subview == nullptr) return;
    QWidget& widget = subview->widget();
    widget.setParent(_outlets->pluginView);
    widget.move(0, 0);
    widget.installEventFilter(this);
    _subviews.push_back(subview);
    subview->setHidden(subview->isHidden());
    fitToShownView();
}

void PluginWindowController::removeSubview(const View& view) {
    const auto place =
        std::find_if(_subviews.begin(), _subviews.end(), [&](const auto& subview) { return subview.get() == &view; });
    if (place == _subviews.end()) return;
    QWidget& widget = (*place)->widget();
    widget.removeEventFilter(this);
    // An editor in a window of an X server would lose that window with its parent.
    (*place)->unload();
    widget.hide();
    widget.setParent(nullptr);
    _subviews.erase(place);
}

WidgetView* PluginWindowController::shownView() const {
    const auto place =
        std::find_if(_subviews.begin(), _subviews.end(), [](const auto& subview) { return !subview->isHidden(); });
    return place == _subviews.end() ? nullptr : place->get();
}

// The limits of the editor shown last would hold the next one's size to them.
void PluginWindowController::setContentSize(int width, int height) {
    _window->setMinimumSize(0, 0);
    _window->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    _window->resize(width, height);
}

void PluginWindowController::fitToShownView() {
    WidgetView* view = shownView();
    if (view == nullptr) return;
    const QWidget& widget = view->widget();
    setContentSize(view->width(), view->height() + kControlsHeight);
    const QSize controls(0, kControlsHeight);
    _window->setMinimumSize((widget.minimumSize() + controls).expandedTo(_outlets->controls->minimumSizeHint()));
    _window->setMaximumSize((widget.maximumSize() + controls)
                                .expandedTo(_window->minimumSize())
                                .boundedTo({QWIDGETSIZE_MAX, QWIDGETSIZE_MAX}));
}

void PluginWindowController::fillWithShownView() {
    if (WidgetView* view = shownView()) view->widget().resize(_outlets->pluginView->size());
}

void PluginWindowController::setTitle(const std::string& title) {
    _window->setWindowTitle(QString::fromStdString(title));
}

int PluginWindowController::indexOfSelectedItem() const {
    return _outlets->popUpButton->currentIndex();
}

void PluginWindowController::selectItemAtIndex(int index) {
    _outlets->popUpButton->setCurrentIndex(index);
}

void PluginWindowController::makeKeyAndOrderFront() {
    if (WidgetView* view = shownView()) view->load();
    fitToShownView();
    _window->setWindowState(_window->windowState() & ~Qt::WindowMinimized);
    _window->show();
    _window->raise();
    _window->activateWindow();
}

void PluginWindowController::orderOut() {
    _window->hide();
}

bool PluginWindowController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == _window.get() && event->type() == QEvent::Close) {
        event->setAccepted(mayClose());
        return !event->isAccepted();
    }
    if (event->type() != QEvent::Resize) return false;
    WidgetView* view = shownView();
    if (watched == _outlets->pluginView) fillWithShownView();
    if (view != nullptr && watched == &view->widget()) fitToShownView();
    return false;
}

}  // namespace zelvane
