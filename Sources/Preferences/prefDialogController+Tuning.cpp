// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Preferences/PrivateCopy.h"
#include "Sources/Preferences/TuningPicture.h"
#include "Sources/Preferences/prefDialogController.h"

#include "ui_Preferences.h"

#include <QFileDialog>
#include <QStandardPaths>
#include <algorithm>

namespace zelvane {

namespace {

/// The last component, from its beginning on.
void showPath(QLineEdit& field, const std::string& path) {
    field.setText(QString::fromStdString(std::filesystem::path(path).filename().string()));
    field.setCursorPosition(0);
}

QString filterFor(const std::vector<std::string>& types) {
    QStringList patterns;
    for (const auto& type : types) {
        const QString name = QString::fromStdString(type);
        patterns << QStringLiteral("*.") + name << QStringLiteral("*.") + name.toUpper();
    }
    const QString all = patterns.join(u' ');
    return QStringLiteral("%1 (%1)").arg(all);
}

bool isOfType(const QString& path, const std::vector<std::string>& types) {
    const QString suffix = QFileInfo(path).suffix();
    return std::any_of(types.begin(), types.end(), [&](const auto& type) {
        return suffix.compare(QString::fromStdString(type), Qt::CaseInsensitive) == 0;
    });
}

}  // namespace

std::optional<std::string> prefDialogController::getFileFromUser(const std::vector<std::string>& types) {
    QFileDialog panel(_window.get());
    panel.setObjectName(QStringLiteral("openPanel"));
    panel.setFileMode(QFileDialog::ExistingFile);
    panel.setNameFilter(filterFor(types));
    if (panel.exec() == QDialog::Rejected || panel.selectedFiles().isEmpty()) return std::nullopt;
    const QString path = panel.selectedFiles().front();
    // Names can be typed too.
    if (isOfType(path, types)) return path.toStdString();
    _application.presentError(
        {"Preferences", 2,
         formatted(localizedString("Sorry, %@ is not a file of type %@"), {path.toStdString(), "." + types.front()})});
    return std::nullopt;
}

void prefDialogController::loadFile(const char* type, const std::string& key, QLineEdit& field,
                                    bool (Zelvane::*open)(const std::optional<std::string>&)) {
    const auto path = getFileFromUser({type});
    if (!path) return;
    if ((_zelvane->*open)(path)) {
        _values.setValue(key, PropertyList{*path});
        showPath(field, *path);
        field.setToolTip(QString::fromStdString(*path));
    }
    showTuning();
}

void prefDialogController::loadKeymap() {
    loadFile("kbm", "keymap", *_keymap, &Zelvane::openKeymap);
}

void prefDialogController::loadTuning() {
    loadFile("scl", "tuning", *_tuning, &Zelvane::openTuning);
}

// The fields go on showing what was loaded last: the plot tells what plays.
void prefDialogController::resetKeymap() {
    _zelvane->restoreKeymap();
    _values.setValue("keymap", PropertyList{factoryDefault("keymap")});
    showTuning();
}

void prefDialogController::resetTuning() {
    _zelvane->restoreTuningMap();
    _values.setValue("tuning", PropertyList{factoryDefault("tuning")});
    showTuning();
}

void prefDialogController::setValueFromKeyAndShortenTextfield(QLineEdit& field, const std::string& key) {
    if (_values.string(key) == "") _values.setValue(key, PropertyList{factoryDefault(key)});
    const auto value = _values.string(key).value_or("");
    showPath(field, value);
    if (value != factoryDefault(key)) field.setToolTip(QString::fromStdString(value));
}

bool prefDialogController::handleKey(const std::string& key) {
    const auto saved = _userDefaults.string(key);
    const auto pending = _values.string(key);
    if (!saved || saved == pending) return false;
    const auto fileOf = [factory = factoryDefault(key)](const std::optional<std::string>& value) {
        return value && *value != factory ? std::optional<std::filesystem::path>(*value) : std::nullopt;
    };
    const auto chosen = fileOf(pending);
    if (Error error; !replacePrivateCopy(fileOf(saved), chosen, error)) {
        _values.setValue(key, PropertyList{*saved});
        _application.presentError(error);
        return false;
    }
    if (chosen) _values.setValue(key, PropertyList{homeNameFromPath(*chosen).string()});
    return true;
}

std::string prefDialogController::factoryDefault(const std::string& key) const {
    const auto value = _userDefaults.registeredObject(key);
    const auto* text = value ? std::get_if<std::string>(&value->value) : nullptr;
    return text != nullptr ? *text : std::string();
}

/// The built-in scale has no description, and the one of the file before it stays with the player.
void prefDialogController::showTuning() {
    const auto tuning = _zelvane->midiTuning();
    if (tuning == nullptr) return;
    const bool isBuiltIn = _values.string("tuning") == factoryDefault("tuning");
    _ui->tuningPlot->setPicture(tuningPicture(*tuning),
                                QString::fromStdString(isBuiltIn ? std::string() : tuning->description()));
}

}  // namespace zelvane
