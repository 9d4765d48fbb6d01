// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Common/CoreTime.h"
#include "Platform/Audio/FlushToZero.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"
#include "Platform/Foundation/Folders.h"

#include <fluidsynth.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using namespace zelvane;

namespace {

constexpr double kRate = 48000;
constexpr std::uint32_t kBlock = 256;
constexpr int kBlocksOfSecond = static_cast<int>(kRate / kBlock);
constexpr int kUnits = 10;
constexpr int kRounds = 7;
constexpr int kProgram = 16;  // an organ: it lasts, one voice a note in most fonts

struct Note {
    std::uint8_t channel, key;
};

/// 64 notes on four channels.
std::vector<Note> chord() {
    std::vector<Note> notes;
    for (std::uint8_t channel = 0; channel < 4; ++channel)
        for (std::uint8_t key = 48; key < 64; ++key) notes.push_back({channel, key});
    return notes;
}

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Memory of this process that is its own, in MB.
double ownMegabytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("RssAnon:")) return std::stod(line.substr(8)) / 1024;
    return 0;
}

template <typename Work>
double medianSeconds(Work work) {
    std::array<double, kRounds> seconds{};
    for (double& one : seconds) {
        const double start = coreSeconds();
        work();
        one = coreSeconds() - start;
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds[kRounds / 2];
}

using Units = std::vector<std::unique_ptr<SoundFontInstrument>>;

Units makeUnits(const std::filesystem::path& font, int count) {
    Units units;
    for (int i = 0; i < count; ++i) {
        Error error;
        units.push_back(std::make_unique<SoundFontInstrument>(SoundFontBank::load(font, error)));
        if (units.back()->prepare(kRate, kBlock) != kNoError) std::abort();
    }
    return units;
}

/// Blocks of a second. Never inlined, so that callgrind can be told to count here only.
template <typename RenderBlock>
[[gnu::noinline]] void playSecond(const RenderBlock& renderBlock) {
    for (int block = 0; block < kBlocksOfSecond; ++block) renderBlock();
}

void renderSecond(const Units& units, const std::vector<TimedMIDI>& events) {
    std::array<float, kBlock> left{};
    std::array<float, kBlock> right{};
    std::vector<std::span<const TimedMIDI>> waiting(units.size(), events);
    playSecond([&] {
        for (std::size_t i = 0; i < units.size(); ++i)
            waiting[i] =
                waiting[i].subspan(units[i]->render(waiting[i], left.data(), right.data(), kBlock).eventsTaken);
    });
}

std::vector<TimedMIDI> chordEvents() {
    std::vector<TimedMIDI> events;
    for (std::uint8_t channel = 0; channel < 4; ++channel)
        events.push_back({0, static_cast<std::uint8_t>(0xC0 | channel), kProgram, 0});
    for (const Note note : chord())
        events.push_back({0, static_cast<std::uint8_t>(0x90 | note.channel), note.key, 100});
    return events;
}

void measureLoading(const std::filesystem::path& font) {
    const double before = ownMegabytes();
    double start = now();
    const Units one = makeUnits(font, 1);
    std::printf("first unit: %.1f ms, %.1f MB\n", (now() - start) * 1e3, ownMegabytes() - before);
    start = now();
    const Units others = makeUnits(font, kUnits - 1);
    std::printf("nine more units: %.1f ms, %.1f MB for ten\n", (now() - start) * 1e3, ownMegabytes() - before);
}

void measureNotes(const std::filesystem::path& font) {
    const Units units = makeUnits(font, 1);
    std::array<float, kBlock> left{};
    std::array<float, kBlock> right{};
    constexpr int kBlocks = 4000;
    const auto play = [&](std::span<const TimedMIDI> events) {
        for (int i = 0; i < kBlocks; ++i) units[0]->render(events, left.data(), right.data(), kBlock);
    };
    const std::array<TimedMIDI, 3> note{{{0, 0xC0, kProgram, 0}, {0, 0xB0, 120, 0}, {0, 0x90, 60, 100}}};
    units[0]->render(note, left.data(), right.data(), kBlock);
    const double without = medianSeconds([&] { play({}); });
    const double with = medianSeconds([&] { play(std::span(note).subspan(1)); });
    std::printf("block of %u frames with one voice: %.2f us, and with a note cut off and begun %.2f us\n", kBlock,
                without / kBlocks * 1e6, with / kBlocks * 1e6);
}

void printCost(double secondsOfSecond) {
    std::printf("%.0f us for a block of %u frames, %.2f %% of a core\n", secondsOfSecond / kBlocksOfSecond * 1e6,
                kBlock, secondsOfSecond * 100);
}

void measureUnits(const std::filesystem::path& font, bool hasReverb) {
    const Units units = makeUnits(font, kUnits);
    for (const auto& unit : units)
        unit->setParameter(static_cast<std::size_t>(SoundFontParameter::reverbOn), hasReverb ? 1 : 0);
    renderSecond(units, chordEvents());
    const double seconds = medianSeconds([&] { renderSecond(units, {}); });
    std::printf("ten units with 64 notes each%s: ", hasReverb ? " and reverb" : "");
    printCost(seconds);
}

/// As many notes on one FluidSynth of 160 channels: what ten units cost beyond their voices.
void measureOneFluidSynth(const std::filesystem::path& font) {
    fluid_settings_t* settings = new_fluid_settings();
    fluid_settings_setint(settings, "synth.threadsafe-api", 0);
    fluid_settings_setint(settings, "synth.midi-channels", 16 * kUnits);
    fluid_settings_setint(settings, "synth.polyphony", 64 * kUnits);
    fluid_settings_setint(settings, "synth.reverb.active", 0);
    fluid_settings_setint(settings, "synth.chorus.active", 0);
    fluid_settings_setnum(settings, "synth.sample-rate", kRate);
    fluid_synth_t* synth = new_fluid_synth(settings);
    fluid_synth_sfload(synth, font.c_str(), 1);
    for (int unit = 0; unit < kUnits; ++unit) {
        for (int channel = 0; channel < 4; ++channel) fluid_synth_program_change(synth, 16 * unit + channel, kProgram);
        for (const Note note : chord()) fluid_synth_noteon(synth, 16 * unit + note.channel, note.key, 100);
    }
    std::array<float, kBlock> left{};
    std::array<float, kBlock> right{};
    const auto second = [&] {
        playSecond([&] { fluid_synth_write_float(synth, kBlock, left.data(), 0, 1, right.data(), 0, 1); });
    };
    second();
    const double seconds = medianSeconds(second);
    std::printf("one FluidSynth with the same notes (%d voices): ", fluid_synth_get_active_voice_count(synth));
    printCost(seconds);
    delete_fluid_synth(synth);
    delete_fluid_settings(settings);
}

}  // namespace

/// With an argument it measures that part alone, for callgrind.
int main(int count, char** arguments) {
    const auto folders = dataFolders();
    const auto font = findSoundFont(folders);
    if (!font) return std::puts("No sound font found: install timgm6mb-soundfont."), 1;
    const ScopedFlushToZero flushToZero;
    const std::string_view part = count > 1 ? arguments[1] : "all";
    const bool isAll = part == "all";
    std::printf("%s\n", font->c_str());
    if (isAll || part == "loading") measureLoading(*font);
    if (isAll || part == "notes") measureNotes(*font);
    if (isAll || part == "units") measureUnits(*font, false);
    if (isAll || part == "reverb") measureUnits(*font, true);
    if (isAll || part == "one") measureOneFluidSynth(*font);
    return 0;
}
