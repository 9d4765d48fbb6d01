// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Editors/EditedUnit.h"
#include "Platform/Desktop/Editors/EditorWidget.h"

#include <functional>

class QHBoxLayout;
class QLineEdit;

namespace zelvane {

class ParameterList;
class PresetMenu;

/// The editor of an instrument that brings none that can be shown here: all of its parameters, found by their names,
/// and its presets. Main thread.
class GeneratedEditor final : public EditorWidget {
  public:
    explicit GeneratedEditor(std::shared_ptr<AVAudioUnit> node, QWidget* parent = nullptr);

    /// Says that the instrument's own editor is not shown since it has brought the player down, and offers to try it
    /// again.
    void tellOfFailedEditor(std::function<void()> tryAgain);

    QSize sizeHint() const override;

  protected:
    void follow() override;

  private:
    QHBoxLayout* makeBar();

    EditedUnit _unit;
    PresetMenu* _presets = nullptr;  // where there are presets
    ParameterList* _list = nullptr;
    QLineEdit* _filter = nullptr;  // where the list is long
};

}  // namespace zelvane
