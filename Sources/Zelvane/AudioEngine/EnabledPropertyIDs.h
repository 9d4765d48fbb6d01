// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace zelvane {

/// The properties whose changes are copied from the source to the other units, or no list at all. Main thread.
class EnabledPropertyIDs {
  public:
    using IDs = std::vector<AudioUnitPropertyID>;

    bool isNone() const { return !_ids.has_value(); }
    /// A copy: what is done with the list may well change it.
    IDs ids() const { return _ids.value_or(IDs()); }
    bool contains(AudioUnitPropertyID id) const {
        return _ids && std::find(_ids->begin(), _ids->end(), id) != _ids->end();
    }

    void set(IDs ids) {
        _ids = std::move(ids);
        ++_generation;
    }
    void drop() {
        _ids.reset();
        ++_generation;
    }
    void append(AudioUnitPropertyID id) {
        if (_ids) _ids->push_back(id);
    }
    /// Another after each `set` and `drop`: who fills the list step by step sees that it is not his any more.
    std::uint64_t generation() const { return _generation; }

    /// Walks the list, and removes the entry at hand and its equals where `mayGo` says so. What moves into its place is
    /// passed over.
    template <typename Predicate>
    void walkRemoving(Predicate mayGo) {
        for (std::size_t i = 0; _ids && i < _ids->size(); ++i) {
            const AudioUnitPropertyID id = (*_ids)[i];
            if (mayGo(id)) std::erase(*_ids, id);
        }
    }

  private:
    std::optional<IDs> _ids;
    std::uint64_t _generation = 0;
};

}  // namespace zelvane
