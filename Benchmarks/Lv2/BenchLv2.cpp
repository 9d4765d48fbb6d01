// SPDX-License-Identifier: GPL-3.0-or-later

// What LV2 instruments cost, alone and on a JACK server, there beside one `jalv` for each unit.

#include "Benchmarks/Common/CoreTime.h"
#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Benchmarks/Lv2/SwitchingPlayer.h"
#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Platform/Audio/FlushToZero.h"
#include "Platform/Audio/Graph/AVAudioEngine.h"
#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Platform/Audio/Instruments/Lv2/Lv2InstrumentFactory.h"
#include "Platform/Foundation/FileDescriptor.h"
#include "Platform/Foundation/Log.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/JackMIDIPeer.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/OneOf.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string_view>
#include <thread>

using namespace zelvane;

namespace {

constexpr double kRate = 48000;
constexpr std::uint32_t kBlock = 256;
constexpr int kUnits = 10;
constexpr int kNotes = 64;
constexpr int kRounds = 7;
constexpr std::chrono::seconds kMeasured(10);

struct Subject {
    const char* name;
    Lv2Entry entry;
};

Lv2Entry entry(const char* uri, const char* bundle) {
    return {.uri = uri, .name = uri, .bundles = {bundle}, .refusal = {}, .bendCents = {}};
}

std::vector<Subject> subjects() {
    return {{"JX10", entry("http://drobilla.net/plugins/mda/JX10", "/usr/lib/lv2/mda.lv2")},
            {"Monosynth", entry("http://calf.sourceforge.net/plugins/Monosynth", "/usr/lib/lv2/calf.lv2")},
            {"ZynAddSubFX", entry("http://zynaddsubfx.sourceforge.net", "/usr/lib/lv2/ZynAddSubFX.lv2")},
            {"synthv1", entry("http://synthv1.sourceforge.net/lv2", "/usr/lib/lv2/synthv1.lv2")}};
}

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::uint8_t keyOf(int note) {
    return static_cast<std::uint8_t>(32 + note);
}

using Units = std::vector<std::unique_ptr<Instrument>>;

Units makeUnits(const Lv2Entry& entry) {
    Units units;
    for (int i = 0; i < kUnits; ++i) {
        Error error;
        units.push_back(makeLv2Instrument(entry, error));
        require(units.back() != nullptr, error.description);
        require(units.back()->prepare(kRate, kBlock) == kNoError, "not prepared");
    }
    return units;
}

void renderSecond(const Units& units, const std::vector<TimedMIDI>& events) {
    std::array<float, kBlock> left{}, right{};
    for (int block = 0; block < static_cast<int>(kRate) / static_cast<int>(kBlock); ++block)
        for (const auto& unit : units)
            unit->render(block == 0 ? std::span(events) : std::span<const TimedMIDI>(), left.data(), right.data(),
                         kBlock);
}

double medianOfRounds(const Units& units) {
    std::vector<double> seconds;
    for (int round = 0; round < kRounds; ++round) {
        const double start = coreSeconds();
        renderSecond(units, {});
        seconds.push_back(coreSeconds() - start);
    }
    return median(seconds);
}

std::vector<TimedMIDI> chord() {
    std::vector<TimedMIDI> events;
    for (int note = 0; note < kNotes; ++note) events.push_back({0, 0x90, keyOf(note), 100});
    return events;
}

void measureRendering() {
    const ScopedFlushToZero flushToZero;
    for (const Subject& subject : subjects()) {
        const Units units = makeUnits(subject.entry);
        for (int second = 0; second < 3; ++second) renderSecond(units, {});
        const double asleep = medianOfRounds(units);
        renderSecond(units, chord());
        std::printf("ten %s: %.2f %% of a core with %d notes each, %.3f %% asleep\n", subject.name,
                    medianOfRounds(units) * 100, kNotes, asleep * 100);
    }
}

void measureSwitching() {
    for (const Subject& subject : subjects()) {
        std::vector<double> making, freeing;
        for (int round = 0; round < kRounds; ++round) {
            double start = now();
            Units units = makeUnits(subject.entry);
            making.push_back(now() - start);
            renderSecond(units, {});
            start = now();
            units.clear();
            freeing.push_back(now() - start);
        }
        std::printf("ten %s: made in %.1f ms (the first time %.1f ms), gone in %.1f ms\n", subject.name,
                    median(making) * 1e3, making[0] * 1e3, median(freeing) * 1e3);
    }
}

/// As the user waits for it: from the choice until ten units are set up, connected and tuned.
void measurePlayer() {
    std::vector<Lv2Entry> entries;
    for (const Subject& subject : subjects()) {
        entries.push_back(subject.entry);
        entries.back().name = subject.name;
    }
    const auto silence = Log::redirect([](std::string_view) {});
    SwitchingPlayer player(entries);
    for (const auto& [name, measured] : subjects()) {
        std::vector<double> seconds;
        for (int round = 0; round < kRounds; ++round) {
            player.engine->setMusicDeviceFromName(std::string_view(name) == "JX10" ? "Monosynth" : "JX10");
            const double start = now();
            player.engine->setMusicDeviceFromName(name);
            seconds.push_back(now() - start);
            require(player.engine->allMicroUnitsAreSetUp(), "the units are not set up");
        }
        std::printf("the player goes over to %s in %.1f ms (the first time %.1f ms)\n", name, median(seconds) * 1e3,
                    seconds[0] * 1e3);
    }
}

/// Seconds of processor time that a process has had.
double processorSeconds(const std::string& process) {
    std::ifstream file("/proc/" + process + "/stat");
    std::string text{std::istreambuf_iterator<char>(file), {}};
    require(!text.empty(), "process " + process + " is gone");
    std::istringstream words(text.substr(text.rfind(')') + 2));
    std::string word;
    for (int i = 0; i < 11; ++i) words >> word;
    double user = 0, system = 0;
    words >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::string serverProcess() {
    for (const auto& folder : std::filesystem::directory_iterator("/proc")) {
        std::ifstream name(folder.path() / "cmdline");
        std::string line{std::istreambuf_iterator<char>(name), {}};
        if (line.starts_with("jackd") && line.find(std::getenv("JACK_DEFAULT_SERVER")) != std::string::npos)
            return folder.path().filename();
    }
    throw BenchmarkFailure("the server's process is not found");
}

/// Processor time of all these processes together, in percent of a core.
double share(const std::vector<std::string>& processes) {
    const auto sum = [&] {
        double seconds = 0;
        for (const std::string& process : processes) seconds += processorSeconds(process);
        return seconds;
    };
    const double before = sum();
    const double start = now();
    std::this_thread::sleep_for(kMeasured);
    return (sum() - before) / (now() - start) * 100;
}

class Provider : public AudioComponentProvider {
  public:
    std::vector<AVAudioUnitComponent> components() override {
        return {{.name = "JX10", .audioComponentDescription = {.componentType = kAudioUnitType_MusicDevice}}};
    }
    std::unique_ptr<Instrument> instantiate(const AudioComponentDescription&, Error& error) override {
        return makeLv2Instrument(subjects()[0].entry, error);
    }
};

/// Ten units in this process, as the player has them.
struct OurUnits {
    OurUnits() {
        platform = std::make_unique<AudioPlatform>(oneOf<AudioDeviceBackEnd>(std::make_unique<JackBackEnd>()),
                                                   oneOf<AudioComponentProvider>(std::make_unique<Provider>()));
        engine = std::make_unique<AVAudioEngine>(platform->graph, platform->controller, platform->hardware);
        for (int i = 0; i < kUnits; ++i) addUnit();
        Error error;
        require(engine->startAndReturnError(error), error.description);
    }
    ~OurUnits() { engine.reset(); }

    void addUnit() {
        std::promise<std::shared_ptr<AVAudioUnit>> made;
        platform->components.instantiateWithComponentDescription(
            {.componentType = kAudioUnitType_MusicDevice}, 0,
            [&](const std::shared_ptr<AVAudioUnit>& unit, const std::optional<Error>&) { made.set_value(unit); });
        units.push_back(made.get_future().get());
        require(units.back() != nullptr, "no instance");
        engine->attachNode(units.back());
        engine->connect(units.back(), *engine->mainMixerNode(), engine->outputNode()->outputFormatForBus(0));
    }

    void playChord() {
        for (const auto& unit : units)
            for (int note = 0; note < kNotes; ++note)
                MusicDeviceMIDIEvent(unit->audioUnit(), 0x90, keyOf(note), 100, 0);
    }

    std::unique_ptr<AudioPlatform> platform;
    std::unique_ptr<AVAudioEngine> engine;
    std::vector<std::shared_ptr<AVAudioUnit>> units;
};

/// Ten programs `jalv`, one for each unit.
struct Jalvs {
    explicit Jalvs(const JackServer& server) {
        for (int i = 0; i < kUnits; ++i) start(server, "unit" + std::to_string(i));
    }

    // The program ends at the end of its input, hence one that does not end. The shell tells its process number, which
    // the program takes over.
    void start(const JackServer& server, const std::string& name) {
        const std::string input = (folder.path / (name + ".in")).string();
        require(mkfifo(input.c_str(), 0600) == 0, "no pipe");
        inputs.emplace_back(::open(input.c_str(), O_RDWR | O_CLOEXEC));
        const std::string command = "echo $$; exec jalv -x -n " + name + " " + subjects()[0].entry.uri + " <" + input;
        const std::string output = (folder.path / name).string();
        programs.push_back(std::make_unique<ChildProcess>(std::vector<std::string>{"sh", "-c", command},
                                                          ChildProcess::Environment{}, output));
        const auto connect = [&](const std::string& from, const std::string& to) {
            return waitFor([&] { return server.tool({"jack_connect", from, to}); }, 10);
        };
        require(connect(name + ":left_out", "system:playback_1") && connect(name + ":right_out", "system:playback_2"),
                "jalv does not play; is it installed?");
        processes.push_back(std::to_string(std::stoi(TemporaryFolder::read(output))));
    }

    TemporaryFolder folder;
    std::vector<FileDescriptor> inputs;
    std::vector<std::string> processes;
    std::vector<std::unique_ptr<ChildProcess>> programs;
};

void print(const char* who, double idle, double playing) {
    std::printf("%s: %.1f %% of a core with a chord of %d notes each, %.1f %% before\n", who, playing, kNotes, idle);
}

void measureOnServer() {
    JackServer server;
    require(server.start(static_cast<unsigned>(kRate), kBlock), "jackd does not start");
    {
        OurUnits ours;
        const std::vector<std::string> processes{"self", serverProcess()};
        const double idle = share(processes);
        ours.playChord();
        print("ten units and the server", idle, share(processes));
    }
    const Jalvs jalvs(server);
    JackMIDIPeer peer("peer", {"out"});
    std::vector<std::string> processes = jalvs.processes;
    processes.push_back(serverProcess());
    for (int i = 0; i < kUnits; ++i)
        require(peer.connect("peer:out", "unit" + std::to_string(i) + ":event_in"), "jalv takes no MIDI");
    const double idle = share(processes);
    std::vector<JackMIDIPeer::Planned> chord;
    for (int note = 0; note < kNotes; ++note) chord.push_back({0, {0x90, keyOf(note), 100}});
    peer.play(chord);
    print("ten jalv and the server", idle, share(processes));
}

void measure(std::string_view part) {
    if (part.empty() || part == "rendering") measureRendering();
    if (part.empty() || part == "switching") measureSwitching();
    if (part.empty() || part == "player") measurePlayer();
    if (part.empty() || part == "server") measureOnServer();
}

}  // namespace

int main(int count, char** arguments) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);  // one of the instruments is made with Qt
    return runBenchmark([&] { measure(count > 1 ? arguments[1] : ""); });
}
