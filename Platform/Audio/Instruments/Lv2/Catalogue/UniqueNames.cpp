// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/UniqueNames.h"

#include <algorithm>
#include <set>
#include <string>
#include <tuple>

namespace zelvane {

namespace {

std::uint32_t hashOf(const std::string& text) {
    std::uint32_t hash = 2166136261U;
    for (const char character : text) hash = (hash ^ static_cast<std::uint8_t>(character)) * 16777619U;
    return hash;
}

/// Pointers to the elements in the order of a key.
template <typename Element, typename Key>
std::vector<Element*> sortedBy(std::vector<Element>& elements, Key key) {
    std::vector<Element*> sorted;
    sorted.reserve(elements.size());
    for (auto& element : elements) sorted.push_back(&element);
    std::sort(sorted.begin(), sorted.end(), [&](const auto* a, const auto* b) { return key(*a) < key(*b); });
    return sorted;
}

}  // namespace

void makeNamesUnique(std::vector<CachedInstrument>& instruments) {
    // A name that one really has isn't given to another.
    std::set<std::string> real;
    for (const auto& each : instruments) real.insert(each.entry.name);
    std::set<std::string> taken;
    const auto order = [](const CachedInstrument& each) {
        return std::make_tuple(!each.entry.refusal.empty(), std::cref(each.entry.uri));
    };
    for (CachedInstrument* each : sortedBy(instruments, order)) {
        const std::string name = each->entry.name;
        for (int number = 2; taken.contains(each->entry.name); ++number) {
            const std::string next = name + " (" + std::to_string(number) + ")";
            if (!real.contains(next)) each->entry.name = next;
        }
        taken.insert(each->entry.name);
    }
}

std::vector<std::uint32_t> uniqueSubTypes(const std::vector<Lv2Entry>& entries) {
    std::vector<std::size_t> places(entries.size());
    for (std::size_t place = 0; place < places.size(); ++place) places[place] = place;
    std::sort(places.begin(), places.end(), [&](auto a, auto b) { return entries[a].uri < entries[b].uri; });
    std::set<std::uint32_t> taken{0};
    std::vector<std::uint32_t> subTypes(entries.size());
    for (const std::size_t place : places) {
        std::uint32_t subType = hashOf(entries[place].uri);
        while (!taken.insert(subType).second) ++subType;
        subTypes[place] = subType;
    }
    return subTypes;
}

}  // namespace zelvane
