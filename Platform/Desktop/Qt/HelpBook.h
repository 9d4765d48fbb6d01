// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QWidget;

namespace zelvane {

class HelpWindow;

/// The program's pages of help. Main thread.
class HelpBook : public QObject {
  public:
    using QObject::QObject;

    /// The one book there is.
    static constexpr const char* kBook = "Zelvane Help";

    /// Opens the page in the user's browser, or in a window of our own, which belongs to `parent`, where there is none.
    /// The window may come a moment later, when the desktop says that nothing opened. False when there is no such page.
    bool openHelpAnchor(const QString& anchor, const QString& book, QWidget* parent);

  private:
    void openByDesktop(const QString& opener, const QString& page, QWidget* parent);
    void openOurWindow(const QString& page, QWidget* parent);

    QPointer<HelpWindow> _window;
};

}  // namespace zelvane
