// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/UnitParameter.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zelvane {

/// One port as the plug-in's description has it.
struct Lv2Port {
    enum class Kind { control, audio, cv, atom, event, unknown };
    enum class Role { none, left, right, latency, enabled, freewheeling };

    std::uint32_t index = 0;
    std::string symbol;
    Kind kind = Kind::unknown;
    Role role = Role::none;
    bool isInput = false;
    bool mayStayOpen = false;     ///< need not be connected
    bool takesMIDI = false;       ///< for an atom or event port
    bool takesPatches = false;    ///< messages that get and set properties
    bool isMainControl = false;   ///< the port for messages to the plug-in as a whole
    std::uint32_t leastSize = 0;  ///< bytes that its buffer has to have; 0 when that is not said
    float defaultValue = 0;       ///< of a control port
};

/// A property that messages set, in the order of the URIs.
struct Lv2WritableProperty {
    enum class Type { integer, boolean, real, longInteger, doubleReal, path, text, uri, other };

    std::string uri;
    std::string label;
    Type type = Type::other;
    double defaultValue = 0;
};

/// What a plug-in's files say of it. Plain data, no part of it refers to the library that reads the files.
struct Lv2Plugin {
    std::string uri;
    std::string name;
    std::filesystem::path bundle;
    std::filesystem::path binary;  ///< empty when the description names none
    bool isOfInstrumentClass = false;
    bool hasDefaultState = false;
    bool restoresThreadSafely = false;
    std::vector<Lv2Port> ports;             ///< in the order of their indices
    std::vector<UnitParameter> parameters;  ///< the control inputs that users may change, by index of the port
    std::vector<Lv2WritableProperty> writableProperties;
    std::vector<std::string> requiredFeatures;

    /// Whether it is an instrument: it says so, or makes sound of MIDI and of nothing else.
    bool isInstrument() const;

    /// Why an instrument cannot be played here, as a sentence for users; empty for one that can.
    std::string whyNotPlayable() const;

    /// The port that MIDI goes to, or null.
    const Lv2Port* midiInput() const;
};

}  // namespace zelvane
