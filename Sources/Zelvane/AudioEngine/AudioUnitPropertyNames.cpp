// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/AudioUnitPropertyNames.h"

#include "Platform/Foundation/Text.h"

#include <algorithm>
#include <array>

namespace zelvane {

namespace {

struct PropertyName {
    AudioUnitPropertyID id;
    const char* name;
};

// Two are misspelt; whoever looks for them in a log looks for them so.
constexpr std::array kNames{PropertyName{0, "Class Info"},
                            PropertyName{1, "Make Connection"},
                            PropertyName{2, "Sample Rate"},
                            PropertyName{3, "Parameter List"},
                            PropertyName{4, "Parameter Info"},
                            PropertyName{5, "Fast Dispatch"},
                            PropertyName{6, "CPU Load"},
                            PropertyName{8, "Stream Format"},
                            PropertyName{11, "Element Count"},
                            PropertyName{12, "Latency"},
                            PropertyName{13, "Supported Number of Channels"},
                            PropertyName{14, "Maximum Frames per Slice"},
                            PropertyName{15, "Set External Buffer"},
                            PropertyName{16, "Parameter Value Strings"},
                            PropertyName{18, "Get UI Component List"},
                            PropertyName{19, "Audio Channel Layout"},
                            PropertyName{20, "Tail Time"},
                            PropertyName{21, "Bypass Effect"},
                            PropertyName{22, "Last Render Error"},
                            PropertyName{23, "Set Render Callback"},
                            PropertyName{24, "Factory Presets"},
                            PropertyName{25, "Context Name"},
                            PropertyName{26, "Render Quality"},
                            PropertyName{27, "Host Calbacks"},
                            PropertyName{29, "In Place Processing"},
                            PropertyName{30, "Element Name"},
                            PropertyName{31, "Cocoa UI"},
                            PropertyName{32, "Supported Channel Layout Tags"},
                            PropertyName{33, "Parameter String from Value"},
                            PropertyName{34, "Paralmeter ID Name"},
                            PropertyName{35, "Parameter Clump Name"},
                            PropertyName{36, "Present Preset"},
                            PropertyName{37, "Offline Render"},
                            PropertyName{38, "Parameter Value from String"},
                            PropertyName{39, "Icon Location"},
                            PropertyName{40, "Presentation Latency"},
                            PropertyName{41, "All Parameter MIDI Mappings"},
                            PropertyName{42, "Add Parameter MIDI Mapping"},
                            PropertyName{43, "Remove Parameter MIDI Mapping"},
                            PropertyName{44, "Hot Parameter MIDI Mapping"},
                            PropertyName{45, "Dependent Parameters"},
                            PropertyName{46, "AU Host Identifier"},
                            PropertyName{47, "MIDI Output Callback Info"},
                            PropertyName{48, "MIDI Output Callback"},
                            PropertyName{49, "Input Samples In/Output"},
                            PropertyName{50, "Class Info from Document"},
                            PropertyName{51, "Should Allocate Buffer"},
                            PropertyName{52, "Frequency Response"},
                            PropertyName{53, "Parameter History Info"},
                            PropertyName{54, "Nick Name"},
                            PropertyName{56, "Request ViewController"},
                            PropertyName{57, "Parameters For Overview"},
                            PropertyName{58, "Supports MPE"},
                            PropertyName{60, "Render Context Observer"},
                            PropertyName{1000, "Instrument Count"},
                            PropertyName{1005, "Uses Internal Reverb"},
                            PropertyName{1006, "MIDI XML Names"},
                            PropertyName{1007, "Bank Name"},
                            PropertyName{1008, "Sound Bank Data"},
                            PropertyName{1010, "Part Group"},
                            PropertyName{1011, "Stream From Disk"},
                            PropertyName{1012, "Sound Bank FSRef"},
                            PropertyName{1013, "Dual Scheduling Mode"},
                            PropertyName{1014, "Supports Start Stop Note"},
                            PropertyName{1100, "Sound Bank URL"}};

}  // namespace

std::string audioUnitPropertyNameFromID(AudioUnitPropertyID id) {
    const auto place =
        std::find_if(kNames.begin(), kNames.end(), [id](const PropertyName& name) { return name.id == id; });
    return place != kNames.end() ? place->name : formatted("u%u", {std::to_string(id)});
}

}  // namespace zelvane
