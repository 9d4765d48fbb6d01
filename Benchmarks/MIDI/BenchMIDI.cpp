// SPDX-License-Identifier: GPL-3.0-or-later

// How many MIDI messages a second the player decodes, and how long it takes to rebuild a key table.

#include "Benchmarks/Common/CoreTime.h"
#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Benchmarks/MIDI/DecodingPlayer.h"
#include "Benchmarks/MIDI/KeyTables.h"
#include "Benchmarks/MIDI/MessageStream.h"
#include "Sources/Zelvane/MIDIDecoder/MIDIMessageCutter.h"

#include <cstdio>
#include <vector>

using namespace zelvane;

namespace {

constexpr int kRounds = 15;
constexpr std::size_t kMessagesOfBlock = 50;  // some 10,000 a second
constexpr std::size_t kUnitsOfNote = 1;
constexpr std::size_t kUnitsOfBend = 9;

template <typename Work>
double secondsOf(Work work) {
    const double start = coreSeconds();
    work();
    return coreSeconds() - start;
}

template <typename Work>
double medianSeconds(Work work) {
    std::vector<double> seconds;
    for (int round = 0; round < kRounds; ++round) seconds.push_back(secondsOf(work));
    return median(seconds);
}

void printRate(const char* what, double seconds, std::size_t messages) {
    const auto count = static_cast<double>(messages);
    std::printf("%-52s %10.0f messages/s  %7.1f ns each\n", what, count / seconds, seconds / count * 1e9);
}

/// Messages that keep their bytes to themselves would let the compiler leave the cutting out.
void measureCutting() {
    constexpr std::size_t kLists = 20'000;
    const auto stream = MessageStream::keys(kMessagesOfBlock);
    std::size_t cut = 0;
    std::size_t keys = 0;
    const double seconds = medianSeconds([&] {
        for (std::size_t list = 0; list < kLists; ++list)
            MIDIMessageCutter().cut(stream.packets(), [&](auto message, TimePoint) {
                ++cut;
                keys += message[1];
            });
    });
    require(cut == kRounds * kLists * kMessagesOfBlock && keys > cut, "messages are lost in the cutting");
    printRate("cut into messages", seconds, kLists * kMessagesOfBlock);
}

enum class Lists { whole, single };

/// Hands the stream to the player, once a block, as one list or as one for each message.
void play(DecodingPlayer& player, MessageStream& stream, Lists lists, std::size_t blocks) {
    for (std::size_t block = 0; block < blocks; ++block) {
        stream.spread(player.now(), DecodingPlayer::timeOfBlock());
        if (lists == Lists::whole) player.take(stream.packets());
        for (std::size_t index = 0; lists == Lists::single && index < stream.packets().size(); ++index)
            player.take(stream.packets().subspan(index, 1));
        player.renderBlock();
    }
}

/// Counted is the time when as many messages sound as come in: each is played some blocks after it came.
void measureDecoding(const char* what, MessageStream stream, Lists lists, std::size_t unitsOfMessage) {
    constexpr std::size_t kBlocks = 400;
    constexpr std::size_t kBlocksBefore = 40;
    DecodingPlayer player;
    std::vector<double> seconds;
    for (int round = 0; round < kRounds; ++round) {
        play(player, stream, lists, kBlocksBefore);
        seconds.push_back(secondsOf([&] { play(player, stream, lists, kBlocks); }));
        require(player.takePlayed() == (kBlocksBefore + kBlocks) * kMessagesOfBlock * unitsOfMessage,
                "messages are lost on the way");
    }
    printRate(what, median(seconds), kBlocks * kMessagesOfBlock);
}

/// What of the figures above is the blocks' own.
void measureBlocks() {
    constexpr int kBlocks = 4000;
    DecodingPlayer player;
    const double seconds = medianSeconds([&] {
        for (int block = 0; block < kBlocks; ++block) player.renderBlock();
    });
    std::printf("%-52s %10.2f us\n", "a block without messages", seconds / kBlocks * 1e6);
}

void measureTable(const KeyTable& table) {
    constexpr int kBuilds = 200;
    const TemporaryFolder folder;
    const UserDefaults defaults(folder.path / "defaults.plist");
    ScalaController scala(defaults, [](const Error& error) { throw BenchmarkFailure(error.description); });
    if (!table.scale.empty()) scala.readTuning(table.scale, table.name);
    if (!table.mapping.empty()) scala.readKeymap(table.mapping, table.name);
    const double seconds = medianSeconds([&] {
        for (int build = 0; build < kBuilds; ++build) scala.buildMicromidiMap();
    });
    std::printf("%-52s %10.2f us\n", table.name.c_str(), seconds / kBuilds * 1e6);
}

void measureAll() {
    std::printf("a MIDI byte stream, %zu messages in the time of a block\n", kMessagesOfBlock);
    measureCutting();
    measureDecoding("keys, to the instruments", MessageStream::keys(kMessagesOfBlock), Lists::whole, kUnitsOfNote);
    measureDecoding("keys in lists of one, to the instruments", MessageStream::keys(kMessagesOfBlock), Lists::single,
                    kUnitsOfNote);
    measureDecoding("bends, to nine instruments", MessageStream::bends(kMessagesOfBlock), Lists::whole, kUnitsOfBend);
    measureBlocks();
    std::printf("\na key table built\n");
    for (const KeyTable& table : keyTables()) measureTable(table);
}

}  // namespace

int main() {
    return runBenchmark(measureAll);
}
