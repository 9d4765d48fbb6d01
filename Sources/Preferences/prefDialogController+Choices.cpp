// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIManager.h"
#include "Platform/Desktop/Editors/QtText.h"
#include "Platform/Foundation/Collation.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Preferences/PopUpMenuItem+Font.h"
#include "Sources/Preferences/prefDialogController.h"

#include "ui_Preferences.h"

#include <QPointer>
#include <QSignalBlocker>
#include <algorithm>
#include <utility>

namespace zelvane {

namespace {

/// The label of a window that may be gone when the player still has something to tell.
class ProgressLabel : public ProgressTextField {
  public:
    ProgressLabel(RunLoop& mainRunLoop, QLabel* label)
        : _mainRunLoop(mainRunLoop), _label(std::make_shared<QPointer<QLabel>>(label)) {}

    /// Player thread.
    void setStringValue(const std::string& text) override {
        _mainRunLoop.perform([label = _label, text] {
            if (*label != nullptr) (*label)->setText(QString::fromStdString(text));
        });
    }

  private:
    RunLoop& _mainRunLoop;
    const std::shared_ptr<QPointer<QLabel>> _label;  // what it points to is the main thread's
};

/// Where a value first stands in a list, else where the selection was.
std::uint64_t placeOf(const std::vector<std::string>& names, const std::optional<std::string>& name,
                      std::uint64_t otherwise) {
    const auto found = name ? std::find(names.begin(), names.end(), *name) : names.end();
    return found != names.end() ? static_cast<std::uint64_t>(found - names.begin()) : otherwise;
}

}  // namespace

void prefDialogController::bindChoices() {
    const auto onChoice = [this](QComboBox* popup, auto take) {
        QObject::connect(popup, &QComboBox::currentIndexChanged, _window.get(), [take](int index) {
            if (index >= 0) take(static_cast<std::size_t>(index));
        });
    };
    onChoice(_midiInputPopup, [this](std::size_t index) {
        if (index < _midiInputs.size()) _selectedMidiInput = _midiInputs[index];
    });
    onChoice(_ui->outputDevicePopup, [this](std::size_t index) { _selectedOutputDevice = index; });
    onChoice(_ui->musicDevicePopup, [this](std::size_t index) { _selectedMusicDevice = index; });
}

void prefDialogController::setUpMidiInputs() {
    for (const auto& source : PYMIDIManager::sharedInstance()->realSources()) _midiInputs.push_back(source);
    if (_zelvane->virtualMidiInput() != nullptr) _midiInputs.push_back(_zelvane->virtualMidiInput());
    const QSignalBlocker unheard(_midiInputPopup);
    for (const auto& input : _midiInputs) _midiInputPopup->addItem(QString::fromStdString(input->displayName()));
    if (const int place = _midiInputPopup->findText(localizedText("No Value")); place >= 0)
        _midiInputPopup->removeItem(place);
    selectMidiInput();
    setMenuitemItalicForOfflineEndpoints(*_midiInputPopup, _midiInputs);
}

/// Of two with the same title it is the one that is in use.
void prefDialogController::selectMidiInput() {
    const auto& current = _zelvane->midiInput();
    auto found = std::find(_midiInputs.begin(), _midiInputs.end(), current);
    if (found == _midiInputs.end() && current != nullptr)
        found = std::find_if(_midiInputs.begin(), _midiInputs.end(),
                             [&](const auto& input) { return input->displayName() == current->displayName(); });
    const bool isThere = found != _midiInputs.end();
    _midiInputPopup->setCurrentIndex(isThere ? static_cast<int>(found - _midiInputs.begin()) : -1);
    _selectedMidiInput = isThere ? *found : nullptr;
}

void prefDialogController::setMenuitemItalicForOfflineEndpoints(QComboBox& popup, const Endpoints& sources) {
    for (const auto& source : sources) {
        const int place =
            popup.findText(QString::fromStdString(source->displayName()), Qt::MatchExactly | Qt::MatchCaseSensitive);
        if (place >= 0) PopUpMenuItem(popup, place).setItalicStyle(source->isOffline());
    }
}

// What plays is selected as long as nothing else was chosen.
void prefDialogController::setUpDevices() {
    _outputDevices = _zelvane->outputDevices();
    _musicDevices = _zelvane->musicDevices();
    AudioEngine& engine = _zelvane->audioEngine();
    const auto selected = [](const auto& names, const std::string& current, const std::optional<std::string>& stored) {
        return placeOf(names, stored, placeOf(names, current, 0));
    };
    const auto device = selected(_outputDevices, engine.currentAudioDevice(), _userDefaults.string("outputDevice"));
    _selectedMusicDevice = selected(_musicDevices, engine.currentMusicDevice(), _userDefaults.string("musicDevice"));
    for (const auto& name : _outputDevices) _ui->outputDevicePopup->addItem(QString::fromStdString(name));
    _ui->outputDevicePopup->setCurrentIndex(static_cast<int>(device));
    showMusicDevices();
}

void prefDialogController::showMusicDevices() {
    QComboBox& popup = *_ui->musicDevicePopup;
    const QSignalBlocker unheard(popup);
    popup.clear();
    for (const auto& name : _musicDevices) {
        const bool isCoarse = _zelvane->audioEngine().microtonesOfMusicDevice(name) == Microtones::no;
        const auto title = isCoarse ? formatted(localizedString("%@ (no microtones)"), {name}) : name;
        popup.addItem(QString::fromStdString(title));
        if (isCoarse)
            popup.setItemData(popup.count() - 1,
                              localizedText("This instrument does not follow pitch bend, so it plays semitones only."),
                              Qt::ToolTipRole);
    }
    popup.setCurrentIndex(static_cast<int>(_selectedMusicDevice));
}

void prefDialogController::rescan() {
    const auto chosen = _selectedMusicDevice < _musicDevices.size() ? _musicDevices[_selectedMusicDevice] : "";
    const auto progress = std::make_shared<ProgressLabel>(_application.mainRunLoop(), _scanning);
    _window->setBusy(true);
    _zelvane->scanMusicDevicesWithProgressTextField(progress);
    _window->setBusy(false);
    _musicDevices = _zelvane->musicDevices();
    std::sort(_musicDevices.begin(), _musicDevices.end(), localizedCaseInsensitiveLess);
    _selectedMusicDevice = placeOf(_musicDevices, chosen, 0);
    showMusicDevices();
}

}  // namespace zelvane
