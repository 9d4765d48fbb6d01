// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaReport.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"
#include "Platform/Foundation/TextFile.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <ostream>

namespace zelvane {

namespace {

enum class Kind { scale, mapping, neither };

Kind kindOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& letter : extension) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    if (extension == ".scl") return Kind::scale;
    return extension == ".kbm" ? Kind::mapping : Kind::neither;
}

/// As few digits as tell the number from every other, whatever the locale.
std::string shortest(float number) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
}

/// Reads files one after the other and keeps the outcome.
class Reporter {
  public:
    Reporter(const UserDefaults& defaults, std::ostream& report, std::ostream& complaints)
        : _report(report),
          _complaints(complaints),
          _scala(defaults, [this](const Error& error) { complain(error.description); }) {}

    void take(const std::string& path) {
        _report << printable(path) << '\n';
        switch (kindOf(path)) {
            case Kind::scale:
                return takeScale(path);
            case Kind::mapping:
                return takeMapping(path);
            case Kind::neither:
                _isGood = false;
                return complain(path + " is neither a .scl nor a .kbm file");
        }
    }

    /// Does nothing where it would not be clear which table is meant.
    void writeTable() {
        if (!_isGood || _scales > 1 || _mappings > 1) return;
        try {
            _scala.buildMicromidiMap();
        } catch (const RangeError& error) {
            _isGood = false;
            return complain(std::string("no key table can be built: ") + error.what());
        }
        for (std::uint32_t key = 0; key < 128; ++key) {
            _report << key << ' ' << shortest(_scala.micromidiMap()[key]) << ' ' << _scala.mapMidiKey(key) << '\n';
        }
    }

    bool isGood() const { return _isGood; }

  private:
    void complain(const std::string& sentence) { _complaints << printable(sentence) << '\n'; }
    void warn(const std::string& path, const std::string& sentence) { complain("warning: " + path + ": " + sentence); }

    void takeScale(const std::string& path) {
        ++_scales;
        if (!_scala.openTuning(path)) {
            _isGood = false;
            return;
        }
        _report << "description: " << printable(_scala.description()) << '\n';
        for (std::size_t index = 0; index < intervals(); ++index) writeInterval(path, index);
        warnOfCents(path);
        warnOfCarriageReturns(path);
    }

    std::size_t intervals() const {
        return std::min(_scala.tuningMap().size(), static_cast<std::size_t>(std::max(0, _scala.tuningMapLength())));
    }

    void writeInterval(const std::string& path, std::size_t index) {
        const std::string& text = _scala.tuningMap()[index];
        std::string meaning = "?";
        try {
            meaning = shortest(_scala.calculateTuningCents(text));
        } catch (const RangeError& error) {
            warn(path, "interval " + std::to_string(index + 1) + " can't be built: " + error.what() +
                           " (a whole number N is written N/1)");
        }
        _report << "interval " << index + 1 << ": " << printable(text) << " = " << meaning << " semitones\n";
    }

    void warnOfCents(const std::string& path) {
        const auto first = _scala.tuningMap().begin();
        const auto last = first + static_cast<std::ptrdiff_t>(intervals());
        const auto isDecimal = [](const std::string& text) { return text.find('.') != std::string::npos; };
        const auto count = std::count_if(first, last, isDecimal);
        if (count == 0) return;
        warn(path, std::to_string(count) + " of its intervals, such as " + *std::find_if(first, last, isDecimal) +
                       ", are taken as semitones; the Scala standard says cents");
    }

    void warnOfCarriageReturns(const std::string& path) {
        std::string reason;
        const auto text = readTextFile(path, reason);
        if (text && text->find('\r') != std::string::npos)
            warn(path, "its lines end in carriage returns; an empty line counts as a line with content");
    }

    void takeMapping(const std::string& path) {
        ++_mappings;
        if (!_scala.openKeymap(path)) {
            _isGood = false;
            return;
        }
        _report << "map size: " << _scala.keyMapLength() << "\nkeys:";
        for (const std::int64_t key : _scala.keyMap()) _report << ' ' << key;
        _report << '\n';
        warnOfCarriageReturns(path);
    }

    std::ostream& _report;
    std::ostream& _complaints;
    ScalaController _scala;
    int _scales = 0;
    int _mappings = 0;
    bool _isGood = true;
};

}  // namespace

bool reportScalaFiles(const std::vector<std::string>& paths, const UserDefaults& defaults, std::ostream& report,
                      std::ostream& complaints) {
    // The alert says the same as the log line.
    const auto silence = Log::redirect([](std::string_view) {});
    Reporter reporter(defaults, report, complaints);
    for (const std::string& path : paths) reporter.take(path);
    reporter.writeTable();
    return reporter.isGood();
}

}  // namespace zelvane
