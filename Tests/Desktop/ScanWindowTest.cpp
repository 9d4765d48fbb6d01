// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/PluginScanController/PluginScanController.h"
#include "Tests/Fakes/CommaLocale.h"
#include "Tests/Fakes/DesktopApplication.h"
#include "Tests/Fakes/DrivenClock.h"

#include <QLabel>
#include <QLocale>
#include <QProgressBar>

namespace zelvane {
namespace {

using namespace std::chrono_literals;

const auto* const desktop = testing::AddGlobalTestEnvironment(new DesktopApplication);

class ScanWindow : public testing::Test {
  protected:
    ScanWindow() { controller.showScanProgress("zither"); }

    std::string text(const char* name) {
        const auto* label = controller.window().findChild<QLabel*>(QLatin1String(name));
        return label != nullptr ? label->text().toStdString() : "there is none";
    }
    int progress() { return controller.window().findChild<QProgressBar*>(QLatin1String("progressIndicator"))->value(); }
    void increment(std::uint32_t propertyID, Duration elapsed) {
        clock.advance(elapsed);
        controller.incrementScanProgress(propertyID);
    }

    DrivenClock clock;
    PluginScanController controller{clock};
};

TEST_F(ScanWindow, NamesTheInstrumentAndSaysWhatIsDone) {
    EXPECT_TRUE(controller.window().isVisible());
    EXPECT_EQ(controller.window().windowTitle().toStdString(), "Scan zither properties");
    EXPECT_EQ(text("progressDescription"),
              "Zelvane is scanning zither for properties. This will take a while and is needed only once. When "
              "finished, the results will be cached to disk for optimal functionality.");
    controller.hideScanProgress();
    EXPECT_FALSE(controller.window().isVisible());
}

TEST_F(ScanWindow, ShowsEveryTenThousandthPropertyAlone) {
    for (std::uint32_t id = 4; id < 10'000; ++id) controller.incrementScanProgress(id);
    EXPECT_EQ(text("currentPercentage"), "");
    increment(10'000, 1s);
    EXPECT_EQ(text("currentPercentage"), "Percentage done 0.000233%");
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 119:18:15");
    increment(10'001, 1s);
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 119:18:15");
}

TEST_F(ScanWindow, EstimatesFromTheTimeSinceItWasShown) {
    clock.advance(1h);
    controller.showScanProgress("zither");
    increment(42'950'000, 10s);
    EXPECT_EQ(text("currentPercentage"), "Percentage done 1.000008%");
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 00:16:29");
    EXPECT_EQ(progress(), 1);
    increment(4'294'960'000, 10s);
    EXPECT_EQ(text("currentPercentage"), "Percentage done 99.999830%");
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 00:00:00");
    EXPECT_EQ(progress(), 99);
    increment(0, 1s);
    EXPECT_EQ(text("currentPercentage"), "Percentage done 0.000000%");
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 00:00:00") << "there is nothing to estimate from";
    EXPECT_EQ(progress(), 0);
}

TEST_F(ScanWindow, StaysWithinItsNumbersWhateverTheClockSays) {
    increment(10'000, 24h);
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 1193046:28:15");
    clock.advance(-48h);
    increment(20'000, 0s);
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 00:00:00");
}

TEST_F(ScanWindow, WritesItsNumbersTheSameInAllLanguages) {
    const CommaLocale comma;
    QLocale::setDefault(QLocale(QLocale::German));
    increment(2'000'000'000, 10'000s);
    EXPECT_EQ(text("currentPercentage"), "Percentage done 46.566129%");
    EXPECT_EQ(text("estimatedRemaining"), "Time remaining 03:11:14");
    QLocale::setDefault(QLocale::c());
}

}  // namespace
}  // namespace zelvane
