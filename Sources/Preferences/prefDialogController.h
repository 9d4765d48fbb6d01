// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpoint.h"
#include "Platform/Desktop/LoginItem.h"
#include "Platform/Desktop/Qt/HelpBook.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Sources/Application.h"
#include "Sources/Preferences/DefaultsBindings.h"
#include "Sources/Preferences/PreferencesWindow.h"
#include "Sources/Preferences/UserDefaultsController.h"
#include "Sources/Zelvane/Zelvane.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace Ui {
class Preferences;
}

namespace zelvane {

/// The preferences dialog. One is made for each opening: `setZelvane`, `setup`, then `runModal`. Main thread.
class prefDialogController {
  public:
    using Endpoints = std::vector<std::shared_ptr<PYMIDIEndpoint>>;

    /// All must outlive the dialog. Errors are shown by the application.
    prefDialogController(UserDefaults& defaults, Application& application, LoginItem loginItem, HelpBook& helpBook);
    ~prefDialogController();
    prefDialogController(const prefDialogController&) = delete;
    prefDialogController& operator=(const prefDialogController&) = delete;

    void setZelvane(Zelvane& zelvane) { _zelvane = &zelvane; }
    /// Fills the dialog.
    void setup();
    /// Shows the dialog and returns when it is closed: 1 after OK, else 0.
    int runModal();
    PreferencesWindow& window() { return *_window; }

    void didOK();
    void didCancel();
    /// Tests the instruments. The dialog can't be used meanwhile.
    void rescan();

    // Files that are loaded act on the player at once, but for its key table, and are kept once the dialog ends with
    // OK.
    void loadKeymap();
    void resetKeymap();
    void loadTuning();
    void resetTuning();
    /// Has the user choose a file; none when it is not of one of the types, such as "scl", or none was chosen.
    std::optional<std::string> getFileFromUser(const std::vector<std::string>& types);
    /// Brings the private copy of a chosen file up to date; true when there is another choice than before.
    bool handleKey(const std::string& key);
    /// An empty value becomes the factory default.
    void setValueFromKeyAndShortenTextfield(QLineEdit& field, const std::string& key);

    static void setMenuitemItalicForOfflineEndpoints(QComboBox& popup, const Endpoints& sources);

    void getGeneralHelp();
    void getOSCHelp();
    void getMidiHelp();

    const Endpoints& midiInputs() const { return _midiInputs; }
    std::shared_ptr<PYMIDIEndpoint> selectedMidiInput() const { return _selectedMidiInput; }
    const std::vector<std::string>& outputDevices() const { return _outputDevices; }
    std::uint64_t selectedOutputDevice() const { return _selectedOutputDevice; }
    const std::vector<std::string>& musicDevices() const { return _musicDevices; }
    std::uint64_t selectedMusicDevice() const { return _selectedMusicDevice; }

  private:
    void connectButtons();
    void bindChoices();
    void setUpMidiInputs();
    void selectMidiInput();
    void setUpLoginCheckButton();
    void setUpDevices();
    void showMusicDevices();
    void saveLoginItem();
    void saveMidiInput();
    void saveDevices();

    std::string factoryDefault(const std::string& key) const;
    void loadFile(const char* type, const std::string& key, QLineEdit& field,
                  bool (Zelvane::*open)(const std::optional<std::string>&));
    void showTuning();
    void openHelp(const char* anchor);
    void openHelpOfFocus();

    UserDefaults& _userDefaults;
    Application& _application;
    const LoginItem _loginItem;
    HelpBook& _helpBook;
    UserDefaultsController _values;
    std::unique_ptr<PreferencesWindow> _window;
    std::unique_ptr<Ui::Preferences> _ui;
    std::unique_ptr<DefaultsBindings> _bindings;
    QCheckBox* _loginCheckButton;
    QComboBox* _midiInputPopup;
    QLineEdit* _keymap;
    QLineEdit* _tuning;
    QLabel* _scanning;
    Zelvane* _zelvane = nullptr;
    Endpoints _midiInputs;
    std::shared_ptr<PYMIDIEndpoint> _selectedMidiInput;
    std::vector<std::string> _outputDevices;
    std::uint64_t _selectedOutputDevice = 0;
    std::vector<std::string> _musicDevices;
    std::uint64_t _selectedMusicDevice = 0;
};

}  // namespace zelvane
