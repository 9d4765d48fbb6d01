// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace {

using namespace zelvane;

constexpr const char* kScales[] = {
    "Ratios\n5\n9/8\n5/4\n3/2\n5/3\n2/1\n",
    "Decimals\n3\n-2.5\n1e9.\n12.0\n",
    "Half\n2000000000\n1.0\n",
};

/// Whatever the text says, it is refused with a message or becomes a mapping, and building it with a scale ends in a
/// table of limited size or a log line.
void checkKeymap(std::string_view text) {
    static const UserDefaults defaults("/nonexistent/zelvane-fuzz.plist");
    int errors = 0;
    ScalaController scala(defaults, [&errors](const Error&) { ++errors; });
    const bool isTaken = scala.readKeymap(text, "fuzz.kbm");
    if (isTaken != (errors == 0)) std::abort();
    // Nobody builds a table of a file that was refused.
    if (!isTaken && text.size() % 64 != 0) return;
    scala.readTuning(kScales[text.size() % std::size(kScales)], "fuzz.scl");
    scala.setKeymapIsChanged(true);
    scala.updateMicromidiMap();
    if (scala.micromidiMap().size() > 1024) std::abort();
    for (std::uint32_t key = 0; key < scala.micromidiMap().size(); ++key) static_cast<void>(scala.mapMidiKey(key));
    static unsigned tables = 0;
    if (++tables % 16 != 0) return;
    scala.restoreKeymap();
    scala.restoreTuningMap();
    scala.setKeymapIsChanged(true);
    scala.updateMicromidiMap();
    if (scala.mapMidiKey(127) != 12700) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto silence = Log::redirect([](std::string_view) {});
    checkKeymap({reinterpret_cast<const char*>(data), size});
    return 0;
}
