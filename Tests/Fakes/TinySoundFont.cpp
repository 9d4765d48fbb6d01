// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/TinySoundFont.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <numbers>
#include <string_view>
#include <vector>

namespace zelvane {

namespace {

constexpr std::uint32_t kSampleRate = 44000;  // a hundred samples are one period of 440 Hz
constexpr std::uint32_t kPeriod = 100;
constexpr std::uint32_t kSineLength = 20 * kPeriod;
constexpr std::uint32_t kClickLength = 88;
constexpr std::uint32_t kGap = 48;  // silence that the format wants behind each sample
constexpr double kHeight = 16000;

/// Generators of the format.
enum Generator : std::uint16_t { attack = 34, instrument = 41, coarseTune = 51, sample = 53, sampleModes = 54 };

template <typename Number>
std::string bytes(Number number) {
    std::string text;
    for (std::size_t i = 0; i < sizeof number; ++i)
        text += static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i));
    return text;
}

std::string name(std::string_view text) {
    std::string padded(text);
    padded.resize(20);
    return padded;
}

std::string chunk(std::string_view id, const std::string& content) {
    return std::string(id) + bytes(static_cast<std::uint32_t>(content.size())) + content +
           std::string(content.size() % 2, '\0');
}

std::string list(std::string_view id, const std::string& content) {
    return chunk("LIST", std::string(id) + content);
}

std::string u16(int number) {
    return bytes(static_cast<std::uint16_t>(number));
}
std::string u32(std::uint32_t number) {
    return bytes(number);
}

std::string information() {
    return list("INFO", chunk("ifil", u16(2) + u16(1)) + chunk("isng", std::string("EMU8000\0", 8)) +
                            chunk("INAM", std::string("Tiny\0\0", 6)));
}

std::string samples() {
    std::string wave;
    const auto add = [&](double height) { wave += u16(static_cast<int>(std::lround(height))); };
    for (std::uint32_t i = 0; i < kSineLength; ++i) add(kHeight * std::cos(2 * std::numbers::pi * i / kPeriod));
    for (std::uint32_t i = 0; i < kGap; ++i) add(0);
    for (std::uint32_t i = 0; i < kClickLength; ++i) add(i % 8 < 4 ? kHeight : -kHeight);
    for (std::uint32_t i = 0; i < kGap; ++i) add(0);
    return list("sdta", chunk("smpl", wave));
}

std::string sampleHeader(std::string_view title, std::uint32_t start, std::uint32_t length) {
    const std::uint32_t loop = start + kPeriod;
    const std::uint32_t loopEnd = length > 2 * kPeriod ? start + length - kPeriod : start + length - 8;
    return name(title) + u32(start) + u32(start + length) + u32(length > 2 * kPeriod ? loop : start + 8) +
           u32(loopEnd) + u32(kSampleRate) + std::string(1, 69) + std::string(1, '\0') + u16(0) + u16(1);
}

std::string generator(Generator kind, int amount) {
    return u16(kind) + u16(amount);
}

struct PresetEntry {
    std::string_view title;
    int bank, program, instrument;
};
constexpr std::array<PresetEntry, 4> kPresets{
    {{"Sine", 0, 0, 0}, {"Click", 0, 1, 1}, {"Octave", 1, 0, 2}, {"Drum", 128, 0, 1}}};

std::string presetChunks() {
    std::string headers, bags, generators;
    int index = 0;
    for (const PresetEntry& preset : kPresets) {
        headers += name(preset.title) + u16(preset.program) + u16(preset.bank) + u16(index) + std::string(12, '\0');
        bags += u16(index) + u16(0);
        generators += generator(instrument, preset.instrument);
        ++index;
    }
    headers += name("EOP") + u16(0) + u16(0) + u16(index) + std::string(12, '\0');
    bags += u16(index) + u16(0);
    return chunk("phdr", headers) + chunk("pbag", bags) + chunk("pmod", std::string(10, '\0')) +
           chunk("pgen", generators + u32(0));
}

std::string instrumentChunks() {
    const std::vector<std::vector<std::string>> zones{
        {generator(attack, -12000), generator(sampleModes, 1), generator(sample, 0)},
        {generator(attack, -12000), generator(sampleModes, 0), generator(sample, 1)},
        {generator(attack, -12000), generator(coarseTune, 12), generator(sampleModes, 1), generator(sample, 0)}};
    std::string headers, bags, generators;
    int count = 0;
    for (std::size_t i = 0; i < zones.size(); ++i) {
        headers += name("Instrument") + u16(static_cast<int>(i));
        bags += u16(count) + u16(0);
        for (const std::string& one : zones[i]) generators += one;
        count += static_cast<int>(zones[i].size());
    }
    headers += name("EOI") + u16(static_cast<int>(zones.size()));
    bags += u16(count) + u16(0);
    return chunk("inst", headers) + chunk("ibag", bags) + chunk("imod", std::string(10, '\0')) +
           chunk("igen", generators + u32(0));
}

std::string sampleHeaders() {
    return chunk("shdr", sampleHeader("Sine", 0, kSineLength) +
                             sampleHeader("Click", kSineLength + kGap, kClickLength) + name("EOS") +
                             std::string(26, '\0'));
}

}  // namespace

std::string tinySoundFont() {
    return chunk("RIFF", "sfbk" + information() + samples() +
                             list("pdta", presetChunks() + instrumentChunks() + sampleHeaders()));
}

void writeTinySoundFont(const std::filesystem::path& file) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << tinySoundFont();
}

}  // namespace zelvane
