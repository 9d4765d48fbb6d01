// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/ApplicationRig.h"
#include "Tests/Fakes/EngineRig.h"
#include "Tests/Fakes/UnitAccess.h"

#include <gmock/gmock.h>

#include <set>
#include <thread>

namespace zelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A whole application whose units have editors of different sizes: unit n's is 100 + n pixels wide and 200 + n high.
class EditorWindow : public testing::Test, protected ApplicationRig {
  protected:
    void launch(const std::set<int>& unitsWithEditor) {
        const auto makeView = [&, unitsWithEditor, number = 10]() mutable {
            const int unit = number--;
            auto view = unitsWithEditor.contains(unit) ? std::make_shared<FakeView>(100 + unit, 200 + unit) : nullptr;
            if (number == 0) number = 10;
            return view;
        };
        platform.components.setViewControllerProvider(std::make_shared<FakeViewControllers>(makeView));
        application.applicationDidFinishLaunching(false);
        while (shell.deviceSettingsMenuItem().title().empty()) loop.runOnce();
    }

    SilentPluginWindow& window() { return static_cast<SilentPluginWindow&>(shell.pluginWindow()); }
    std::vector<int> shown() {
        std::vector<int> units;
        for (const auto& view : window().subviews()) {
            if (!view->isHidden()) units.push_back(view->width() - 100);
        }
        return units;
    }
    void choose(int unit) {
        window().selectItemAtIndex(unit - 1);
        application.changeUnitNumber();
    }
    AudioUnit* unit(std::int32_t number) { return application.zelvane()->audioEngine().audioUnitFromMicroUnit(number); }
    /// Edits the unit, and returns when the edit has come to unit 10.
    void expectToBeSource(std::int32_t number, float value) {
        editParameter(unit(number), 7, value);
        const TimePoint end = clock.now() + std::chrono::seconds(1);
        while (parameterOf(unit(10), 7) != value && loop.runOnce(end)) continue;
        EXPECT_EQ(parameterOf(unit(10), 7), value) << "edited unit " << number;
    }
};

TEST_F(EditorWindow, HasTheFirstUnitsEditorOnTopOfTheOthersAndItsSize) {
    launch({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    EXPECT_TRUE(application.hasAuView());
    ASSERT_THAT(window().subviews(), SizeIs(10));
    EXPECT_EQ(window().subviews().back()->width(), 101);
    EXPECT_THAT(shown(), ElementsAre(1));
    EXPECT_EQ(window().width(), 101);
    EXPECT_EQ(window().height(), 201 + 39);
    EXPECT_EQ(window().title(), "DLSMusicDevice Settings");
    EXPECT_EQ(shell.deviceSettingsMenuItem().title(), "DLSMusicDevice Settings…");
    expectToBeSource(1, 0.25F);
    EXPECT_FALSE(window().isVisible()) << "though nobody asked for it";
    application.showDeviceSettings();
    EXPECT_TRUE(window().isVisible());
}

TEST_F(EditorWindow, ShowsTheChosenUnitsEditorAndMakesThatUnitTheSource) {
    launch({1, 4, 7});
    choose(4);
    EXPECT_THAT(shown(), ElementsAre(4));
    EXPECT_EQ(window().width(), 104);
    EXPECT_EQ(window().height(), 204 + 39);
    EXPECT_THAT(window().subviews(), SizeIs(3));
    expectToBeSource(4, 0.5F);
    choose(5);
    EXPECT_THAT(shown(), ElementsAre(4)) << "unit 5 has nothing to show";
    expectToBeSource(5, 0.75F);
    application.zelvane()->setMusicDeviceFromName("zither");
    while (shell.deviceSettingsMenuItem().title() != "zither Settings…") loop.runOnce();
    EXPECT_THAT(shown(), ElementsAre(1));
    EXPECT_THAT(window().subviews(), SizeIs(3)) << "with the former instrument's";
    EXPECT_EQ(window().indexOfSelectedItem(), 0);
}

TEST_F(EditorWindow, GoesAwayWhenTheFirstUnitHasNoEditor) {
    launch({});
    EXPECT_FALSE(application.hasAuView());
    application.showDeviceSettings();
    application.zelvane()->setMusicDeviceFromName("zither");
    while (shell.deviceSettingsMenuItem().title() != "zither Settings…") loop.runOnce();
    EXPECT_FALSE(window().isVisible());
    EXPECT_THAT(window().title(), IsEmpty());
}

TEST_F(EditorWindow, StoresThePresetsWhenItIsClosed) {
    launch({1});
    ASSERT_NE(window().delegate(), nullptr);
    EXPECT_FALSE(defaults.object("DLSMusicDevice_10"));
    EXPECT_TRUE(window().delegate()->windowShouldClose());
    EXPECT_TRUE(defaults.object("DLSMusicDevice_10"));
    application.applicationWillTerminate();
    EXPECT_EQ(window().delegate(), nullptr);
    EXPECT_THAT(window().subviews(), IsEmpty()) << "beyond the life of what they edit";
}

TEST(Editors, AreTakenToTheWindowByTheMainThread) {
    EngineRig rig({"DLSMusicDevice"}, {}, true);
    bool isDone = false;
    std::thread player([&] {
        rig.engine->microUnitAuViewDidChange(nullptr);
        rig.engine->microUnitAuViewDidChange(rig.engine->microUnitSynthNode(2));
        rig.rig.loop.perform([&] { isDone = true; });
    });
    while (!isDone) rig.rig.loop.runOnce();
    player.join();
    EXPECT_EQ(rig.rig.application.viewsThread, std::this_thread::get_id());
    EXPECT_EQ(rig.rig.application.firstUnit.lock(), rig.engine->microUnitSynthNode(1));
}

TEST(Editors, EndTheProgramWithAnAlertWhenWhatShowsThemHasEnded) {
    EngineRig rig;
    const auto viewController =
        std::make_shared<audioEngineViewController>(rig.rig.application, std::make_shared<FakeViewController>());
    viewController->viewServiceDidTerminateWithError({"ViewService", 4, "It has ended."});
    EXPECT_THAT(rig.rig.application.fatalErrors, IsEmpty()) << "waited for";
    rig.runDue();
    EXPECT_EQ(rig.rig.application.fatalErrors.at(0).description, "It has ended.");
    EXPECT_TRUE(rig.rig.loop.hasEnded());
}

}  // namespace
}  // namespace zelvane
