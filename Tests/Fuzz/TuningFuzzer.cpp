// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace zelvane;

/// Whatever the text says, it is refused with a message or becomes a scale, and building it ends in a table or a log
/// line.
void checkTuning(std::string_view text) {
    static const UserDefaults defaults("/nonexistent/zelvane-fuzz.plist");
    int errors = 0;
    ScalaController scala(defaults, [&errors](const Error&) { ++errors; });
    const bool isTaken = scala.readTuning(text, "fuzz.scl");
    if (isTaken != (errors == 0)) std::abort();
    // Nobody builds a table of a file that was refused.
    if (!isTaken && text.size() % 64 != 0) return;
    scala.setTuningIsChanged(true);
    scala.updateMicromidiMap();
    for (std::uint32_t key = 0; key < scala.micromidiMap().size(); ++key) static_cast<void>(scala.mapMidiKey(key));
    // What came before must not matter to the default scale.
    static unsigned tables = 0;
    if (++tables % 16 != 0) return;
    scala.restoreTuningMap();
    scala.setTuningIsChanged(true);
    scala.updateMicromidiMap();
    if (scala.mapMidiKey(127) != 12700) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto silence = Log::redirect([](std::string_view) {});
    checkTuning({reinterpret_cast<const char*>(data), size});
    return 0;
}
