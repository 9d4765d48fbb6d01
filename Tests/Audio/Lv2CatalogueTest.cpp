// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Contact.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Lv2Catalogue.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Lv2Provider.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/PitchDistance.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/UniqueNames.h"
#include "Platform/Audio/Units/AVAudioUnitComponentManager.h"
#include "Tests/Audio/Lv2Bundles.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace zelvane {
namespace {

using testing::AllOf;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::StartsWith;
using testing::UnorderedElementsAre;

/// Long enough for a busy machine, short of any time-out of a test.
ProcessLimits patientLimits() {
    ProcessLimits limits = contactLimits();
    limits.time = std::chrono::seconds(60);
    limits.memory = std::uint64_t{1} << 30;
    return limits;
}

class Lv2CatalogueTest : public testing::Test {
  protected:
    std::unique_ptr<Lv2Catalogue> catalogue(const ProcessLimits& limits = patientLimits()) const {
        return std::make_unique<Lv2Catalogue>(Lv2Catalogue::Settings{bundles.cacheFile(), LV2_SCANNER, limits});
    }

    /// The names of what had to be tried.
    static std::vector<std::string> refreshed(Lv2Catalogue& catalogue) {
        std::vector<std::string> tried;
        EXPECT_TRUE(catalogue.refresh([&](const std::string& name) { tried.push_back(name); }));
        return tried;
    }

    static std::vector<std::string> names(const Lv2Catalogue& catalogue) {
        std::vector<std::string> names;
        for (const auto& entry : *catalogue.entries()) names.push_back(entry.name);
        return names;
    }

