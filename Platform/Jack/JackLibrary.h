// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>
#include <jack/metadata.h>
#include <jack/midiport.h>
#include <jack/uuid.h>

#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// The functions of one libjack. It is loaded while the program runs, because there may be two of them (the JACK
/// server's and PipeWire's) and which one works shows only by asking. Inner header of the back ends: names of JACK go
/// no further.
class JackLibrary {
  public:
    /// Where to look: the linker's own first, then what PipeWire keeps in a folder that the linker does not search.
    static std::vector<std::string> candidates();

    /// Null when there is no such library or it lacks a function that is needed. Never unloaded: its threads may
    /// linger.
    static std::unique_ptr<JackLibrary> load(const std::string& path);

    decltype(&::jack_set_error_function) setErrorFunction = nullptr;
    decltype(&::jack_set_info_function) setInfoFunction = nullptr;
    decltype(&::jack_client_open) clientOpen = nullptr;
    decltype(&::jack_client_close) clientClose = nullptr;
    decltype(&::jack_on_shutdown) onShutdown = nullptr;
    decltype(&::jack_on_info_shutdown) onInfoShutdown = nullptr;
    decltype(&::jack_set_process_callback) setProcessCallback = nullptr;
    decltype(&::jack_set_sample_rate_callback) setSampleRateCallback = nullptr;
    decltype(&::jack_set_xrun_callback) setXrunCallback = nullptr;
    decltype(&::jack_set_freewheel_callback) setFreewheelCallback = nullptr;
    decltype(&::jack_set_port_registration_callback) setPortRegistrationCallback = nullptr;
    decltype(&::jack_activate) activate = nullptr;
    decltype(&::jack_deactivate) deactivate = nullptr;
    decltype(&::jack_get_sample_rate) sampleRate = nullptr;
    decltype(&::jack_get_buffer_size) bufferSize = nullptr;
    decltype(&::jack_get_time) time = nullptr;
    decltype(&::jack_get_cycle_times) cycleTimes = nullptr;
    decltype(&::jack_port_register) portRegister = nullptr;
    decltype(&::jack_port_unregister) portUnregister = nullptr;
    decltype(&::jack_port_get_buffer) portBuffer = nullptr;
    decltype(&::jack_port_by_name) portByName = nullptr;
    decltype(&::jack_port_name) portName = nullptr;
    decltype(&::jack_port_short_name) portShortName = nullptr;
    decltype(&::jack_port_get_all_connections) portConnections = nullptr;
    decltype(&::jack_get_ports) ports = nullptr;
    decltype(&::jack_connect) connect = nullptr;
    decltype(&::jack_disconnect) disconnect = nullptr;
    decltype(&::jack_free) free = nullptr;

    decltype(&::jack_get_client_name) clientName = nullptr;
    decltype(&::jack_set_port_connect_callback) setPortConnectCallback = nullptr;
    decltype(&::jack_port_by_id) portById = nullptr;
    decltype(&::jack_port_is_mine) portIsMine = nullptr;
    decltype(&::jack_port_flags) portFlags = nullptr;
    decltype(&::jack_port_name_size) portNameSize = nullptr;
    decltype(&::jack_port_get_aliases) portAliases = nullptr;
    decltype(&::jack_port_connected_to) portConnectedTo = nullptr;
    decltype(&::jack_midi_get_event_count) midiEventCount = nullptr;
    decltype(&::jack_midi_event_get) midiEvent = nullptr;
    decltype(&::jack_midi_get_lost_event_count) midiLostEventCount = nullptr;
    decltype(&::jack_midi_clear_buffer) midiClearBuffer = nullptr;
    decltype(&::jack_midi_event_reserve) midiEventReserve = nullptr;

    // What old libraries lack: null there.
    decltype(&::jack_port_uuid) portUuid = nullptr;
    decltype(&::jack_port_rename) portRename = nullptr;
    decltype(&::jack_set_port_rename_callback) setPortRenameCallback = nullptr;
    decltype(&::jack_set_property) setProperty = nullptr;
    decltype(&::jack_get_property) property = nullptr;
    decltype(&::jack_remove_properties) removeProperties = nullptr;
    decltype(&::jack_get_uuid_for_client_name) uuidForClientName = nullptr;
    decltype(&::jack_uuid_parse) parseUuid = nullptr;
    // These four are all there, or none.
    decltype(&::jack_set_latency_callback) setLatencyCallback = nullptr;
    decltype(&::jack_port_get_latency_range) portLatencyRange = nullptr;
    decltype(&::jack_port_set_latency_range) setPortLatencyRange = nullptr;

    /// It is PipeWire's, also where that has taken the place of JACK's own. Its ports have aliases of another kind.
    bool isPipeWires = false;

  private:
    JackLibrary() = default;
    bool bindAll(void* handle);
    bool bindMIDI(void* handle);
    void bindOptional(void* handle);
    void bindLatencies(void* handle);
};

}  // namespace zelvane
