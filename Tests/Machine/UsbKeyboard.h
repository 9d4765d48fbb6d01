// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zelvane {

/// A USB keyboard with one MIDI cable each way, that the kernel plays against itself: the one side is a gadget, the
/// other a device like any that is plugged in.
class UsbKeyboard {
  public:
    /// Made, but not plugged in; one at a time. The product's name is what the sequencer shows.
    UsbKeyboard(const std::string& product, const std::string& serial);
    ~UsbKeyboard();
    UsbKeyboard(const UsbKeyboard&) = delete;
    UsbKeyboard& operator=(const UsbKeyboard&) = delete;

    void plugIn() const;
    void unplug() const;

    /// Its keys send these bytes.
    void play(const std::vector<std::uint8_t>& bytes) const;
    /// Waits for that many bytes from the computer, a few seconds at most. Tell it `listen` before they come.
    std::vector<std::uint8_t> hear(std::size_t count);
    void listen();

  private:
    std::filesystem::path deviceFile() const;

    const std::filesystem::path _gadget;
    int _listening = -1;
};

}  // namespace zelvane
