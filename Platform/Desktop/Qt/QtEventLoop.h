// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/EventLoopGuest.h"
#include "Platform/Foundation/RunLoop.h"

#include <QEventLoop>
#include <QObject>
#include <QTimer>
#include <atomic>

namespace zelvane {

/// Qt's events on the main thread, beside the main run loop. Where the run loop waits, Qt's events are served; where Qt
/// runs a loop of its own, for a modal dialog or a menu, it serves the run loop in turn. Main thread, while there is a
/// Qt application.
class QtEventLoop final : public QObject, public EventLoopGuest {
  public:
    explicit QtEventLoop(RunLoop& runLoop);
    ~QtEventLoop() override;

    void wakeUp() override;
    void serveUntil(std::optional<TimePoint> date) override;
    void serveWaiting() override;

  protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool isInnermost() const;
    void serveRunLoop();
    void mindNextDate();
    void wakeUpAt(std::optional<TimePoint> date);

    RunLoop& _runLoop;
    QEventLoop* _waiting = nullptr;  // the loop that the run loop waits in
    int _levelOfWaiting = 0;         // how many loops of Qt's run then
    int _levelOfServing = -1;        // how many run where the run loop is at work, or gives Qt a moment
    QTimer _nextDate;
    std::atomic<bool> _isWoken{false};  // set by any thread, cleared by the main thread: one event for all of them
};

}  // namespace zelvane