    const Lv2Bundles bundles;
};

TEST_F(Lv2CatalogueTest, WhatMisbehavesIsRefusedWithTheReason) {
    const std::map<std::string, std::string> reasons{
        {"crash-making", "It crashed (segmentation fault) while it was made."},
        {"crash-running", "It crashed (segmentation fault) while it played."},
        {"abort-making", "It aborted while it was made."},
        {"abort-running", "It aborted while it played."},
        {"exit-making", "It ended the program while it was made."},
        {"exit-running", "It ended the program while it played."},
        {"memory-making", "It used too much memory while it was made."},
        {"memory-running", "It used too much memory while it played."},
        {"port-expected", "It crashed (segmentation fault) while it played."},
        {"port-misnumbered", "Its description is damaged."},
        {"malformed", "Sorry, this instrument refuses to start."},
        {"wide", "Its description is damaged."},
        {"nan", "It made sound that is not a number."},
        {"slow", "It is too slow to be played."},
        {"good", ""}};
    for (const auto& [name, reason] : reasons) bundles.add(name);
    std::filesystem::resize_file(bundles.bundle("wide") / "plugin.ttl", 300);
    bundles.add("deaf");
    std::ofstream(bundles.bundle("deaf") / "manifest.ttl")
        << "<urn:zelvane:test:deaf> a [ <";  // of it nothing is known
    auto made = catalogue();
    refreshed(*made);
    std::vector<std::unique_ptr<AudioComponentProvider>> providers;
    providers.push_back(std::make_unique<Lv2Provider>(std::move(made)));
    AVAudioUnitComponentManager manager(std::move(providers));
    std::map<std::string, std::string> found;
    for (const auto& component : manager.componentsMatchingDescription({})) {
        found[component.name] = component.refusal;
        const AudioComponentDescription& description = component.audioComponentDescription;
        const bool isSafe = description.componentFlags == kAudioComponentFlag_SandboxSafe;
        EXPECT_EQ(isSafe, component.refusal.empty()) << component.name;
        for (const std::uint32_t options : {0U, kAudioComponentInstantiation_LoadOutOfProcess}) {
            const auto finish = [&](const std::shared_ptr<AVAudioUnit>& instance, const std::optional<Error>& error) {
                ASSERT_EQ(instance != nullptr, isSafe) << component.name;
                if (!isSafe) {
                    EXPECT_THAT(error->description,
                                AllOf(StartsWith(component.name + ": "), EndsWith(component.refusal)));
                    return;
                }
                EXPECT_EQ(instance->name(), component.name);
                EXPECT_EQ(instance->audioUnit()->instrument().properties().empty(), options != 0) << "plays elsewhere";
            };
            manager.instantiateWithComponentDescription(description, options, finish);
            manager.waitForRequests();
        }
    }
    EXPECT_EQ(found, reasons);
}

TEST_F(Lv2CatalogueTest, WhatHangsIsEndedInTime) {
    ProcessLimits limits = patientLimits();
    limits.time = std::chrono::seconds(1);
    for (const std::string name : {"hang-making", "hang-running"}) {
        const Lv2Entry entry{.uri = "urn:zelvane:test:" + name,
                             .bundles = {std::string(EVIL_BUNDLES) + "/" + name + ".lv2"}};
        const auto result = tryInstrument(LV2_SCANNER, entry, limits);
        ASSERT_TRUE(result);
        EXPECT_THAT(result->refusal, HasSubstr("It did not finish within 1 second while it ")) << name;
    }
}

TEST_F(Lv2CatalogueTest, BendsAreMeasured) {
    bundles.link("mda");
    bundles.link("synthv1");  // made with Qt, which asks for a display
    for (const char* name : {"wide", "deaf"}) bundles.add(name);
    auto made = catalogue();
    refreshed(*made);
    std::map<std::string, std::optional<double>> bends;
    for (const auto& entry : *made->entries()) bends[entry.name] = entry.bendCents;
    EXPECT_THAT(bends["MDA JX10"], Optional(DoubleNear(200.0 * 3681 / 8192, 0.1)));
    EXPECT_THAT(bends["wide"], Optional(DoubleNear(1200.0 * 3681 / 8192, 0.2)));
    EXPECT_THAT(bends["synthv1"], Optional(DoubleNear(240.0 * 3681 / 8192, 0.2)));
    EXPECT_THAT(bends["MDA ePiano"], Optional(0.0));
    EXPECT_THAT(bends["deaf"], Optional(0.0));

    Lv2Provider provider(std::move(made));
    std::map<std::string, Microtones> microtones;
    for (const auto& component : provider.components()) microtones[component.name] = component.microtones;
    EXPECT_EQ(microtones["MDA JX10"], Microtones::yes);
    EXPECT_EQ(microtones["MDA ePiano"], Microtones::no);
}

TEST_F(Lv2CatalogueTest, OnlyWhatIsNewOrChangedIsTriedAgain) {
    bundles.add("good");
    std::atomic<int> changes{0};
    const auto kept = catalogue();
    kept->setChangeHandler([&] { ++changes; });
    EXPECT_THAT(refreshed(*kept), ElementsAre("good"));
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(kept->isCurrent());
    EXPECT_TRUE(catalogue()->isCurrent()) << "and the next start finds it so";
    EXPECT_EQ(*catalogue()->entries(), *kept->entries());

    bundles.add("deaf");
    EXPECT_FALSE(kept->isCurrent());
    EXPECT_THAT(refreshed(*kept), ElementsAre("deaf"));
    bundles.rename("good", "better");
    EXPECT_THAT(refreshed(*kept), ElementsAre("better"));
    EXPECT_THAT(names(*kept), UnorderedElementsAre("better", "deaf"));
    bundles.remove("deaf");
    EXPECT_THAT(refreshed(*kept), IsEmpty());
    EXPECT_THAT(names(*kept), ElementsAre("better"));
    EXPECT_EQ(changes, 4);
    EXPECT_THAT(refreshed(*kept), IsEmpty());
    EXPECT_EQ(changes, 4) << "nothing has changed";
}

TEST_F(Lv2CatalogueTest, ADamagedCacheIsSetAsideAndMadeAgain) {
    bundles.add("good");
    refreshed(*catalogue());
    const std::string whole = TemporaryFolder::read(bundles.cacheFile());
    std::filesystem::resize_file(bundles.cacheFile(), whole.size() / 2);
    const LogLines log;
    const auto made = catalogue();
    EXPECT_THAT(*made->entries(), IsEmpty());
    EXPECT_THAT(log.all(), ElementsAre(HasSubstr("is damaged and is made again")));
    EXPECT_EQ(TemporaryFolder::read(bundles.cacheFile().string() + ".damaged").size(), whole.size() / 2);
    EXPECT_THAT(refreshed(*made), ElementsAre("good"));
    EXPECT_EQ(TemporaryFolder::read(bundles.cacheFile()), whole);

    std::string other = whole;
    other.replace(other.find("<integer>1<"), 11, "<integer>0<");
    std::ofstream(bundles.cacheFile()) << other;
    EXPECT_THAT(*catalogue()->entries(), IsEmpty()) << "of another version";
    EXPECT_EQ(log.all().size(), 1U) << "which is no damage";
}

TEST_F(Lv2CatalogueTest, WithoutTheScannerNothingIsRemembered) {
    bundles.add("good");
    const LogLines log;
    Lv2Catalogue lost({bundles.cacheFile(), "/no/such/scanner", patientLimits()});
    EXPECT_FALSE(lost.refresh());
    EXPECT_THAT(log.all(), ElementsAre(HasSubstr("could not be tried")));
    EXPECT_FALSE(lost.isCurrent());
}

/// Whether a program with that in its command line runs.
bool isRunning(const std::string& words) {
    std::error_code error;
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        if (std::filesystem::exists(process.path() / "cmdline", error) &&
            TemporaryFolder::read(process.path() / "cmdline").find(words) != std::string::npos)
            return true;
    }
    return false;
}

