// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/RunLoop.h"

#include "Platform/Foundation/EventLoopGuest.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/WorkQueue.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <vector>

namespace zelvane {

/// Shared, because another thread may still be telling this one's that a perform is done when the loop goes away.
struct RunLoop::State : Signal, TimerHolder, std::enable_shared_from_this<RunLoop::State> {
    State(RunLoop& theLoop, Clock& theClock) : loop(&theLoop), clock(theClock) {}

    bool push(TimePoint date, std::uint64_t sequence, WorkQueue::Work work);
    TimePoint noLaterThanPresent(TimePoint date) const { return std::min(date, clock.now()); }
    TimePoint timeOfCaller() const;

    bool performAtOnce(const Work& work);
    bool performAndWait(const Work& work);
    void serveUntilFinished(WaitingPerform& perform);

    void add(std::shared_ptr<Timer> timer);
    void withdraw(Timer& timer) override;
    WorkQueue::Item takeDue(std::optional<TimePoint> limit);
    bool runItem(WorkQueue::Item item);
    bool runTimer(Timer& timer);
    bool runFirst(std::optional<TimePoint> limit);
    void giveGuestItsTurn();
    void wakeUp();

    bool isOnThisThread() const;
    static State* ofThisThread();

    std::atomic<RunLoop*>
        loop;  // null once the loop is gone; written by its destructor, read by threads attached to it
    Clock& clock;
    WorkQueue queue;                    // guarded by mutex
    EventLoopGuest* guest = nullptr;    // written by the loop's thread under mutex, read by others under it
    TimePoint lastTurnOfGuest{};        // the loop's thread
    std::uint64_t passes = 0;           // the loop's thread
    std::atomic<bool> hasEnded{false};  // written by any thread under mutex, read by any thread
};

/// A callback that runs on this thread. Plain pointers, so that asking for the time never allocates.
struct RunLoop::Frame {
    Frame(State& theState, TimePoint theTime) : state(theState), eventTime(theTime), outer(innermost) {
        innermost = this;
    }
    ~Frame() { innermost = outer; }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    State& state;
    const TimePoint eventTime;
    Frame* const outer;

    static thread_local Frame* innermost;
};

/// Keeps the state of the loop that is attached to this thread, which may outlive the loop.
struct RunLoop::Attachment {
    ~Attachment() { attached = nullptr; }

    std::shared_ptr<State> state;

