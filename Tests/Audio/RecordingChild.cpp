// SPDX-License-Identifier: GPL-3.0-or-later
// Records in ways that a test program could not survive.
#include "Tests/Audio/RecordingSignal.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>

namespace zelvane {
namespace {

namespace fs = std::filesystem;

const AudioStreamBasicDescription kFormat = losslessFormat(48000, 2, 16);

void pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

/// Plays in real time until it is killed, and puts out a byte for each block that it has handed over.
int play(const fs::path& path) {
    const ExtAudioFileRef file = startRecording(path, kFormat);
    SoundFeed feed(48000, 2, stepsOf(16));
    for (;;) {
        for (int i = 0; i < 2; ++i) {
            if (feed.feed(file.get(), SoundFeed::kBlock) != kNoError) return 1;
            if (::write(STDOUT_FILENO, "+", 1) != 1) return 1;
        }
        pause();
    }
}

/// Records a second to the same file, over and over.
int repeat(const fs::path& path) {
    for (;;) {
        ExtAudioFileRef file = startRecording(path, kFormat);
        SoundFeed(48000, 2, stepsOf(16)).feed(file.get(), 48000);
        if (ExtAudioFileDispose(file) != kNoError) return 1;
    }
}

/// What a recording says about itself at its end, for the test.
struct Outcome {
    int timesFailed = 0;
    OSStatus refusal = kNoError;

    ExtAudioFileOptions options() {
        return {.failed = [this](const ExtAudioFileReport&) { ++timesFailed; },
                .finished =
                    [this](const ExtAudioFileReport& report) {
                        std::printf("errno=%d\nstatus=%d\nframes=%llu\nfailed=%d\nrefusal=%d\nfragmented=%d\n",
                                    report.errorNumber, report.status,
                                    static_cast<unsigned long long>(report.framesWritten), timesFailed, refusal,
                                    report.isFragmented ? 1 : 0);
                    }};
    }

    /// Plays until the file takes no more.
    void playUntilRefused(ExtAudioFile* file, SoundFeed& feed) {
        for (int i = 0; i < 10000; ++i) {
            refusal = feed.feed(file, SoundFeed::kBlock);
            if (refusal != kNoError && refusal != kExtAudioFileError_AsyncWriteBufferOverflow) return;
            if (i % 100 == 0) pause();
        }
    }
};

void limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

/// A disk of a megabyte in a world of this process' own; without the right to make one, a limit to the size of files.
void makeSmallDisk(const fs::path& folder) {
    const bool isMounted = ::unshare(CLONE_NEWNS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER)) == 0 &&
                           ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                           ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=1m") == 0;
    std::printf("disk=%s\n", isMounted ? "small" : "limited");
    if (!isMounted) limitFileSize(1 << 20);
}

int fill(const fs::path& folder, const fs::path& copy) {
    makeSmallDisk(folder);
    Outcome outcome;
    ExtAudioFileRef file = startRecording(folder / "full.m4a", kFormat, outcome.options());
    SoundFeed feed(48000, 2, stepsOf(16));
    outcome.playUntilRefused(file.get(), feed);
    ExtAudioFileDispose(file);
    fs::copy_file(folder / "full.m4a", copy);
    return 0;
}

/// From here on every write of this process to a disk fails.
void breakDisk() {
    std::array<sock_filter, 5> program{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pwrite64, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_fdatasync, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EIO),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog filter{program.size(), program.data()};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &filter) != 0) _exit(3);
}

int breakIn(const fs::path& path) {
    Outcome outcome;
    ExtAudioFileRef file = startRecording(path, kFormat, outcome.options());
    SoundFeed feed(48000, 2, stepsOf(16));
    feed.feed(file.get(), 100000);
    while (ExtAudioFileGetReport(file.get()).framesWritten < 50000) pause();
    breakDisk();
    outcome.playUntilRefused(file.get(), feed);
    ExtAudioFileDispose(file);
    return 0;
}

/// All sound is in the file when there is no room for another that would be an ordinary one.
int tight(const fs::path& path) {
    constexpr std::uint64_t kWholeFragments = 7 * 4096;
    Outcome outcome;
    ExtAudioFileRef file = startRecording(path, kFormat, outcome.options());
    SoundFeed(48000, 2, stepsOf(16)).feed(file.get(), kWholeFragments);
    while (ExtAudioFileGetReport(file.get()).framesWritten < kWholeFragments) pause();
    limitFileSize(4096);
    ExtAudioFileDispose(file);
    return 0;
}

int run(std::string_view way, const fs::path& first, const fs::path& second) {
    if (way == "play") return play(first);
    if (way == "repeat") return repeat(first);
    if (way == "fill") return fill(first, second);
    if (way == "break") return breakIn(first);
    if (way == "tight") return tight(first);
    return 2;
}

}  // namespace
}  // namespace zelvane

int main(int count, char** arguments) {
    if (count < 3) return 2;
    const int result = zelvane::run(arguments[1], arguments[2], count > 3 ? arguments[3] : "");
    std::fflush(stdout);
    return result;
}