TEST_F(Lv2CatalogueTest, TheBackgroundRefreshEndsWithThePlayer) {
    bundles.add("hang-making");
    auto refreshing = catalogue();
    refreshing->refreshInBackground();
    ASSERT_TRUE(waitFor([&] { return isRunning(bundles.bundle("hang-making")); }));
    EXPECT_THAT(*refreshing->entries(), IsEmpty());
    const auto begin = std::chrono::steady_clock::now();
    refreshing.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30)) << "half of what a trial may take";
    EXPECT_TRUE(waitFor([&] { return !isRunning(bundles.bundle("hang-making")); }));
}

TEST(Lv2Names, AreToldApartWithoutTakingAnothersName) {
    const auto named = [](const char* uri, const char* name, const char* refusal) {
        return CachedInstrument{{.uri = uri, .name = name, .refusal = refusal}, ""};
    };
    std::vector<CachedInstrument> instruments{named("urn:a", "Piano", "It aborted."), named("urn:d", "Piano", ""),
                                              named("urn:c", "Piano", ""), named("urn:b", "Piano (2)", "")};
    makeNamesUnique(instruments);
    std::vector<std::string> names;
    for (const auto& each : instruments) names.push_back(each.entry.name);
    EXPECT_THAT(names, ElementsAre("Piano (4)", "Piano (3)", "Piano", "Piano (2)"));
}

/// A string that dies away: partials that are not quite harmonic.
std::vector<float> string(double frequency) {
    std::vector<float> samples(kPitchSamples);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double time = static_cast<double>(n) / 48000;
        double sum = 0;
        for (int partial = 1; partial <= 8; ++partial) {
            const double stretched = partial * frequency * (1 + 0.0004 * partial * partial);
            sum += std::exp(-time * partial) / partial * std::sin(2 * std::numbers::pi * stretched * time + partial);
        }
        samples[n] = static_cast<float>(0.1 * sum);
    }
    return samples;
}

TEST(PitchDistance, IsExactToATenthOfACentAndNoneOfSoundsWithNothingInCommon) {
    const auto tone = string(261.63);
    for (const double cents : {-539.2, -0.4, 0.0, 45.0, 1078.4})
        EXPECT_THAT(pitchDistance(tone, string(261.63 * std::exp2(cents / 1200)), 48000),
                    Optional(DoubleNear(cents, 0.1)));
    std::mt19937 random(1);
    std::normal_distribution<float> values(0, 0.1F);
    std::vector<float> noise(kPitchSamples), otherNoise(kPitchSamples);
    for (auto* samples : {&noise, &otherNoise})
        for (float& sample : *samples) sample = values(random);
    const std::vector<float> silence(kPitchSamples);
    EXPECT_EQ(pitchDistance(silence, silence, 48000), std::nullopt);
    EXPECT_EQ(pitchDistance(tone, silence, 48000), std::nullopt);
    EXPECT_EQ(pitchDistance(noise, otherNoise, 48000), std::nullopt);
}

TEST(Lv2SubTypes, AreUniqueAlsoWhereTwoHashesMeet) {
    // These two words have one FNV-1a value.
    const std::vector<Lv2Entry> entries{{.uri = "liquid"}, {.uri = "costarring"}, {.uri = "urn:other"}};
    const auto subTypes = uniqueSubTypes(entries);
    EXPECT_EQ(subTypes[0], subTypes[1] + 1) << "the first by URI keeps its own";
    EXPECT_EQ(subTypes[1], uniqueSubTypes({entries[1]}).front());
    EXPECT_EQ(subTypes[2], uniqueSubTypes({entries[2]}).front());
}

}  // namespace
}  // namespace zelvane