    static thread_local State* attached;
    static thread_local Attachment ofThisThread;
};

constinit thread_local RunLoop::Frame* RunLoop::Frame::innermost = nullptr;
constinit thread_local RunLoop::State* RunLoop::Attachment::attached = nullptr;
thread_local RunLoop::Attachment RunLoop::Attachment::ofThisThread;

namespace {

constexpr std::chrono::milliseconds kGuestInterval(2);

/// The boundary of a run loop: what goes wrong in one piece of work ends that piece alone.
template <typename Work>
void runGuarded(const Work& work) {
    constexpr std::string_view kPattern = "RunLoop: [%@] %@";
    try {
        work();
    } catch (const std::exception& exception) {
        Log::write(kPattern, {"runMode:beforeDate:", exception.what()});
    } catch (...) {
        Log::write(kPattern, {"runMode:beforeDate:", "unknown exception"});
    }
}

std::optional<TimePoint> earlier(std::optional<TimePoint> a, std::optional<TimePoint> b) {
    if (!a || !b) return a ? a : b;
    return std::min(*a, *b);
}

}  // namespace

RunLoop::RunLoop(Clock& clock) : _state(std::make_shared<State>(*this, clock)) {}

RunLoop::~RunLoop() {
    end();
    _state->loop = nullptr;
    if (Attachment::attached == _state.get()) {
        Attachment::attached = nullptr;
        Attachment::ofThisThread.state.reset();
    }
    // What the dropped work holds may reach for this loop while it goes: no lock may be held then.
    WorkQueue dropped;
    const std::lock_guard lock(_state->mutex);
    dropped.swap(_state->queue);
}

RunLoop* RunLoop::current() {
    const State* state = State::ofThisThread();
    return state != nullptr ? state->loop.load() : nullptr;
}

void RunLoop::attachToCurrentThread() {
    Attachment::ofThisThread.state = _state;
    Attachment::attached = _state.get();
}

TimePoint RunLoop::now() {
    if (Frame::innermost != nullptr) return Frame::innermost->eventTime;
    const State* state = Attachment::attached;
    return state != nullptr && state->loop != nullptr ? state->clock.now() : Clock::monotonic().now();
}

void RunLoop::add(std::shared_ptr<Timer> timer) {
    const auto state = _state;
    if (timer && timer->claim(state)) state->add(std::move(timer));
}

bool RunLoop::perform(Work work, Wait wait) {
    const auto state = _state;
    if (wait == Wait::no) return state->push(state->timeOfCaller(), nextSequence(), std::move(work));
    return state->isOnThisThread() ? state->performAtOnce(work) : state->performAndWait(work);
}

bool RunLoop::performAt(TimePoint eventTime, Work work) {
    const auto state = _state;
    return state->push(eventTime, nextSequence(), std::move(work));
}

bool RunLoop::performAfter(Duration delay, Work work) {
    const auto state = _state;
    return state->push(movedBy(state->timeOfCaller(), std::max(delay, Duration::zero())), nextSequence(),
                       std::move(work));
}

void RunLoop::setGuest(EventLoopGuest* guest) {
    const std::lock_guard lock(_state->mutex);
    _state->guest = guest;
}

std::optional<TimePoint> RunLoop::nextDate() const {
    const std::lock_guard lock(_state->mutex);
    return _state->queue.firstDate();
}

bool RunLoop::runOnce(std::optional<TimePoint> limit) {
    const auto state = _state;
    const std::uint64_t passesBefore = state->passes;
    state->giveGuestItsTurn();
    // Its turn may have been a dialog that lasted, and served this loop.
    return state->passes != passesBefore || state->runFirst(limit);
}

void RunLoop::run() {
    while (runOnce()) {
    }
}

void RunLoop::end() {
    const auto state = _state;
    std::vector<WaitingPerform*> refused;
    {
        const std::lock_guard lock(state->mutex);
        state->hasEnded = true;
        while (auto item = state->queue.popFirstWaiting()) refused.push_back(std::get<WaitingPerform*>(item.mapped()));
        state->wakeUp();
    }
    for (WaitingPerform* perform : refused) perform->finish(WaitingPerform::Outcome::refused);
}

bool RunLoop::hasEnded() const {
    return _state->hasEnded;
}

RunLoop::State* RunLoop::State::ofThisThread() {
    return Frame::innermost != nullptr ? &Frame::innermost->state : Attachment::attached;
}

bool RunLoop::State::isOnThisThread() const {
    for (const Frame* frame = Frame::innermost; frame != nullptr; frame = frame->outer) {
        if (&frame->state == this) return true;
    }
    return Attachment::attached == this;
}

/// The event time of the callback that asks, on this loop's clock.
TimePoint RunLoop::State::timeOfCaller() const {
    return Frame::innermost != nullptr ? noLaterThanPresent(Frame::innermost->eventTime) : clock.now();
}

bool RunLoop::State::push(TimePoint date, std::uint64_t sequence, WorkQueue::Work work) {
    const bool isWaitedFor = std::holds_alternative<WaitingPerform*>(work);
    const std::lock_guard lock(mutex);
    if (hasEnded) return false;
    const bool isFirst = queue.push({date, sequence}, std::move(work));
    if (isFirst || isWaitedFor) wakeUp();
    return true;
}

/// Under mutex.
void RunLoop::State::wakeUp() {
    condition.notify_all();
    if (guest != nullptr) guest->wakeUp();
}

void RunLoop::State::giveGuestItsTurn() {
    if (guest == nullptr || hasEnded) return;
    const TimePoint present = clock.now();
    if (present - lastTurnOfGuest < kGuestInterval) return;
    lastTurnOfGuest = present;
    guest->serveWaiting();
}

bool RunLoop::State::runFirst(std::optional<TimePoint> limit) {
    const std::uint64_t passesBefore = passes;
    while (WorkQueue::Item item = takeDue(limit)) {
        if (runItem(std::move(item))) return true;
    }
    return passes != passesBefore;
}

void RunLoop::State::add(std::shared_ptr<Timer> timer) {
    push(timer->_fireDate, timer->_sequence, timer);
    // Another thread may have invalidated it before there was anything to withdraw.
    if (!timer->isValid()) withdraw(*timer);
}

void RunLoop::State::withdraw(Timer& timer) {
    WorkQueue::Item withdrawn;
    {
        const std::lock_guard lock(mutex);
        withdrawn = queue.take({timer._fireDate, timer._sequence});
    }
    if (withdrawn) timer.letGo();
}

bool RunLoop::State::performAtOnce(const Work& work) {
    if (hasEnded) return false;
    const Frame frame(*this, RunLoop::now());
    runGuarded(work);
    return true;
}

bool RunLoop::State::performAndWait(const Work& work) {
    State* own = ofThisThread();
    WaitingPerform perform{work, own != nullptr ? own->shared_from_this() : std::make_shared<Signal>()};
    if (!push(timeOfCaller(), nextSequence(), &perform)) return false;
    if (own != nullptr) {
        own->serveUntilFinished(perform);
    } else {
        std::unique_lock lock(perform.signal->mutex);
        perform.signal->condition.wait(lock, [&] { return perform.outcome != WaitingPerform::Outcome::pending; });
    }
    return perform.outcome == WaitingPerform::Outcome::done;
}

/// Waits as the caller's own loop: others may be waiting for this thread, perhaps the very one it waits for.
void RunLoop::State::serveUntilFinished(WaitingPerform& perform) {
    const auto self = shared_from_this();
    std::unique_lock lock(mutex);
    while (perform.outcome == WaitingPerform::Outcome::pending) {
        if (auto item = queue.popFirstWaiting()) {
            lock.unlock();
            runItem(std::move(item));
            lock.lock();
        } else {
            condition.wait(lock);
        }
    }
}

WorkQueue::Item RunLoop::State::takeDue(std::optional<TimePoint> limit) {
    const std::uint64_t passesBefore = passes;
    std::unique_lock lock(mutex);
    while (!hasEnded && passes == passesBefore) {
        const TimePoint present = clock.now();
        const auto first = queue.firstDate();
        if (first && *first <= present) return queue.popFirst();
        if (limit && *limit <= present) break;
        if (guest == nullptr) {
            clock.wait(lock, condition, earlier(first, limit));
        } else {
            lock.unlock();
            guest->serveUntil(earlier(first, limit));
            lock.lock();
        }
    }
    return {};
}

/// False for a timer that was invalidated: nothing ran, the pass goes on.
bool RunLoop::State::runItem(WorkQueue::Item item) {
    const Frame frame(*this, item.key().date);
    if (const auto* timer = std::get_if<std::shared_ptr<Timer>>(&item.mapped())) {
        if (!runTimer(**timer)) return false;
        if ((*timer)->isValid()) push((*timer)->_fireDate, (*timer)->_sequence, *timer);
    } else if (auto* waiting = std::get_if<WaitingPerform*>(&item.mapped())) {
        runGuarded((*waiting)->work);
        (*waiting)->finish(WaitingPerform::Outcome::done);
    } else {
        runGuarded(std::get<Work>(item.mapped()));
    }
    ++passes;
    return true;
}

bool RunLoop::State::runTimer(Timer& timer) {
    const bool mayFire = timer.mayFire();
    if (mayFire) runGuarded([&] { timer._action(timer); });
    timer.reschedule(clock.now());
    return mayFire;
}

}  // namespace zelvane
