// SPDX-License-Identifier: GPL-3.0-or-later

// How many messages a second the player reads and dispatches, beside liblo on the same bytes.

#include "Benchmarks/Common/CoreTime.h"
#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Benchmarks/OSC/LibloSubjects.h"
#include "Benchmarks/OSC/PlayerSubjects.h"
#include "Platform/OSC/OSCPacket.h"

#include <cstdio>

using namespace zelvane;

namespace {

constexpr int kBatch = 500;
constexpr int kBatches = 400;
constexpr int kRounds = 15;

double secondsOfBatch(const Subject& subject, Bytes& bytes) {
    const double start = coreSeconds();
    int read = 0;
    for (int message = 0; message < kBatch; ++message) read += subject.read(bytes);
    const double spent = coreSeconds() - start;
    require(read == kBatch, subject.name + " does not understand the message");
    return spent;
}

double messagesPerSecond(const Subject& subject, Bytes& bytes) {
    double spent = 0;
    for (int batch = 0; batch < kBatches; ++batch) {
        spent += secondsOfBatch(subject, bytes);
        if (subject.rest) subject.rest();
    }
    return kBatch * kBatches / spent;
}

/// The rounds of all subjects alternate, so that a change of the machine's pace meets them alike.
void compare(const OSCMessage& message, const std::vector<Subject>& subjects) {
    Bytes bytes = serializeOSCMessage(message);
    std::vector<std::vector<double>> rates(subjects.size());
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t index = 0; index < subjects.size(); ++index)
            rates[index].push_back(messagesPerSecond(subjects[index], bytes));
    }
    std::printf("%s %s, %zu bytes\n", message.address.c_str(), message.argumentsDescription().c_str(), bytes.size());
    for (std::size_t index = 0; index < subjects.size(); ++index)
        std::printf("  %-38s %9.0f messages/s\n", subjects[index].name.c_str(), median(rates[index]));
}

void compareAll() {
    const std::vector<Subject> subjects{playerParser(), libloReader(), playerDispatcher(), libloServer()};
    compare({"/om/note", {{6050}, {100}, {50}, {1}}}, subjects);
    compare({"/vesk.µq/fifos", {{500.0F}, {60.37F}, {100}, {50}, {1}}}, subjects);
}

}  // namespace

int main() {
    return runBenchmark(compareAll);
}
