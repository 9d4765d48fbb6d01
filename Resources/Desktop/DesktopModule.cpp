// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/EditorProvider.h"
#include "Platform/Desktop/Qt/CatalogueTranslator.h"
#include "Platform/Desktop/Qt/Display.h"
#include "Platform/Desktop/Qt/PlaceholderColor.h"
#include "Platform/Desktop/Qt/QtEventLoop.h"
#include "Platform/Foundation/ApplicationID.h"
#include "Sources/Desktop.h"
#include "Sources/DesktopShell/DesktopShell.h"

#include <QApplication>
#include <memory>

namespace zelvane {

namespace {

/// Qt keeps the words of the command line, of which it gets none but the name: the rest are the player's.
struct CommandLine {
    int count = 1;
    char name[8] = "zelvane";
    char* words[2] = {name, nullptr};
};

class QtDesktop final : public Desktop {
  public:
    explicit QtDesktop(const DesktopServices& services)
        : _application(_commandLine.count, _commandLine.words),
          _placeholderColor(_application),
          _eventLoop(services.mainRunLoop),
          _editors(makeEditorProvider(services.mainRunLoop)) {
        installTranslators(_application);
        _shell = std::make_unique<DesktopShell>(services.defaults);
    }

    Shell& shell() override { return *_shell; }
    std::shared_ptr<ViewControllerProvider> viewControllers() override { return _editors; }

  private:
    CommandLine _commandLine;
    QApplication _application;
    PlaceholderColor _placeholderColor;
    QtEventLoop _eventLoop;
    const std::shared_ptr<ViewControllerProvider> _editors;
    std::unique_ptr<DesktopShell> _shell;
};

void nameApplication() {
    QApplication::setApplicationName(QStringLiteral("zelvane"));
    QApplication::setApplicationDisplayName(QStringLiteral("Zelvane"));
    QGuiApplication::setDesktopFileName(QString::fromLatin1(kApplicationID));
    QApplication::setQuitOnLastWindowClosed(false);
}

}  // namespace

Desktop* zelvaneMakeDesktop(const DesktopServices& services) {
    if (!chooseDisplay()) return nullptr;
    nameApplication();
    return std::make_unique<QtDesktop>(services).release();
}

}  // namespace zelvane
