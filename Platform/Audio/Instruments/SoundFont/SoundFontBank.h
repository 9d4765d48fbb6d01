// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/SoundFont/SynthStack.h"
#include "Platform/Foundation/Error.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct _fluid_hashtable_t;
struct _fluid_synth_t;
struct _fluid_sfont_t;

namespace zelvane {

/// A sound font in memory, shared by all synths that play it and freed by the last.
///
/// FluidSynth counts the voices that play a sample in plain integers of the font, so all synths of one font must be
/// rendered by one thread at a time, and a synth whose voices still sound may not be destroyed beside it: `leave` has
/// the rendering thread end them first.
class SoundFontBank {
  public:
    struct Preset {
        int bank = 0;
        int program = 0;
        std::string name;
        std::int32_t number() const { return bank * 128 + program; }
    };

    /// The font of a file; one that is loaded already and did not change since is shared. Null, with the reason, for
    /// what is no font. Control threads; one load at a time.
    static std::shared_ptr<SoundFontBank> load(const std::filesystem::path& file, Error& error);

    ~SoundFontBank();
    SoundFontBank(const SoundFontBank&) = delete;
    SoundFontBank& operator=(const SoundFontBank&) = delete;

    const std::filesystem::path& path() const { return _path; }
    /// Sorted by number.
    const std::vector<Preset>& presets() const { return _presets; }
    const Preset* preset(std::int32_t number) const;
    /// Where controllers stand before any message came.
    const std::array<std::uint8_t, 128>& defaultControllers() const { return _defaultControllers; }
    _fluid_sfont_t* font() const { return _font; }

    /// Destroys a synth of this font that its owner does not render any more: at once when it is silent, else after the
    /// thread that renders other synths of the font has ended its voices. Control threads.
    static void leave(std::unique_ptr<SoundFontSynth> synth);

    /// Ends the voices of synths that left. Audio thread, real-time safe.
    void endLeftVoices() noexcept;

  private:
    SoundFontBank() = default;
    bool open(const std::filesystem::path& file);
    void readPresets();

    std::filesystem::path _path;
    _fluid_hashtable_t* _settings = nullptr;
    _fluid_synth_t* _keeper = nullptr;  // never plays: it owns the font
    _fluid_sfont_t* _font = nullptr;
    std::vector<Preset> _presets;
    std::array<std::uint8_t, 128> _defaultControllers{};
    SynthStack _sounding;  // pushed by control threads, taken by the audio thread
    SynthStack _silent;    // pushed by the audio thread, taken and freed by control threads
};

}  // namespace zelvane
