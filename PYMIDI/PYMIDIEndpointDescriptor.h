// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/KeyedArchive.h"

#include <cstdint>
#include <string>
#include <utility>

namespace zelvane {

/// By what an endpoint is found again: its unique ID, or else its name.
class PYMIDIEndpointDescriptor final : public Archivable {
  public:
    static constexpr const char* kClassName = "PYMIDIEndpointDescriptor";

    PYMIDIEndpointDescriptor(std::string name, std::int32_t uniqueID) : _name(std::move(name)), _uniqueID(uniqueID) {}
    explicit PYMIDIEndpointDescriptor(const KeyedUnarchiver& coder)
        : _name(coder.decodeString("name").value_or("")), _uniqueID(coder.decodeInt32("uniqueID")) {}

    const std::string& name() const { return _name; }
    std::int32_t uniqueID() const { return _uniqueID; }

    std::string archivedClassName() const override { return kClassName; }
    void encodeWithCoder(KeyedArchiver& coder) const override {
        coder.encodeObject(_name, "name");
        coder.encodeInt32(_uniqueID, "uniqueID");
    }

  private:
    std::string _name;
    std::int32_t _uniqueID;
};

}  // namespace zelvane
