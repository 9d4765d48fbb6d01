// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontBank.h"

#include "Platform/Audio/Instruments/SoundFont/FluidSynthLog.h"
#include "Platform/Audio/Instruments/SoundFont/FluidSynthMutex.h"
#include "Platform/Audio/Instruments/SoundFont/SerialOpenMP.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontSynth.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <fluidsynth.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <system_error>
#include <tuple>
#include <utility>

namespace zelvane {

namespace {

/// A file that was written anew under its old name is another font.
using FontKey = std::tuple<std::filesystem::path, std::filesystem::file_time_type, std::uintmax_t>;

struct LoadedFonts {
    std::mutex mutex;
    std::map<FontKey, std::weak_ptr<SoundFontBank>> banks;
};

LoadedFonts& loadedFonts() {
    static auto& instance = *new LoadedFonts;  // never destroyed: loader threads may end late
    return instance;
}

FontKey keyOf(const std::filesystem::path& file) {
    std::error_code error;
    const auto time = std::filesystem::last_write_time(file, error);
    const auto size = std::filesystem::file_size(file, error);
    return {file, time, size};
}

Error unreadable(const std::filesystem::path& file) {
    return {"SoundFont", 1,
            formatted(localizedString("Sorry, unable to read the sound bank %@"), {printable(file.native())})};
}

}  // namespace

std::shared_ptr<SoundFontBank> SoundFontBank::load(const std::filesystem::path& file, Error& error) {
    installFluidSynthLog();
    std::error_code failure;
    const auto path = std::filesystem::canonical(file, failure);
    if (failure || !isSoundFont(path)) {
        error = unreadable(file);
        return nullptr;
    }
    LoadedFonts& fonts = loadedFonts();
    const std::lock_guard lock(fonts.mutex);
    std::erase_if(fonts.banks, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<SoundFontBank>& known = fonts.banks[keyOf(path)];
    if (auto bank = known.lock()) return bank;
    std::shared_ptr<SoundFontBank> bank(new SoundFontBank);
    if (!bank->open(path)) {
        error = unreadable(file);
        return nullptr;
    }
    known = bank;
    return bank;
}

// The whole font is read at once, however large: read on demand, its samples would be loaded by the program change that
// first needs them, in the middle of rendering.
bool SoundFontBank::open(const std::filesystem::path& file) {
    const SerialOpenMP serial;
    const std::lock_guard lock(fluidSynthMutex());
    _path = file;
    _settings = new_fluid_settings();
    if (_settings == nullptr) return false;
    fluid_settings_setint(_settings, "synth.polyphony", 1);
    fluid_settings_setint(_settings, "synth.reverb.active", 0);
    fluid_settings_setint(_settings, "synth.chorus.active", 0);
    fluid_settings_setint(_settings, "synth.lock-memory", 0);
    fluid_settings_setint(_settings, "synth.dynamic-sample-loading", 0);
    _keeper = new_fluid_synth(_settings);
    if (_keeper == nullptr || fluid_synth_sfload(_keeper, file.c_str(), 0) == FLUID_FAILED) return false;
    _font = fluid_synth_get_sfont(_keeper, 0);
    readPresets();
    return _font != nullptr;
}

void SoundFontBank::readPresets() {
    if (_font == nullptr) return;
    fluid_sfont_iteration_start(_font);
    while (fluid_preset_t* preset = fluid_sfont_iteration_next(_font)) {
        _presets.push_back(
            {fluid_preset_get_banknum(preset), fluid_preset_get_num(preset), printable(fluid_preset_get_name(preset))});
    }
    std::stable_sort(_presets.begin(), _presets.end(),
                     [](const Preset& a, const Preset& b) { return a.number() < b.number(); });
    for (int number = 0; number < 128; ++number) {
        int value = 0;
        fluid_synth_get_cc(_keeper, 0, number, &value);
        _defaultControllers[static_cast<std::size_t>(number)] = static_cast<std::uint8_t>(value);
    }
}

SoundFontBank::~SoundFontBank() {
    _sounding.takeAll();
    _silent.takeAll();
    const std::lock_guard lock(fluidSynthMutex());
    if (_keeper != nullptr) delete_fluid_synth(_keeper);
    if (_settings != nullptr) delete_fluid_settings(_settings);
}

const SoundFontBank::Preset* SoundFontBank::preset(std::int32_t number) const {
    const auto place = std::lower_bound(_presets.begin(), _presets.end(), number,
                                        [](const Preset& preset, std::int32_t n) { return preset.number() < n; });
    return place != _presets.end() && place->number() == number ? &*place : nullptr;
}

void SoundFontBank::leave(std::unique_ptr<SoundFontSynth> synth) {
    // The synth must not keep its own font alive from within the font's lists.
    const std::shared_ptr<SoundFontBank> bank = synth->releaseBank();
    bank->_silent.takeAll();
    if (synth->mayHaveVoices()) {
        bank->_sounding.push(std::move(synth));
    } else {
        synth.reset();  // before the font, which may go with `bank`
    }
}

void SoundFontBank::endLeftVoices() noexcept {
    std::unique_ptr<SoundFontSynth> synth = _sounding.takeAll();
    while (synth != nullptr) {
        std::unique_ptr<SoundFontSynth> next = std::move(synth->following);
        synth->endVoices();
        _silent.push(std::move(synth));
        synth = std::move(next);
    }
}

}  // namespace zelvane
