// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/LosslessFile.h"

#include "Platform/Audio/File/RecordingError.h"

#include <unistd.h>

#include <array>
#include <ctime>

namespace zelvane {

namespace {

/// In the world's time, as players expect it.
std::string dateOfToday() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

}  // namespace

LosslessFile::LosslessFile(const std::filesystem::path& target, const LosslessFormat& format,
                           std::function<void()> beforeWrite)
    : _target(target),
      _tags{target.stem().string(), dateOfToday()},
      _encoder(format, [this](AVPacket& packet) { add(packet); }),
      _muxer(_encoder.parameters(), _tags),
      _file(target, std::move(beforeWrite)),
      // Leaves the other half of the second, within which all has to be in the file, to the ring and the system.
      _fragmentFrames(format.sampleRate / 2) {
    _file.writeHeader(_muxer.header());
    _file.file().takeFreeName();
}

void LosslessFile::write(const float* const* channels, std::uint32_t frames) {
    _encoder.write(channels, frames);
}

bool LosslessFile::finish() {
    _encoder.finish();
    if (_pending.frames > 0) commit();
    if (_committed.frames > 0) return makeOrdinary();
    if (_file.file().hasName()) _file.file().giveNameUp();
    return true;
}

void LosslessFile::add(AVPacket& packet) {
    _pending.frames += static_cast<std::uint64_t>(packet.duration);
    ++_pending.packets;
    _muxer.add(packet);
    const bool isFirst = _committed.frames == 0;
    if (isFirst || _pending.frames >= _fragmentFrames) commit();
}

void LosslessFile::commit() {
    std::vector<std::byte> fragment = _muxer.cut();
    _file.append(fragment);
    _committed.frames += _pending.frames;
    _committed.packets += _pending.packets;
    _pending = {};
    if (!_file.file().hasName()) _file.file().takeName();
}

bool LosslessFile::makeOrdinary() {
    FileIdentity present;
    if (!findIdentity(_target, present) || present != _file.file().identity()) return false;
    try {
        NamelessFile ordinary(_target);
        remux(_file.file().number(), ordinary.number(), _encoder.parameters(), _tags, _committed);
        if (::fsync(ordinary.number()) != 0) throw RecordingError::last("could not write it to the disk");
        return ordinary.takeNameOf(_file.file().identity());
    } catch (const RecordingError&) {
        _file.sync();
        throw;
    }
}

}  // namespace zelvane
