// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/QtEventLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <algorithm>
#include <utility>

namespace zelvane {

namespace {

constexpr std::chrono::milliseconds kLongestServing(2);

QEvent::Type wakeUpEvent() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

int levelOfLoops() {
    return QThread::currentThread()->loopLevel();
}

}  // namespace

QtEventLoop::QtEventLoop(RunLoop& runLoop) : _runLoop(runLoop) {
    wakeUpEvent();
    _nextDate.setSingleShot(true);
    _nextDate.setTimerType(Qt::PreciseTimer);
    connect(&_nextDate, &QTimer::timeout, this, [this] { wakeUp(); });
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            [this] { mindNextDate(); });
    QCoreApplication::instance()->installEventFilter(this);
    _runLoop.setGuest(this);
}

QtEventLoop::~QtEventLoop() {
    _runLoop.setGuest(nullptr);
}

void QtEventLoop::wakeUp() {
    if (!_isWoken.exchange(true)) QCoreApplication::postEvent(this, new QEvent(wakeUpEvent()), Qt::HighEventPriority);
}

void QtEventLoop::serveUntil(std::optional<TimePoint> date) {
    QEventLoop loop;
    QEventLoop* const outer = std::exchange(_waiting, &loop);
    const int outerLevel = std::exchange(_levelOfWaiting, levelOfLoops() + 1);
    wakeUpAt(date);
    // Qt runs no loop any more once the application is to quit.
    if (loop.exec() < 0) _runLoop.end();
    _nextDate.stop();
    _levelOfWaiting = outerLevel;
    _waiting = outer;
}

void QtEventLoop::serveWaiting() {
    if (_levelOfServing == levelOfLoops()) return;
    const int outerLevel = std::exchange(_levelOfServing, levelOfLoops());
    QCoreApplication::processEvents();
    _levelOfServing = outerLevel;
}

bool QtEventLoop::event(QEvent* event) {
    if (event->type() != wakeUpEvent()) return QObject::event(event);
    _isWoken = false;
    if (_runLoop.hasEnded()) {
        QCoreApplication::exit();
    } else if (isInnermost()) {
        _waiting->exit();
    } else if (_levelOfServing != levelOfLoops()) {
        serveRunLoop();
    }
    return true;
}

/// The session's end, and whoever else asks Qt to quit.
bool QtEventLoop::eventFilter(QObject* watched, QEvent* event) {
    if (watched != QCoreApplication::instance() || event->type() != QEvent::Quit) return false;
    _runLoop.end();
    return true;
}

/// Before Qt waits in a loop of its own, which work of the run loop may have opened.
void QtEventLoop::mindNextDate() {
    if (!isInnermost() && _levelOfServing != levelOfLoops()) wakeUpAt(_runLoop.nextDate());
}

bool QtEventLoop::isInnermost() const {
    return _waiting != nullptr && levelOfLoops() == _levelOfWaiting;
}

/// From within a loop of Qt's own, for a moment: its events want their turn as well.
void QtEventLoop::serveRunLoop() {
    const int outerLevel = std::exchange(_levelOfServing, levelOfLoops());
    const TimePoint end = Clock::monotonic().now() + kLongestServing;
    while (_runLoop.runOnce(TimePoint()) && Clock::monotonic().now() < end) {
    }
    _levelOfServing = outerLevel;
}

void QtEventLoop::wakeUpAt(std::optional<TimePoint> date) {
    if (!date) return _nextDate.stop();
    const Duration rest = std::max(*date - Clock::monotonic().now(), Duration::zero());
    _nextDate.start(std::chrono::ceil<std::chrono::milliseconds>(std::min<Duration>(rest, std::chrono::hours(24))));
}

}  // namespace zelvane
