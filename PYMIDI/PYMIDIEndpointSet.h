// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpoint.h"
#include "PYMIDI/PYMIDIEndpointDescriptor.h"
#include "Platform/Foundation/KeyedArchive.h"

#include <memory>
#include <utility>
#include <vector>

namespace zelvane {

/// Endpoints among which others are found again. In archives it lets descriptors stand for its endpoints.
class PYMIDIEndpointSet final : public KeyedArchiverDelegate, public KeyedUnarchiverDelegate {
  public:
    using Endpoints = std::vector<std::shared_ptr<PYMIDIEndpoint>>;

    explicit PYMIDIEndpointSet(Endpoints endpointArray) : _endpointArray(std::move(endpointArray)) {}
    template <typename Endpoint>
    static PYMIDIEndpointSet newEndpointSetWithArray(const std::vector<std::shared_ptr<Endpoint>>& array) {
        return PYMIDIEndpointSet(Endpoints(array.begin(), array.end()));
    }

    /// The one with that unique ID, else the one with that very name, else null.
    std::shared_ptr<PYMIDIEndpoint> endpointWithDescriptor(const PYMIDIEndpointDescriptor& descriptor) const;

    std::shared_ptr<const Archivable> willEncodeObject(std::shared_ptr<const Archivable> object) override;
    std::shared_ptr<Archivable> didDecodeObject(std::shared_ptr<Archivable> object) override;

  private:
    Endpoints _endpointArray;
};

}  // namespace zelvane
