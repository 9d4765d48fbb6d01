// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/NativeEditorWidget.h"

#include "Platform/Foundation/Log.h"

#include <QtGui/qguiapplication_platform.h>
#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QLayout>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace zelvane {

namespace {

constexpr std::chrono::milliseconds kBreath(33);
constexpr std::chrono::seconds kTrial(2);  // in which an editor that is bad at it shows it

struct FreeDeleter {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using ReplyOwner = std::unique_ptr<Reply, FreeDeleter>;

xcb_connection_t* server() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_window_t firstChild(xcb_window_t parent) {
    const ReplyOwner<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(server(), xcb_query_tree(server(), parent), nullptr));
    if (tree == nullptr || xcb_query_tree_children_length(tree.get()) == 0) return 0;
    return xcb_query_tree_children(tree.get())[0];
}

}  // namespace

bool NativeEditorWidget::isPossibleFor(AVAudioUnit& node) {
    return server() != nullptr && node.audioUnit()->instrument().hasNativeEditor();
}

std::unique_ptr<NativeEditorWidget> NativeEditorWidget::open(QWidget& parent, std::shared_ptr<AVAudioUnit> node,
                                                             std::shared_ptr<EditorTrials> trials,
                                                             std::function<void()> ended) {
    std::unique_ptr<NativeEditorWidget> widget(
        new NativeEditorWidget(parent, std::move(node), std::move(trials), std::move(ended)));
    return widget->openEditor() ? std::move(widget) : nullptr;
}

NativeEditorWidget::NativeEditorWidget(QWidget& parent, std::shared_ptr<AVAudioUnit> node,
                                       std::shared_ptr<EditorTrials> trials, std::function<void()> ended)
    : EditorWidget(&parent, kBreath), _unit(std::move(node)), _trials(std::move(trials)), _ended(std::move(ended)) {
    setObjectName(QStringLiteral("nativeEditor"));
    setAttribute(Qt::WA_NativeWindow);
    setFixedSize(parent.size());
}

bool NativeEditorWidget::openEditor() {
    _trials->begin(_unit.node().name());
    QTimer::singleShot(kTrial, this, [this] { _trials->end(); });
    Error error;
    _editor = _unit.node().audioUnit()->instrument().openNativeEditor(host(), error);
    if (_editor == nullptr) {
        _trials->end();
        Log::write("NativeEditor: [%@] %@: %@", {"open", _unit.node().name(), error.description});
        return false;
    }
    for (std::size_t place = 0; place < _unit.parameters().size(); ++place)
        _editor->showParameter(_unit.parameters()[place].id, _unit.value(place));
    takeSizeOfWindow();
    return true;
}

NativeEditorWidget::~NativeEditorWidget() {
    if (_editor == nullptr) return;
    _trials->begin(_unit.node().name());
    _editor.reset();
    _trials->end();
}

NativeEditor::Host NativeEditorWidget::host() {
    AudioUnit* unit = _unit.unit();
    NativeEditor::Host host;
    host.parentWindow = static_cast<std::uint32_t>(winId());
    host.scaleFactor = static_cast<float>(devicePixelRatioF());
    host.parameterEdited = [this](AudioUnitParameterID id, float value) { edit(id, value); };
    host.propertyEdited = [unit](AudioUnitPropertyID id, std::span<const std::byte> value) {
        AudioUnitSetProperty(unit, id, kAudioUnitScope_Global, 0, value.data(),
                             static_cast<std::uint32_t>(value.size()));
    };
    host.played = [unit](std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
        MusicDeviceMIDIEvent(unit, status, data1, data2, 0);
    };
    host.resized = [this](int width, int height) {
        _toldSize = QSize(width, height);
        takeSize(width, height);
    };
    return host;
}

void NativeEditorWidget::edit(AudioUnitParameterID id, float value) {
    for (std::size_t place = 0; place < _unit.parameters().size(); ++place)
        if (_unit.parameters()[place].id == id) return _unit.edit(place, value);
}

void NativeEditorWidget::follow() {
    if (_hasEnded) return;
    _unit.look([this](std::size_t place, float value) { _editor->showParameter(_unit.parameters()[place].id, value); });
    _hasEnded = !_editor->idle();
    if (_hasEnded) return _ended();
    takeSizeOfWindow();
}

// Some never say what size they have; those made with a toolkit of large pixels may say it in these.
void NativeEditorWidget::takeSizeOfWindow() {
    if (_editor == nullptr) return;
    const xcb_window_t window =
        _editor->window() != 0 ? _editor->window() : firstChild(static_cast<xcb_window_t>(winId()));
    if (window == 0) return;
    const ReplyOwner<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(server(), xcb_get_geometry(server(), window), nullptr));
    if (geometry == nullptr) return;
    const QSize size(geometry->width, geometry->height);
    const qreal ratio = devicePixelRatioF();
    const QSize least = _toldSize * ratio * 0.9;
    const bool isToldInLargePixels = ratio > 1 && size.width() >= least.width() && size.height() >= least.height();
    if (!_toldSize.isValid() || isToldInLargePixels) takeSize(size.width(), size.height());
}

// The server counts its own pixels, the toolkit larger ones on a fine screen.
void NativeEditorWidget::takeSize(int width, int height) {
    const qreal ratio = devicePixelRatioF();
    const QSize size(qRound(width / ratio), qRound(height / ratio));
    if (size.isEmpty() || size == this->size()) return;
    setFixedSize(size);
    updateGeometry();
    if (parentWidget()->layout() != nullptr) parentWidget()->layout()->activate();
    parentWidget()->resize(size);
}

}  // namespace zelvane
