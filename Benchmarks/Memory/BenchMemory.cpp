// SPDX-License-Identifier: GPL-3.0-or-later

// Memory of ten units beside one, and of the player beside the program of the library that it plays on.

#include "Benchmarks/Common/FluidSynthProgram.h"
#include "Benchmarks/Common/PlayerProgram.h"
#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Memory/MemoryUse.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"
#include "Platform/Foundation/Folders.h"
#include "Tests/Fakes/JackServer.h"

#include <array>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

using namespace zelvane;

namespace {

constexpr double kRate = 48000;
constexpr std::uint32_t kBlock = 256;
constexpr std::size_t kUnits = 10;
constexpr std::uint8_t kVoices = 64;

using Units = std::vector<std::unique_ptr<SoundFontInstrument>>;

void print(const char* what, const MemoryUse& use) {
    std::printf("%-44s %7.1f %7.1f %7.1f\n", what, use.proportional, use.resident, use.own);
}

/// Adds a unit and lets it play as many notes as it has voices, so that what it takes while it plays is counted.
void addUnit(Units& units, const std::filesystem::path& font) {
    Error error;
    const auto bank = SoundFontBank::load(font, error);
    require(bank != nullptr, error.description);
    units.push_back(std::make_unique<SoundFontInstrument>(bank));
    require(units.back()->prepare(kRate, kBlock) == kNoError, "a unit can't be prepared");
    std::vector<TimedMIDI> notes;
    for (std::uint8_t note = 0; note < kVoices; ++note)
        notes.push_back({0, 0x90, static_cast<std::uint8_t>(30 + note), 100});
    std::array<float, kBlock> left{}, right{};
    units.back()->render(notes, left.data(), right.data(), kBlock);
}

void measureUnits(const std::filesystem::path& font) {
    const MemoryUse before = MemoryUse::of("self");
    Units units;
    addUnit(units, font);
    const MemoryUse one = MemoryUse::of("self") - before;
    while (units.size() < kUnits) addUnit(units, font);
    const MemoryUse ten = MemoryUse::of("self") - before;
    print("one unit, font included", one);
    print("ten units that share the font", ten);
}

void measurePrograms(const std::filesystem::path& font) {
    JackServer server;
    require(server.start(), "jackd does not start; is it installed?");
    {
        const PlayerProgram player({"--set", "outputDevice=JACK: system"});
        require(waitFor([&] { return player.isListening(); }, 10), "the player does not listen");
        std::this_thread::sleep_for(std::chrono::seconds(1));
        print("the player, idle on JACK", MemoryUse::of(std::to_string(player.process())));
    }
    const FluidSynthProgram fluidSynth(font);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    print("fluidsynth, idle on JACK", MemoryUse::of(std::to_string(fluidSynth.process())));
}

void measureAll() {
    const auto folders = dataFolders();
    const auto font = findSoundFont(folders);
    require(font.has_value(), "no sound font found: install timgm6mb-soundfont");
    std::printf("%-44s %7s %7s %7s\n", "MB", "PSS", "RSS", "private");
    measureUnits(*font);
    measurePrograms(*font);
}

}  // namespace

int main() {
    return runBenchmark(measureAll);
}
