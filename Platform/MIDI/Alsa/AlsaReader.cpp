// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaReader.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Thread.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace zelvane {

AlsaReader::AlsaReader(const AlsaSequencer& sequencer, AlsaGenerations& generations, MIDIBackEndListener& listener)
    : _sequencer(sequencer),
      _generations(generations),
      _listener(listener),
      _wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      _thread(startThread("midi-reader", ThreadRole::reader, [this] { read(); })) {}

AlsaReader::~AlsaReader() {
    _isEnding = true;
    wake();
    _thread.join();
    close(_wake);
}

int AlsaReader::addLine(MIDILineID line, const std::string& name, unsigned capabilities) {
    int port = -1;
    // Made there, so that the reader knows of the line before anything comes.
    perform([&] {
        port = _sequencer.createPort(name, capabilities);
        if (port >= 0) _lines.emplace(port, PortLine{AlsaLine(line)});
    });
    return port;
}

bool AlsaReader::connect(AlsaAddress source, int port) {
    // To open a device may take a while, in which the reader has better things to do.
    if (!_sequencer.connect(source, {_sequencer.client(), port})) return false;
    perform([&] { _lines.at(port).source = source; });
    return true;
}

void AlsaReader::endLine(int port) {
    _sequencer.deletePort(port);
    perform([&] {
        const auto entry = _lines.find(port);
        if (entry == _lines.end()) return;
        entry->second.line.endAllSenders(_clock.eventTime(std::nullopt));
        entry->second.line.deliver(_listener);
        _lines.erase(entry);
    });
}

/// Runs the work on the reader's thread, and waits for it.
void AlsaReader::perform(const std::function<void()>& work) {
    std::packaged_task<void()> task(work);
    const auto done = task.get_future();
    {
        const std::lock_guard lock(_workMutex);
        _work.push_back(std::move(task));
    }
    wake();
    done.wait();
}

void AlsaReader::wake() const {
    eventfd_write(_wake, 1);
}

void AlsaReader::performWork() {
    std::vector<std::packaged_task<void()>> work;
    {
        const std::lock_guard lock(_workMutex);
        work.swap(_work);
    }
    _clock.update(Clock::monotonic().now(), std::nullopt);
    for (auto& task : work) task();
}

void AlsaReader::read() {
    while (!_isEnding) {
        wait();
        takeBatch();
        deliver();
        performWork();
        _losses.tell(Clock::monotonic().now(), false);
    }
    for (auto& [port, entry] : _lines) entry.line.endAllSenders(_clock.eventTime(std::nullopt));
    deliver();
    _losses.tell(Clock::monotonic().now(), true);
}

void AlsaReader::wait() {
    std::array<pollfd, 2> waiting{{{_wake, POLLIN, 0}, {-1, POLLIN, 0}}};
    if (!_hasFailed) snd_seq_poll_descriptors(_sequencer.handle(), &waiting[1], 1, POLLIN);
    constexpr int kUntilLossIsTold = 1000;
    poll(waiting.data(), waiting.size(), _losses.isDue() ? kUntilLossIsTold : -1);
    eventfd_t count = 0;
    if (waiting[0].revents != 0) eventfd_read(_wake, &count);
}

/// What the kernel has ready, as far as it fits the library's buffer.
void AlsaReader::takeBatch() {
    bool isFirst = true;
    while (takeNext(std::exchange(isFirst, false)) && snd_seq_event_input_pending(_sequencer.handle(), 0) > 0) {
    }
}

/// False when there is none.
bool AlsaReader::takeNext(bool isFirst) {
    snd_seq_event_t* event = nullptr;
    const int result = snd_seq_event_input(_sequencer.handle(), &event);
    if (isFirst) {
        const auto queueTime = _sequencer.queueTime();
        _clock.update(Clock::monotonic().now(), queueTime);
    }
    if (result >= 0) {
        take(*event);
    } else if (result == -ENOSPC) {
        recoverFromLoss();
    } else if (result != -EAGAIN && result != -EINTR) {
        Log::write("AlsaBackEnd: [%@] unable to receive, %@", {"read", snd_strerror(result)});
        _hasFailed = true;
    }
    return result >= 0;
}

void AlsaReader::take(const snd_seq_event_t& event) {
    std::optional<Duration> queueTime;
    const unsigned isReal = event.flags & SND_SEQ_TIME_STAMP_MASK;
    if (isReal == SND_SEQ_TIME_STAMP_REAL && event.queue == _sequencer.queue()) {
        queueTime = std::chrono::seconds(event.time.time.tv_sec) + std::chrono::nanoseconds(event.time.time.tv_nsec);
    }
    const TimePoint time = _clock.eventTime(queueTime);
    if (event.source.client == SND_SEQ_CLIENT_SYSTEM) return takeAnnouncement(event, time);
    const auto entry = _lines.find(event.dest.port);
    if (entry != _lines.end()) entry->second.line.take(event, _decoder, time);
}

void AlsaReader::takeAnnouncement(const snd_seq_event_t& event, TimePoint time) {
    const AlsaAddress port{event.data.addr.client, event.data.addr.port};
    switch (event.type) {
        case SND_SEQ_EVENT_PORT_UNSUBSCRIBED:
            return takeUnsubscription(event, time);
        case SND_SEQ_EVENT_CLIENT_EXIT:
            endSender({port.client, -1}, time);
            break;
        case SND_SEQ_EVENT_PORT_EXIT:
            endSender(port, time);
            break;
        case SND_SEQ_EVENT_CLIENT_START:
        case SND_SEQ_EVENT_CLIENT_CHANGE:
        case SND_SEQ_EVENT_PORT_START:
        case SND_SEQ_EVENT_PORT_CHANGE:
            break;
        default:
            return;
    }
    if (port.client != _sequencer.client()) _hasSetupChanged = true;
}

void AlsaReader::takeUnsubscription(const snd_seq_event_t& event, TimePoint time) {
    const auto& [sender, destination] = event.data.connect;
    if (destination.client != _sequencer.client()) return;
    const auto entry = _lines.find(destination.port);
    if (entry != _lines.end()) entry->second.line.endSender({sender.client, sender.port}, time);
}

void AlsaReader::endSender(AlsaAddress sender, TimePoint time) {
    _generations.end(sender);
    for (auto& [port, entry] : _lines) entry.line.endSender(sender, time);
}

/// Anything may have been among what was lost: note-offs, and news of ports that went away.
void AlsaReader::recoverFromLoss() {
    _losses.count(Clock::monotonic().now());
    for (auto& [port, entry] : _lines) {
        entry.line.endAllSenders(_clock.eventTime(std::nullopt));
        const bool isSource = entry.source != AlsaAddress{};
        if (isSource && !_sequencer.isConnected(entry.source, {_sequencer.client(), port})) {
            _generations.end(entry.source);
        }
    }
    _hasSetupChanged = true;
}

void AlsaReader::deliver() {
    for (auto& [port, entry] : _lines) entry.line.deliver(_listener);
    if (std::exchange(_hasSetupChanged, false)) _listener.setupChanged();
}

}  // namespace zelvane
