// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The editor that was opened last, as a test finds it: by `probeEditor` of the library, which the test loads again.
/// What it does when it opens is said by the variable PROBE_EDITOR: "still" has it never say its size, "crash" ends the
/// program, "refuse" fails.
class ProbeEditor {
  public:
    virtual ~ProbeEditor() = default;

    // What a user does with it.
    virtual void writeControl(std::uint32_t port, float value) = 0;
    virtual void writeLevel(float level) = 0;
    virtual void playNote(std::uint8_t key) = 0;
    virtual void resize(int width, int height) = 0;
    virtual void close() = 0;

    std::vector<std::pair<std::uint32_t, float>> shown;  ///< controls that it was told of
    std::vector<float> levels;                           ///< that the plug-in told of
    int number = 0;                                      ///< of all that were opened, from 1
    int timesIdle = 0;
    void* instance = nullptr;  ///< that it looks into
    std::uint32_t window = 0;
    float scaleFactor = 0;
};

using ProbeEditorFunction = ProbeEditor* (*)();
