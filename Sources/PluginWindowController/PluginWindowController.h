// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Editors/WidgetView.h"
#include "Sources/PluginWindow.h"

#include <QObject>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

namespace Ui {
class PluginWindow;
}

namespace zelvane {

/// The window of the units' editors on a desktop. It has the size of the editor that is shown, and gives a size that
/// the user chooses on to an editor that can take it. Main thread, while there is a Qt application.
class PluginWindowController final : public QObject, public PluginWindow {
  public:
    /// What its two controls do.
    struct Actions {
        std::function<void()> changeUnitNumber;
        std::function<void()> sendMicroTunings;
    };

    explicit PluginWindowController(Actions actions);
    ~PluginWindowController() override;

    QWidget& window() { return *_window; }

    void setDelegate(PluginWindowDelegate* delegate) override { _delegate = delegate; }
    std::vector<std::shared_ptr<View>> subviews() const override { return {_subviews.begin(), _subviews.end()}; }
    void addSubview(const std::shared_ptr<View>& view) override;
    void removeSubview(const View& view) override;
    void setContentSize(int width, int height) override;
    void setTitle(const std::string& title) override;
    int indexOfSelectedItem() const override;
    void selectItemAtIndex(int index) override;
    void makeKeyAndOrderFront() override;
    void orderOut() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    WidgetView* shownView() const;
    void fitToShownView();
    void fillWithShownView();
    bool mayClose() { return _delegate == nullptr || _delegate->windowShouldClose(); }

    const Actions _actions;
    PluginWindowDelegate* _delegate = nullptr;
    const std::unique_ptr<QWidget> _window;
    const std::unique_ptr<Ui::PluginWindow> _outlets;
    std::vector<std::shared_ptr<WidgetView>> _subviews;
};

}  // namespace zelvane
