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

// In the same numbers in all languages.
TEST_F(ScanWindow, TellsWhatIsDoneAndEstimatesFromTheTimeSinceItWasShown) {
    const CommaLocale comma;
    QLocale::setDefault(QLocale(QLocale::German));
    const std::tuple<Duration, std::uint32_t, std::string, std::string> table[] = {
        {10s, 42'950'000, "1.000008%", "00:16:29"},
        {10s, 4'294'960'000, "99.999830%", "00:00:00"},
        {1s, 0, "0.000000%", "00:00:00"},  // nothing to estimate from
        {10'000s, 2'000'000'000, "46.566129%", "03:11:14"},
        {24h, 10'000, "0.000233%", "1193046:28:15"},
        {-24h, 20'000, "0.000466%", "00:00:00"}};
    for (const auto& [elapsed, propertyID, percentage, remaining] : table) {
        clock.advance(1h);
        controller.showScanProgress("zither");
        increment(propertyID, elapsed);
        EXPECT_EQ(text("currentPercentage"), "Percentage done " + percentage);
        EXPECT_EQ(text("estimatedRemaining"), "Time remaining " + remaining);
        EXPECT_EQ(progress(), std::stoi(percentage));
    }
    QLocale::setDefault(QLocale::c());
}

}  // namespace
}  // namespace zelvane
