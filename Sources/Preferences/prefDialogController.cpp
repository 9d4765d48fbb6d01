// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/prefDialogController.h"

#include "Platform/Desktop/Editors/QtText.h"

#include "ui_Preferences.h"

#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <utility>

namespace zelvane {

namespace {

std::unique_ptr<Ui::Preferences> loadInterface(PreferencesWindow& window) {
    auto interface = std::make_unique<Ui::Preferences>();
    interface->setupUi(&window);
    return interface;
}

}  // namespace

prefDialogController::prefDialogController(UserDefaults& defaults, Application& application, LoginItem loginItem,
                                           HelpBook& helpBook)
    : _userDefaults(defaults),
      _application(application),
      _loginItem(std::move(loginItem)),
      _helpBook(helpBook),
      _values(defaults),
      _window(std::make_unique<PreferencesWindow>()),
      _ui(loadInterface(*_window)),
      _loginCheckButton(_ui->loginCheckButton),
      _midiInputPopup(_ui->midiInputPopup),
      _keymap(_ui->keymap),
      _tuning(_ui->tuning),
      _scanning(_ui->scanning) {
    _scanning->setMinimumHeight(2 * _scanning->fontMetrics().lineSpacing());
    _ui->outputDevicePopup->setFocus();
    connectButtons();
    bindChoices();
}

prefDialogController::~prefDialogController() = default;

void prefDialogController::connectButtons() {
    const auto onClick = [this](QAbstractButton* button, void (prefDialogController::*action)()) {
        QObject::connect(button, &QAbstractButton::clicked, _window.get(), [this, action] { (this->*action)(); });
    };
    auto* ok = _ui->buttons->button(QDialogButtonBox::Ok);
    auto* cancel = _ui->buttons->button(QDialogButtonBox::Cancel);
    ok->setObjectName(QStringLiteral("okButton"));
    ok->setText(localizedText("OK"));
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setText(localizedText("Cancel"));
    onClick(ok, &prefDialogController::didOK);
    onClick(cancel, &prefDialogController::didCancel);
    onClick(_ui->rescanButton, &prefDialogController::rescan);
    onClick(_ui->loadKeymapButton, &prefDialogController::loadKeymap);
    onClick(_ui->resetKeymapButton, &prefDialogController::resetKeymap);
    onClick(_ui->loadTuningButton, &prefDialogController::loadTuning);
    onClick(_ui->resetTuningButton, &prefDialogController::resetTuning);
    onClick(_ui->generalHelpButton, &prefDialogController::getGeneralHelp);
    onClick(_ui->oscHelpButton, &prefDialogController::getOSCHelp);
    onClick(_ui->midiHelpButton, &prefDialogController::getMidiHelp);
    // The other ways to close it cancel too.
    QObject::connect(_window.get(), &QDialog::rejected, _window.get(), [this] { _values.revert(); });
    auto* help = new QShortcut(QKeySequence::HelpContents, _window.get());
    QObject::connect(help, &QShortcut::activated, _window.get(), [this] { openHelpOfFocus(); });
}

void prefDialogController::setup() {
    _values.setAppliesImmediately(false);
    if (_zelvane->midiEnable()) setUpMidiInputs();
    setUpLoginCheckButton();
    setUpDevices();
    const auto showValidity = [ok = _ui->buttons->button(QDialogButtonBox::Ok)](bool isValid) {
        ok->setEnabled(isValid);
    };
    _bindings = std::make_unique<DefaultsBindings>(*_window, _values, showValidity);
    _bindings->showValues();
    setValueFromKeyAndShortenTextfield(*_keymap, "keymap");
    setValueFromKeyAndShortenTextfield(*_tuning, "tuning");
    showTuning();
    _window->resize(_window->sizeHint().boundedTo(_window->screen()->availableSize()));
}

int prefDialogController::runModal() {
    return _window->exec() == QDialog::Accepted ? 1 : 0;
}

void prefDialogController::setUpLoginCheckButton() {
    const auto status = _loginItem.status();
    if (status == LoginItem::kNotRegistered || status == LoginItem::kEnabled)
        _loginCheckButton->setChecked(status == LoginItem::kEnabled);
}

void prefDialogController::didOK() {
    if (handleKey("keymap")) _zelvane->setKeymapIsChanged(true);
    if (handleKey("tuning")) _zelvane->setTuningIsChanged(true);
    _zelvane->updateMicromidiMap();
    saveLoginItem();
    saveMidiInput();
    saveDevices();
    _values.save();
    _window->done(QDialog::Accepted);
}

void prefDialogController::didCancel() {
    _window->reject();
}

void prefDialogController::saveLoginItem() {
    const bool isWanted = _loginCheckButton->isChecked();
    if (_loginItem.status() == (isWanted ? LoginItem::kEnabled : LoginItem::kNotRegistered)) return;
    Error ignored;
    isWanted ? _loginItem.registerAndReturnError(ignored) : _loginItem.unregisterAndReturnError(ignored);
}

void prefDialogController::saveMidiInput() {
    if (!_zelvane->midiEnable()) return;
    _zelvane->setMidiInput(_selectedMidiInput);
    if (_selectedMidiInput == nullptr) return _values.setValue("midi", std::nullopt);
    const bool isVirtual = _selectedMidiInput == _zelvane->virtualMidiInput();
    _values.setValue("midi", PropertyList{isVirtual ? "Zelvane" : _selectedMidiInput->displayName()});
}

void prefDialogController::saveDevices() {
    if (_selectedOutputDevice < _outputDevices.size()) {
        const auto& name = _outputDevices[_selectedOutputDevice];
        _zelvane->setOutputDeviceFromName(name);
        _values.setValue("outputDevice", PropertyList{name});
    }
    if (_selectedMusicDevice < _musicDevices.size()) {
        const auto& name = _musicDevices[_selectedMusicDevice];
        _zelvane->setMusicDeviceFromName(name);
        _values.setValue("musicDevice", PropertyList{name});
    }
}

void prefDialogController::getGeneralHelp() {
    openHelp("preferences_general");
}

void prefDialogController::getOSCHelp() {
    openHelp("preferences_osc");
}

void prefDialogController::getMidiHelp() {
    openHelp("preferences_midi");
}

void prefDialogController::openHelp(const char* anchor) {
    _helpBook.openHelpAnchor(QLatin1String(anchor), QLatin1String(HelpBook::kBook), _window.get());
}

/// Of the group in which the user is.
void prefDialogController::openHelpOfFocus() {
    for (const QWidget* widget = _window->focusWidget(); widget != nullptr; widget = widget->parentWidget()) {
        const auto anchor = widget->property("helpAnchor").toString().toLatin1();
        if (!anchor.isEmpty()) return openHelp(anchor.constData());
    }
    getGeneralHelp();
}

}  // namespace zelvane
