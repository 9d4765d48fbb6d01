// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/JackLibrary.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace zelvane {

namespace {

constexpr const char* kFileName = "libjack.so.0";

// FluidSynth brings the linker's libjack into the program's own scope, where PipeWire's would find it in place of its
// own functions. It has to look into itself first, which the sanitizers do not allow: with them PipeWire's is done
// without once the other is there.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZELVANE_HAS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZELVANE_HAS_SANITIZER 1
#endif
#endif

#ifdef ZELVANE_HAS_SANITIZER
constexpr int kOwnFunctionsFirst = 0;
#else
constexpr int kOwnFunctionsFirst = RTLD_DEEPBIND;
#endif

bool wouldMix(const std::string& path) {
    return kOwnFunctionsFirst == 0 && path != kFileName && dlsym(RTLD_DEFAULT, "jack_client_open") != nullptr;
}

void keepQuiet(const char*) {}

template <typename Function>
bool bind(void* handle, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(handle, name));
    return function != nullptr;
}

/// The folders of libraries: the one that the C library came from is right on every distribution and architecture.
std::vector<std::filesystem::path> libraryFolders() {
    std::vector<std::filesystem::path> folders;
    Dl_info info{};
    if (dladdr(dlsym(RTLD_DEFAULT, "gnu_get_libc_version"), &info) != 0 && info.dli_fname != nullptr) {
        folders.push_back(std::filesystem::path(info.dli_fname).parent_path());
    }
    for (const char* usual : {"/usr/lib64", "/usr/lib"}) folders.emplace_back(usual);
    return folders;
}

void addPipeWireLibraries(const std::filesystem::path& folder, std::vector<std::string>& paths) {
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (!entry->path().filename().string().starts_with("pipewire-")) continue;
        const std::filesystem::path path = entry->path() / "jack" / kFileName;
        std::error_code missing;
        if (std::filesystem::exists(path, missing)) paths.push_back(path.string());
    }
}

}  // namespace

std::vector<std::string> JackLibrary::candidates() {
    std::vector<std::string> pipeWire;
    for (const std::filesystem::path& folder : libraryFolders()) addPipeWireLibraries(folder, pipeWire);
    std::ranges::sort(pipeWire, std::greater());
    std::vector<std::string> all = {kFileName};
    all.insert(all.end(), pipeWire.begin(), pipeWire.end());
    return all;
}

std::unique_ptr<JackLibrary> JackLibrary::load(const std::string& path) {
    if (wouldMix(path)) return nullptr;
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE | kOwnFunctionsFirst);
    if (handle == nullptr) return nullptr;
    std::unique_ptr<JackLibrary> library(new JackLibrary);
    if (!library->bindAll(handle)) return nullptr;
    // A server that is not there is asked for twice a second: nobody wants to read about it.
    library->setErrorFunction(keepQuiet);
    library->setInfoFunction(keepQuiet);
    return library;
}

void JackLibrary::bindOptional(void* handle) {
    bind(handle, "jack_port_uuid", portUuid);
    bind(handle, "jack_port_rename", portRename);
    bind(handle, "jack_set_port_rename_callback", setPortRenameCallback);
    bind(handle, "jack_set_property", setProperty);
    bind(handle, "jack_get_property", property);
    bind(handle, "jack_remove_properties", removeProperties);
    bind(handle, "jack_get_uuid_for_client_name", uuidForClientName);
    bind(handle, "jack_uuid_parse", parseUuid);
    bindLatencies(handle);
    decltype(&::jack_get_version_string) versionString = nullptr;
    isPipeWires = bind(handle, "jack_get_version_string", versionString) &&
                  std::string_view(versionString()).find("PipeWire") != std::string_view::npos;
}

void JackLibrary::bindLatencies(void* handle) {
    if (bind(handle, "jack_port_get_latency_range", portLatencyRange) &&
        bind(handle, "jack_port_set_latency_range", setPortLatencyRange) &&
        bind(handle, "jack_set_latency_callback", setLatencyCallback))
        return;
    portLatencyRange = nullptr;
    setPortLatencyRange = nullptr;
    setLatencyCallback = nullptr;
}

bool JackLibrary::bindMIDI(void* handle) {
    return bind(handle, "jack_get_client_name", clientName) &&
           bind(handle, "jack_set_port_connect_callback", setPortConnectCallback) &&
           bind(handle, "jack_port_by_id", portById) && bind(handle, "jack_port_is_mine", portIsMine) &&
           bind(handle, "jack_port_flags", portFlags) && bind(handle, "jack_port_name_size", portNameSize) &&
           bind(handle, "jack_port_get_aliases", portAliases) &&
           bind(handle, "jack_port_connected_to", portConnectedTo) &&
           bind(handle, "jack_midi_get_event_count", midiEventCount) &&
           bind(handle, "jack_midi_event_get", midiEvent) &&
           bind(handle, "jack_midi_get_lost_event_count", midiLostEventCount) &&
           bind(handle, "jack_midi_clear_buffer", midiClearBuffer) &&
           bind(handle, "jack_midi_event_reserve", midiEventReserve);
}

bool JackLibrary::bindAll(void* handle) {
    bindOptional(handle);
    return bindMIDI(handle) && bind(handle, "jack_set_error_function", setErrorFunction) &&
           bind(handle, "jack_set_info_function", setInfoFunction) && bind(handle, "jack_client_open", clientOpen) &&
           bind(handle, "jack_client_close", clientClose) && bind(handle, "jack_on_shutdown", onShutdown) &&
           bind(handle, "jack_on_info_shutdown", onInfoShutdown) &&
           bind(handle, "jack_set_process_callback", setProcessCallback) &&
           bind(handle, "jack_set_sample_rate_callback", setSampleRateCallback) &&
           bind(handle, "jack_set_xrun_callback", setXrunCallback) &&
           bind(handle, "jack_set_freewheel_callback", setFreewheelCallback) &&
           bind(handle, "jack_set_port_registration_callback", setPortRegistrationCallback) &&
           bind(handle, "jack_activate", activate) && bind(handle, "jack_deactivate", deactivate) &&
           bind(handle, "jack_get_sample_rate", sampleRate) && bind(handle, "jack_get_buffer_size", bufferSize) &&
           bind(handle, "jack_get_time", time) && bind(handle, "jack_get_cycle_times", cycleTimes) &&
           bind(handle, "jack_port_register", portRegister) && bind(handle, "jack_port_unregister", portUnregister) &&
           bind(handle, "jack_port_get_buffer", portBuffer) && bind(handle, "jack_port_by_name", portByName) &&
           bind(handle, "jack_port_name", portName) && bind(handle, "jack_port_short_name", portShortName) &&
           bind(handle, "jack_port_get_all_connections", portConnections) && bind(handle, "jack_get_ports", ports) &&
           bind(handle, "jack_connect", connect) && bind(handle, "jack_disconnect", disconnect) &&
           bind(handle, "jack_free", free);
}

}  // namespace zelvane
