// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/BackEndWorker.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// A device that would do: the worker of its back end, and its name, or none for the default.
struct DeviceCandidate {
    std::size_t worker = 0;
    std::string device;
    bool operator==(const DeviceCandidate&) const = default;
};

/// Tries to open one device after another until one of them can be had. Never blocks. Watching thread.
class DeviceHunt {
  public:
    using Workers = std::vector<std::unique_ptr<BackEndWorker>>;
    enum class Outcome { searching, found, failed };

    /// Each candidate gets that much time to answer.
    DeviceHunt(Workers& workers, std::vector<DeviceCandidate> candidates, const AudioStreamWish& wish,
               Duration patience)
        : _workers(workers), _candidates(std::move(candidates)), _wish(wish), _patience(patience) {}

    /// Goes on as far as it can.
    Outcome proceed(TimePoint now);
    /// What was found, with its gate closed, and whose it is. Once, after `found`.
    std::unique_ptr<OpenDevice> takeDevice() { return std::move(_found); }
    std::size_t worker() const { return _candidates[_next].worker; }
    /// Whether the candidate that is tried is of that worker.
    bool isTrying(std::size_t worker) const { return _next < _candidates.size() && this->worker() == worker; }
    /// Why the last candidate could not be had.
    const std::string& reason() const { return _reason; }

  private:
    Outcome tryNext(TimePoint now);
    void giveUpNext(const std::string& reason);

    Workers& _workers;
    const std::vector<DeviceCandidate> _candidates;
    const AudioStreamWish _wish;
    const Duration _patience;
    std::size_t _next = 0;
    bool _hasAsked = false;
    std::optional<TimePoint> _deadline;
    std::unique_ptr<OpenDevice> _found;
    std::string _reason = "there is no such device";
};

}  // namespace zelvane
