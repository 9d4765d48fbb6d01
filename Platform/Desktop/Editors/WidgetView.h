// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/View.h"

#include <QPointer>
#include <QSize>
#include <QWidget>
#include <functional>
#include <memory>

namespace zelvane {

/// An editor as a widget, which is made when it is first to be seen: ten of them belong to an instrument, and most are
/// never looked at. Until then it has the size that is given. Main thread.
class WidgetView final : public View {
  public:
    /// Makes it as a child of the view's widget.
    using MakeEditor = std::function<std::unique_ptr<QWidget>(WidgetView& view)>;

    WidgetView(QSize sizeBefore, MakeEditor makeEditor);

    /// What a window takes in. It stays the view's.
    QWidget& widget() { return *_widget; }
    /// Makes the editor, if that has not been done, and takes its size.
    void load();
    /// Ends the editor; the next `load` makes it again.
    void unload();
    /// Ends and makes it, once the present event is done with.
    void reloadLater();

    bool isHidden() const override { return _isHidden; }
    void setHidden(bool isHidden) override;
    int width() const override { return _widget->width(); }
    int height() const override { return _widget->height(); }
    void setNeedsDisplay() override { _widget->update(); }

  private:
    const MakeEditor _makeEditor;
    QPointer<QWidget> _editor;
    bool _isHidden = false;
    const std::unique_ptr<QWidget> _widget;
};

}  // namespace zelvane
