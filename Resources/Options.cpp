// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/Options.h"

#include <array>
#include <string_view>

namespace zelvane {

namespace {

/// The words as they are read one after the other.
class Words {
  public:
    explicit Words(std::span<const std::string> words) : _words(words) {}

    bool areLeft() const { return _place < _words.size(); }
    const std::string& next() { return _words[_place++]; }

    /// The value of an option: behind its equals sign, or the next word.
    std::optional<std::string> value(const std::optional<std::string>& attached) {
        if (attached) return attached;
        if (!areLeft()) return std::nullopt;
        return next();
    }

    std::vector<std::string> rest() {
        const auto left = _words.subspan(_place);
        _place = _words.size();
        return {left.begin(), left.end()};
    }

  private:
    std::span<const std::string> _words;
    std::size_t _place = 0;
};

std::optional<UsageError> readDefault(Options& options, const std::optional<std::string>& value) {
    const std::size_t equals = value ? value->find('=') : std::string::npos;
    if (equals == std::string::npos || equals == 0) return UsageError{"--set needs KEY=VALUE."};
    options.defaults.emplace_back(value->substr(0, equals), value->substr(equals + 1));
    return std::nullopt;
}

std::optional<UsageError> readDevice(Options& options, std::optional<std::string> value) {
    if (!value || value->empty())
        return UsageError{"--device needs the name of an output device; --list-devices shows them."};
    options.device = std::move(value);
    return std::nullopt;
}

std::optional<UsageError> readMIDI(Options& options, std::optional<std::string> value) {
    if (!value || value->empty()) return UsageError{"--midi needs the name of a MIDI input; --list-midi shows them."};
    options.midi = std::move(value);
    return std::nullopt;
}

std::optional<UsageError> readRecord(Options& options, std::optional<std::string> value) {
    if (!value || value->empty()) return UsageError{"--record needs a file, whose name should end with .m4a."};
    options.record = std::move(value);
    return std::nullopt;
}

std::optional<UsageError> readFiles(Options& options, std::vector<std::string> files) {
    if (files.empty()) return UsageError{"--check needs a .scl or .kbm file."};
    options.command = Options::Command::check;
    options.files = std::move(files);
    return std::nullopt;
}

std::optional<UsageError> readMessage(Options& options, std::vector<std::string> message) {
    if (message.empty() || message.front().empty() || message.front().front() != '/')
        return UsageError{"--send needs an OSC address, which begins with a slash."};
    options.command = Options::Command::send;
    options.message = std::move(message);
    return std::nullopt;
}

std::optional<Options::Command> plainCommand(std::string_view word) {
    constexpr std::array<std::pair<std::string_view, Options::Command>, 6> kCommands{{
        {"--help", Options::Command::help},
        {"--version", Options::Command::version},
        {"--list-devices", Options::Command::listDevices},
        {"--list-instruments", Options::Command::listInstruments},
        {"--list-midi", Options::Command::listMIDI},
        {"--status", Options::Command::status},
    }};
    for (const auto& [name, command] : kCommands) {
        if (word == name) return command;
    }
    return std::nullopt;
}

std::optional<UsageError> readOption(Options& options, const std::string& word, Words& words) {
    if (word == "--headless") {
        options.isHeadless = true;
        return std::nullopt;
    }
    if (const auto command = plainCommand(word)) {
        options.command = *command;
        return std::nullopt;
    }
    if (word == "--all") {
        options.listsAll = true;
        return std::nullopt;
    }
    if (word == "--json") {
        options.wantsJson = true;
        return std::nullopt;
    }
    if (word == "--send") return readMessage(options, words.rest());
    if (word == "--check") return readFiles(options, words.rest());
    const std::size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const auto attached = equals == std::string::npos ? std::nullopt : std::optional(word.substr(equals + 1));
    if (name == "--set") return readDefault(options, words.value(attached));
    if (name == "--device") return readDevice(options, words.value(attached));
    if (name == "--midi") return readMIDI(options, words.value(attached));
    if (name == "--record") return readRecord(options, words.value(attached));
    return UsageError{"There is no option " + word + "; --help shows those that there are."};
}

}  // namespace

std::variant<Options, UsageError> parseOptions(std::span<const std::string> arguments) {
    Options options;
    Words words(arguments);
    while (words.areLeft()) {
        const std::string word = words.next();
        if (auto error = readOption(options, word, words)) return *std::move(error);
    }
    if (options.listsAll && options.command != Options::Command::listInstruments)
        return UsageError{"--all goes with --list-instruments."};
    if (options.wantsJson && options.command != Options::Command::status)
        return UsageError{"--json goes with --status."};
    return options;
}

std::string usage() {
    return "Usage: zelvane [OPTION]...\n"
           "Plays the notes that other programs send, at a tenth of a semitone.\n"
           "\n"
           "  --headless            no desktop: alerts go to standard error, listening starts at once\n"
           "  --set KEY=VALUE       a setting for this run only; may be repeated\n"
           "  --device NAME         output device for this run: a listed name, or null\n"
           "  --midi NAME           MIDI input for this run: a listed name, or Zelvane for the player's own\n"
           "  --record FILE         record to an M4A file, from the first note to the end of the program\n"
           "  --list-devices        print the output devices, one a line, and leave\n"
           "  --list-instruments    print the instruments, one a line, and leave; behind a tab stands what one can't\n"
           "                        do; with --all also those that are not offered, and why\n"
           "  --list-midi           print the MIDI inputs, one a line, and leave\n"
           "  --status              print how the running player stands, and leave; with --json as JSON\n"
           "  --check FILE...       print what the player makes of .scl and .kbm files, and leave\n"
           "  --send ADDRESS [ARGUMENT...]\n"
           "                        send one OSC message to the player and leave; whole numbers go as integers,\n"
           "                        other numbers as doubles, the rest as strings\n"
           "  --version             print the version and leave\n"
           "  --help                print this and leave\n"
           "\n"
           "Settings: port (3000) receives OSC, outPort (3010) is where streams ask for more, outputDevice,\n"
           "musicDevice, keymap (.kbm) and tuning (.scl) of MIDI keys, midi (its input), midiBackend (alsa, jack or\n"
           "none), autolaunch (1: listen at once).\n";
}

}  // namespace zelvane
