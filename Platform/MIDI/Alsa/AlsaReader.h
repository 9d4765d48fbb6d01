// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Alsa/AlsaClock.h"
#include "Platform/MIDI/Alsa/AlsaEventDecoder.h"
#include "Platform/MIDI/Alsa/AlsaGenerations.h"
#include "Platform/MIDI/Alsa/AlsaLine.h"
#include "Platform/MIDI/Alsa/AlsaLossReport.h"
#include "Platform/MIDI/Alsa/AlsaSequencer.h"

#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace zelvane {

/// Takes events from the sequencer on a thread of its own, and hands them on line by line. Operations are for any other
/// thread.
class AlsaReader {
  public:
    /// All must outlive the reader.
    AlsaReader(const AlsaSequencer& sequencer, AlsaGenerations& generations, MIDIBackEndListener& listener);
    /// When it returns nothing is handed on any more.
    ~AlsaReader();
    AlsaReader(const AlsaReader&) = delete;
    AlsaReader& operator=(const AlsaReader&) = delete;

    /// Makes a port of ours, and a line of what comes there. The port's number, or -1 when that fails.
    int addLine(MIDILineID line, const std::string& name, unsigned capabilities);
    /// Removes the port and ends the line. When it returns nothing comes over it any more.
    void endLine(int port);
    /// Connects another's port to a line's.
    bool connect(AlsaAddress source, int port);

  private:
    void perform(const std::function<void()>& work);
    void wake() const;
    void performWork();

    void read();
    void wait();
    void takeBatch();
    bool takeNext(bool isFirst);
    void take(const snd_seq_event_t& event);
    void takeAnnouncement(const snd_seq_event_t& event, TimePoint time);
    void takeUnsubscription(const snd_seq_event_t& event, TimePoint time);
    void endSender(AlsaAddress sender, TimePoint time);
    void recoverFromLoss();
    void deliver();

    const AlsaSequencer& _sequencer;
    AlsaGenerations& _generations;
    MIDIBackEndListener& _listener;
    const int _wake;  // an eventfd

    std::mutex _workMutex;
    std::vector<std::packaged_task<void()>> _work;  // written by all others, taken by the reader
    std::atomic<bool> _isEnding{false};             // written by who destroys it, read by the reader

    // The reader's own.
    struct PortLine {
        AlsaLine line;
        AlsaAddress source = {};  // that it is connected to, where it is
    };
    std::map<int, PortLine> _lines;  // by our port
    AlsaEventDecoder _decoder;
    AlsaClock _clock;
    AlsaLossReport _losses;
    bool _hasSetupChanged = false;
    bool _hasFailed = false;

    std::jthread _thread;  // last: it uses all the others
};

}  // namespace zelvane
