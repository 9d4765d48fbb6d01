// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/EditorController.h"

#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"
#include "Platform/Desktop/Editors/EditorTrials.h"
#include "Platform/Desktop/Editors/GeneratedEditor.h"
#include "Platform/Desktop/Editors/NativeEditorWidget.h"
#include "Platform/Desktop/Editors/SoundFontEditor.h"
#include "Platform/Desktop/Editors/WidgetView.h"

#include <QCoreApplication>
#include <QThread>
#include <utility>

namespace zelvane {

namespace {

constexpr QSize kSizeBefore{560, 480};

bool isSoundFont(const AVAudioUnit& node) {
    const AudioComponentDescription& description = node.component().audioComponentDescription;
    return description.componentSubType == kSoundFontDescription.componentSubType &&
           description.componentManufacturer == kSoundFontDescription.componentManufacturer;
}

std::unique_ptr<QWidget> makeGeneratedEditor(const std::shared_ptr<AVAudioUnit>& node,
                                             const std::shared_ptr<EditorTrials>& trials, WidgetView& view) {
    auto editor = std::make_unique<GeneratedEditor>(node, &view.widget());
    if (!trials->hasFailed(node->name())) return editor;
    editor->tellOfFailedEditor([name = node->name(), trials, &view] {
        trials->forget(name);
        view.reloadLater();
    });
    return editor;
}

std::unique_ptr<QWidget> makeEditor(const std::shared_ptr<AVAudioUnit>& node,
                                    const std::shared_ptr<EditorTrials>& trials, WidgetView& view) {
    if (isSoundFont(*node)) return std::make_unique<SoundFontEditor>(node, &view.widget());
    if (!trials->hasFailed(node->name()) && NativeEditorWidget::isPossibleFor(*node)) {
        auto native = NativeEditorWidget::open(view.widget(), node, trials, [&view] { view.reloadLater(); });
        if (native != nullptr) return native;
    }
    return makeGeneratedEditor(node, trials, view);
}

/// Widgets may only go on the main thread; after its loop has ended nobody can do it, and the program ends too.
void destroy(WidgetView* view, RunLoop& mainRunLoop) {
    const auto* application = QCoreApplication::instance();
    if (application != nullptr && QThread::currentThread() == application->thread()) {
        delete view;
    } else {
        mainRunLoop.perform([view] { delete view; });
    }
}

}  // namespace

EditorController::EditorController(RunLoop& mainRunLoop, std::shared_ptr<EditorTrials> trials,
                                   std::weak_ptr<AVAudioUnit> node)
    : _mainRunLoop(mainRunLoop), _trials(std::move(trials)), _node(std::move(node)) {}

std::shared_ptr<View> EditorController::view() {
    auto node = _node.lock();
    if (_view != nullptr || node == nullptr) return _view;
    auto view = std::make_unique<WidgetView>(
        kSizeBefore, [node, trials = _trials](WidgetView& made) { return makeEditor(node, trials, made); });
    _view = std::shared_ptr<WidgetView>(
        view.release(), [&mainRunLoop = _mainRunLoop](WidgetView* ended) { destroy(ended, mainRunLoop); });
    return _view;
}

}  // namespace zelvane
