// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>
#include <QWidget>
#include <chrono>

namespace zelvane {

/// An editor that looks, while it can be seen, for what has changed without it. Main thread.
class EditorWidget : public QWidget {
  public:
    explicit EditorWidget(QWidget* parent = nullptr, std::chrono::milliseconds interval = kInterval) : QWidget(parent) {
        _looking.setInterval(interval);
        connect(&_looking, &QTimer::timeout, this, [this] { follow(); });
    }

  protected:
    /// Brings what is shown up to date.
    virtual void follow() = 0;

    void showEvent(QShowEvent* event) override {
        QWidget::showEvent(event);
        follow();
        _looking.start();
    }
    void hideEvent(QHideEvent* event) override {
        QWidget::hideEvent(event);
        _looking.stop();
    }

  private:
    static constexpr std::chrono::milliseconds kInterval{50};

    QTimer _looking;
};

}  // namespace zelvane
