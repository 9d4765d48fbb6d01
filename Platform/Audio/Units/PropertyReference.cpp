// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/PropertyReference.h"

#include <cstddef>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace zelvane {

namespace {

/// Numbers are never used twice, so that one kept too long stands for nothing instead of for something else.
class PropertyObjects {
  public:
    PropertyReference add(PropertyList object) {
        auto shared = std::make_shared<const PropertyList>(std::move(object));
        const std::lock_guard lock(_mutex);
        const PropertyReference reference = _next++;
        _entries.emplace(reference, Entry{std::move(shared), 1});
        return reference;
    }

    bool retain(PropertyReference reference) {
        const std::lock_guard lock(_mutex);
        const auto place = _entries.find(reference);
        if (place == _entries.end()) return false;
        ++place->second.count;
        return true;
    }

    std::shared_ptr<const PropertyList> find(PropertyReference reference) {
        const std::lock_guard lock(_mutex);
        const auto place = _entries.find(reference);
        return place == _entries.end() ? nullptr : place->second.object;
    }

    void release(PropertyReference reference) {
        std::shared_ptr<const PropertyList> last;  // goes after the lock: large objects take their time
        const std::lock_guard lock(_mutex);
        const auto place = _entries.find(reference);
        if (place == _entries.end() || --place->second.count > 0) return;
        last = std::move(place->second.object);
        _entries.erase(place);
    }

  private:
    struct Entry {
        std::shared_ptr<const PropertyList> object;
        std::size_t count;
    };

    std::mutex _mutex;
    std::unordered_map<PropertyReference, Entry> _entries;
    PropertyReference _next = 1;
};

PropertyObjects& objects() {
    // Never destroyed: threads that end late may still give references back.
    static auto& instance = *new PropertyObjects;
    return instance;
}

}  // namespace

PropertyReference retainProperty(PropertyList object) {
    return objects().add(std::move(object));
}

bool retainProperty(PropertyReference reference) {
    return objects().retain(reference);
}

std::shared_ptr<const PropertyList> propertyObject(PropertyReference reference) {
    return objects().find(reference);
}

void releaseProperty(PropertyReference reference) {
    objects().release(reference);
}

}  // namespace zelvane
