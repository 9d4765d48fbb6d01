// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MenubarController/MenubarController.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Sources/AppDelegate.h"

#include "ui_StatusMenu.h"

namespace zelvane {

MenubarController::MenubarController() : _interface(std::make_unique<Ui::StatusMenu>()) {
    _interface->setupUi(&_statusMenu);
    const auto item = [](QAction* action, const char* title) {
        auto made = std::make_unique<QtMenuItem>(*action);
        made->setTitle(localizedString(title));
        return made;
    };
    _startMenuItem = item(_interface->startMenuItem, "Start Listening");
    _startRecordingMenuItem = item(_interface->startRecordingMenuItem, "Start Recording…");
    _deviceSettingsMenuItem = item(_interface->deviceSettingsMenuItem, "Instrument Settings…");
}

MenubarController::~MenubarController() {
    // What shows the entries on the bus is only given back when they are taken away one by one.
    _statusMenu.clear();
}

void MenubarController::awakeFromNib() {
    _statusItem = std::make_unique<QtStatusItem>(_statusMenu);
    _statusItem->setImage(StatusImage::statusIsWaiting);
    _statusItem->setEnabled(true);
}

void MenubarController::setDelegate(AppDelegate& delegate) {
    const auto connect = [&](QAction* action, void (AppDelegate::*answer)()) {
        QObject::connect(action, &QAction::triggered, &_statusMenu, [&delegate, answer] { (delegate.*answer)(); });
    };
    connect(_interface->startMenuItem, &AppDelegate::startStopListening);
    connect(_interface->startRecordingMenuItem, &AppDelegate::startStopRecording);
    connect(_interface->deviceSettingsMenuItem, &AppDelegate::showDeviceSettings);
    connect(_interface->sendMicroTuningsMenuItem, &AppDelegate::sendMicroTunings);
    connect(_interface->allNotesOffMenuItem, &AppDelegate::allNotesOff);
    connect(_interface->preferencesMenuItem, &AppDelegate::preferencesDialog);
    QObject::connect(_interface->quitMenuItem, &QAction::triggered, &_statusMenu,
                     [&delegate] { delegate.terminate(0); });
}

}  // namespace zelvane
