// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <lv2/atom/atom.h>
#include <lv2/midi/midi.h>
#include <lv2/patch/patch.h>

#include <array>
#include <atomic>
#include <functional>
#include <mutex>
#include <string_view>

namespace zelvane {

namespace {

/// Grows only: what a reader has found stays where it is. Plug-ins ask from all threads, some from the audio thread.
class UridTable {
  public:
    std::uint32_t map(std::string_view uri) {
        std::atomic<Entry*>& bucket = _buckets[std::hash<std::string_view>{}(uri) % kBuckets];
        if (const Entry* known = find(bucket, uri)) return known->urid;
        const std::lock_guard lock(_mutex);
        if (const Entry* known = find(bucket, uri)) return known->urid;
        if (_count >= kMost) return 0;
        auto* entry = new Entry{std::string(uri), ++_count, bucket.load(std::memory_order_relaxed)};
        _entries[entry->urid].store(entry, std::memory_order_release);
        bucket.store(entry, std::memory_order_release);
        return entry->urid;
    }

    const char* unmap(std::uint32_t urid) const noexcept {
        const Entry* entry = urid <= kMost ? _entries[urid].load(std::memory_order_acquire) : nullptr;
        return entry == nullptr ? nullptr : entry->uri.c_str();
    }

  private:
    struct Entry {
        const std::string uri;
        const std::uint32_t urid;
        Entry* const next;
    };

    static const Entry* find(const std::atomic<Entry*>& bucket, std::string_view uri) noexcept {
        const Entry* entry = bucket.load(std::memory_order_acquire);
        while (entry != nullptr && entry->uri != uri) entry = entry->next;
        return entry;
    }

    static constexpr std::size_t kBuckets = 1024;
    static constexpr std::uint32_t kMost = 65535;  // far more than plug-ins have; a broken one shall not eat memory

    std::mutex _mutex;
    std::uint32_t _count = 0;
    std::array<std::atomic<Entry*>, kBuckets> _buckets{};   // read by all, written under the mutex
    std::array<std::atomic<Entry*>, kMost + 1> _entries{};  // likewise
};

UridTable& table() {
    static auto& instance = *new UridTable;  // never destroyed: plug-ins' threads may end late
    return instance;
}

}  // namespace

std::uint32_t lv2Urid(const char* uri) {
    return uri == nullptr ? 0 : table().map(uri);
}

const char* lv2Uri(std::uint32_t urid) noexcept {
    return table().unmap(urid);
}

Lv2Urids::Lv2Urids()
    : atomBool(lv2Urid(LV2_ATOM__Bool)),
      atomChunk(lv2Urid(LV2_ATOM__Chunk)),
      atomDouble(lv2Urid(LV2_ATOM__Double)),
      atomFloat(lv2Urid(LV2_ATOM__Float)),
      atomInt(lv2Urid(LV2_ATOM__Int)),
      atomLong(lv2Urid(LV2_ATOM__Long)),
      atomObject(lv2Urid(LV2_ATOM__Object)),
      atomPath(lv2Urid(LV2_ATOM__Path)),
      atomSequence(lv2Urid(LV2_ATOM__Sequence)),
      atomString(lv2Urid(LV2_ATOM__String)),
      atomTuple(lv2Urid(LV2_ATOM__Tuple)),
      atomURI(lv2Urid(LV2_ATOM__URI)),
      atomURID(lv2Urid(LV2_ATOM__URID)),
      atomVector(lv2Urid(LV2_ATOM__Vector)),
      atomBlank(lv2Urid(LV2_ATOM__Blank)),
      atomLiteral(lv2Urid(LV2_ATOM__Literal)),
      midiEvent(lv2Urid(LV2_MIDI__MidiEvent)),
      patchGet(lv2Urid(LV2_PATCH__Get)),
      patchSet(lv2Urid(LV2_PATCH__Set)),
      patchPut(lv2Urid(LV2_PATCH__Put)),
      patchProperty(lv2Urid(LV2_PATCH__property)),
      patchValue(lv2Urid(LV2_PATCH__value)),
      patchBody(lv2Urid(LV2_PATCH__body)) {}

const Lv2Urids& Lv2Urids::get() {
    static const Lv2Urids urids;
    return urids;
}

}  // namespace zelvane
