// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Machine/UsbKeyboard.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <stdexcept>

namespace zelvane {

namespace {

constexpr const char* kCardID = "keyboard";

void write(const std::filesystem::path& file, const std::string& text) {
    std::ofstream stream(file);
    stream << text << std::endl;
    if (!stream) throw std::runtime_error("can't write " + file.string());
}

}  // namespace

UsbKeyboard::UsbKeyboard(const std::string& product, const std::string& serial)
    : _gadget("/sys/kernel/config/usb_gadget/keyboard") {
    const auto texts = _gadget / "strings/0x409";
    const auto midi = _gadget / "functions/midi.usb0";
    for (const auto& folder : {_gadget, texts, _gadget / "configs/c.1", midi})
        std::filesystem::create_directory(folder);
    write(_gadget / "idVendor", "0x1209");
    write(_gadget / "idProduct", "0x0001");
    write(texts / "manufacturer", "Test");
    write(texts / "product", product);
    if (!serial.empty()) write(texts / "serialnumber", serial);
    write(midi / "id", kCardID);
    std::filesystem::create_directory_symlink(midi, _gadget / "configs/c.1/midi.usb0");
}

UsbKeyboard::~UsbKeyboard() {
    if (_listening >= 0) close(_listening);
    std::ofstream(_gadget / "UDC") << std::endl;
    std::error_code error;
    std::filesystem::remove(_gadget / "configs/c.1/midi.usb0", error);
    for (const char* folder : {"functions/midi.usb0", "configs/c.1", "strings/0x409", ""}) {
        std::filesystem::remove(_gadget / folder, error);
    }
}

void UsbKeyboard::plugIn() const {
    write(_gadget / "UDC", "dummy_udc.0");
}

void UsbKeyboard::unplug() const {
    write(_gadget / "UDC", "");
}

/// The gadget's side is a card too; the other side's comes and goes.
std::filesystem::path UsbKeyboard::deviceFile() const {
    const auto card = std::filesystem::read_symlink(std::filesystem::path("/proc/asound") / kCardID).string();
    return "/dev/snd/midiC" + card.substr(card.find_first_of("0123456789")) + "D0";
}

void UsbKeyboard::play(const std::vector<std::uint8_t>& bytes) const {
    std::ofstream(deviceFile(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void UsbKeyboard::listen() {
    _listening = open(deviceFile().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    // The card drops what comes before the first look.
    pollfd waiting{_listening, POLLIN, 0};
    poll(&waiting, 1, 0);
}

std::vector<std::uint8_t> UsbKeyboard::hear(std::size_t count) {
    std::vector<std::uint8_t> bytes;
    std::array<std::uint8_t, 256> some{};
    pollfd waiting{_listening, POLLIN, 0};
    while (bytes.size() < count && poll(&waiting, 1, 10000) > 0) {
        const ssize_t length = read(_listening, some.data(), some.size());
        if (length <= 0) break;
        bytes.insert(bytes.end(), some.begin(), some.begin() + length);
    }
    return bytes;
}

}  // namespace zelvane
