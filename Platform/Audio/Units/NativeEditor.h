// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace zelvane {

/// An instrument's own editor in a window of an X server. It has to end before its instrument and before the window it
/// is in. Main thread.
///
/// It is the instrument maker's code in this process: what it does wrong, and an error that the X server reports to it,
/// ends the player. Only its threads and its drawing are its own.
class NativeEditor {
  public:
    /// What it is opened in, and what it tells of. The functions are called on the main thread, also while it opens.
    struct Host {
        std::uint32_t parentWindow = 0;
        float scaleFactor = 1;
        std::function<void(AudioUnitParameterID id, float value)> parameterEdited;
        std::function<void(AudioUnitPropertyID id, std::span<const std::byte> value)> propertyEdited;
        std::function<void(std::uint8_t status, std::uint8_t data1, std::uint8_t data2)>
            played;                                          ///< by a keyboard in it
        std::function<void(int width, int height)> resized;  ///< to that size in the server's pixels
    };

    virtual ~NativeEditor() = default;

    /// Its own window, or 0 when it made one without saying which.
    virtual std::uint32_t window() const = 0;
    /// Shows a value that it did not set itself.
    virtual void showParameter(AudioUnitParameterID id, float value) = 0;
    /// Gives it a moment, some thirty times a second while it can be seen. False when it has ended itself, or its
    /// instrument has been made anew: then it can be opened again.
    virtual bool idle() = 0;
};

}  // namespace zelvane
