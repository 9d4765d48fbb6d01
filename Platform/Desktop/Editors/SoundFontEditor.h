// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Editors/EditedUnit.h"
#include "Platform/Desktop/Editors/EditorWidget.h"

#include <filesystem>

class QBoxLayout;
class QLabel;

namespace zelvane {

class ChannelPresets;
class ParameterList;

/// The editor of the SoundFont instrument: its sound bank, what each channel plays, how well and how many voices, and
/// the effects. Main thread.
class SoundFontEditor final : public EditorWidget {
  public:
    explicit SoundFontEditor(std::shared_ptr<AVAudioUnit> node, QWidget* parent = nullptr);
    ~SoundFontEditor() override;

    /// Takes that file as the sound bank; the user is told when it is none.
    void openBank(const std::filesystem::path& file);
    /// Goes back to the sound bank that came with the machine.
    void resetBank();

  protected:
    void follow() override;

  private:
    void addBank(QBoxLayout& column);
    void addParameters(QBoxLayout& column);
    void askForBank();
    void showBank();
    void tellOfFailure(const std::filesystem::path& file);

    EditedUnit _unit;
    std::filesystem::path _bank;  // that is shown
    QLabel* _bankName = nullptr;
    ChannelPresets* _channels = nullptr;
    ParameterList* _parameters = nullptr;
    class NumberProperty* _quality = nullptr;
    class NumberProperty* _polyphony = nullptr;
};

}  // namespace zelvane
