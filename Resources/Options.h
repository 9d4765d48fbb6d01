// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace zelvane {

/// What the command line asks for.
struct Options {
    enum class Command { play, help, version, listDevices, listInstruments, listMIDI, check, send, status };

    Command command = Command::play;
    bool isHeadless = false;
    bool wantsJson = false;                                     ///< of the status
    bool listsAll = false;                                      ///< also the instruments that are not offered
    std::vector<std::pair<std::string, std::string>> defaults;  ///< user defaults for this run
    std::optional<std::string> device;                          ///< output device for this run
    std::optional<std::string> midi;                            ///< MIDI input for this run
    std::optional<std::string> record;                          ///< file of a recording that is armed
    std::vector<std::string> message;                           ///< to send: the address and its arguments
    std::vector<std::string> files;                             ///< to check
};

/// A sentence that says what is wrong with the command line.
struct UsageError {
    std::string sentence;
};

/// Reads the words after the program's name.
std::variant<Options, UsageError> parseOptions(std::span<const std::string> words);

/// What --help prints.
std::string usage();

}  // namespace zelvane
