// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/Jack/JackWiring.h"
#include "Platform/Foundation/Clock.h"
#include "Platform/Jack/JackClient.h"

#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

/// The wires from our two ports to the sink. They are made once; from the moment the user has taken one of them away,
/// all of them are the user's business: as they are then, a later stream lays them again, each once. Wires that the
/// user adds are never touched. One thread at a time.
class JackConnections {
  public:
    /// A sink that is replaced (another profile of a card, say) is away for a moment only.
    static constexpr Duration kPatience = std::chrono::seconds(1);

    /// `sink` is a client's name, or empty for the server's default, which is then followed.
    JackConnections(const JackClient& client, std::string sink, std::shared_ptr<JackWiring> wiring);

    void setOutputs(const std::array<jack_port_t*, 2>& outputs) { _outputs = outputs; }
    /// Connects where that is due. `portsWent` tells that ports left the server since the last time, so that a missing
    /// wire need not have been the user.
    void update(TimePoint now, bool portsWent);
    /// The sink has been away for longer than the patience, and our sound leads nowhere else.
    bool isSinkLost() const { return _isSinkLost; }

  private:
    using Wires = std::set<std::pair<std::string, std::string>>;

    std::string presentSink() const;
    void followUser(const Wires& present);
    void layAgain();
    bool isRewiredByUser(const Wires& present) const;
    void sinkIsAway(TimePoint now, const Wires& present);
    void rewire(const std::string& sink, const Wires& wanted, const Wires& present);
    Wires wiresTo(const std::vector<std::string>& inputs) const;
    Wires presentWires() const;

    const JackClient& _client;
    const std::string _sink;
    std::array<jack_port_t*, 2> _outputs{};
    std::string _connectedSink;
    Wires _made;
    const std::shared_ptr<JackWiring> _wiring;
    bool _isUsers = false;
    JackWiring::Wires _toLayAgain;
    bool _isSinkLost = false;
    std::optional<TimePoint> _awaySince;
    std::optional<TimePoint> _portsWentAt;
};

}  // namespace zelvane
