// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/NativeEditor.h"
#include "Platform/Desktop/Editors/EditedUnit.h"
#include "Platform/Desktop/Editors/EditorTrials.h"
#include "Platform/Desktop/Editors/EditorWidget.h"

#include <functional>
#include <memory>

namespace zelvane {

/// An instrument's own editor in a widget, which has that editor's size. It looks and breathes only while it can be
/// seen. Main thread, on an X server.
///
/// The editor is the instrument maker's code in this process. When it blocks, the windows of the player do too, but not
/// its sound, which has threads of its own; when it crashes, or the X server refuses what it asks for, the player ends.
/// That cannot be prevented, as many editors look into the memory of the instrument; but one that does it as it opens
/// or closes does it once.
class NativeEditorWidget final : public EditorWidget {
  public:
    /// Whether there is a server for such editors, and the instrument brings one.
    static bool isPossibleFor(AVAudioUnit& node);

    /// Null when the editor does not open. `ended` is called when it can't go on, and wants to be opened again.
    static std::unique_ptr<NativeEditorWidget> open(QWidget& parent, std::shared_ptr<AVAudioUnit> node,
                                                    std::shared_ptr<EditorTrials> trials, std::function<void()> ended);
    ~NativeEditorWidget() override;

    QSize sizeHint() const override { return size(); }

  protected:
    void follow() override;

  private:
    NativeEditorWidget(QWidget& parent, std::shared_ptr<AVAudioUnit> node, std::shared_ptr<EditorTrials> trials,
                       std::function<void()> ended);
    bool openEditor();
    NativeEditor::Host host();
    void edit(AudioUnitParameterID id, float value);
    void takeSizeOfWindow();
    void takeSize(int width, int height);

    EditedUnit _unit;
    const std::shared_ptr<EditorTrials> _trials;
    const std::function<void()> _ended;
    QSize _toldSize;  ///< by the editor, of whatever pixels; none while it tells nothing
    bool _hasEnded = false;
    std::unique_ptr<NativeEditor> _editor;  // ends before what stands above
};

}  // namespace zelvane
