// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Platform/Foundation/Error.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// How a device takes sound.
struct AudioDeviceFormat {
    double sampleRate = 48000;
    std::uint32_t channels = 2;
    std::uint32_t periodFrames = 512;   ///< the most it asks for in one cycle as a rule
    std::uint32_t bitsPerChannel = 32;  ///< of its physical format, as far as it is known

    bool operator==(const AudioDeviceFormat&) const = default;
};

/// One request for sound.
struct AudioCycle {
    TimePoint start;                  ///< when the device wanted the first frame
    bool startIsExact = false;        ///< `start` has no jitter (a paced device), so it needs no smoothing
    bool isDiscontinuous = false;     ///< frames were lost since the last cycle
    std::uint32_t frames = 0;         ///< wanted now; any number
    std::uint32_t periodFrames = 0;   ///< the device's current period
    std::span<float* const> outputs;  ///< one buffer of `frames` samples for each channel, to be filled entirely
};

/// Makes the sound that a device asks for.
class AudioRenderer {
  public:
    virtual ~AudioRenderer() = default;

    /// Called before a stream starts, and never while one runs: the format that `render` will see.
    virtual void prepare(const AudioDeviceFormat& format) = 0;

    /// How many frames after a message came to the player its sound begins, on a device of that period. Any thread.
    virtual std::uint32_t latencyFrames(std::uint32_t /*periodFrames*/) const { return 0; }

    /// Audio thread, real-time safe.
    virtual void render(const AudioCycle& cycle) noexcept = 0;
};

/// What one open device tells. Any thread.
enum class AudioStreamState {
    alive,
    lost,           ///< server or device gone: close it
    formatChanged,  ///< close it and open it again
};

/// An open device. Destruction stops it; afterwards the renderer is not called any more.
class AudioStream {
  public:
    virtual ~AudioStream() = default;

    /// The format for which the renderer is to be prepared. Before `start`.
    virtual AudioDeviceFormat format() const = 0;
    /// Begins to call the renderer, which must outlive the stream. Once. False when the device refuses.
    virtual bool start(AudioRenderer& renderer) = 0;
    virtual AudioStreamState state() const = 0;
    /// Cycles that the device reports as late or lost since it was opened. Any thread.
    virtual std::uint64_t xruns() const = 0;
};

/// What an open device is asked for.
struct AudioStreamWish {
    std::uint32_t periodFrames = 512;  ///< a server with a size of its own keeps it
};

/// One device that may be chosen.
struct AudioDeviceInfo {
    std::string name;          ///< shown to the user, unique within the back end, at most 63 bytes
    AudioDeviceFormat format;  ///< as far as it is known without opening
    bool isDefault = false;    ///< the server's own choice
};

/// A sound server, or what stands in for one. A back end whose server is not there has no devices; that is no error.
/// It outlives its streams. One thread at a time.
class AudioDeviceBackEnd {
  public:
    virtual ~AudioDeviceBackEnd() = default;

    virtual std::string_view name() const = 0;
    /// False where the server has a period of its own, so that reopening a device for another wish is of no use.
    virtual bool takesPeriodWish() const { return true; }
    virtual std::vector<AudioDeviceInfo> devices() = 0;
    /// Opens a device of that name, or with an empty name the server's default, which is then followed. Null, with the
    /// reason, when it can't be had.
    virtual std::unique_ptr<AudioStream> open(const std::string& deviceName, const AudioStreamWish& wish,
                                              Error& error) = 0;
};

}  // namespace zelvane
