// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioHardware.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace zelvane {

/// The formats that a recording goes by. Set on the main thread and on the hardware's, read by the player thread as
/// well.
class StreamFormats {
  public:
    AudioStreamBasicDescription outputUnit() const;
    /// Of the output unit. The player thread, which asks for each message, waits for nobody.
    double sampleRate() const { return _sampleRate.load(std::memory_order_relaxed); }
    void setOutputUnit(const AudioStreamBasicDescription& description);

    AudioStreamBasicDescription outputFile() const;
    /// Follows a device: its rate and bit depth, with the channels of the output unit.
    void setOutputFileFromPhysicalFormat(const AudioStreamBasicDescription& physical);

    /// Apple Lossless' flag for a source of so many bits a sample.
    static std::uint32_t flagFromBitsize(std::uint32_t bitsPerChannel);

  private:
    mutable std::mutex _mutex;
    std::atomic<double> _sampleRate{0};  // written by the main thread, read by all
    AudioStreamBasicDescription _outputUnitStreamDescription;
    AudioStreamBasicDescription _outputFileStreamDescription;
};

}  // namespace zelvane
