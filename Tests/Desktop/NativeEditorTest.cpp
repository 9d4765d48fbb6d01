// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"
#include "Platform/Audio/Units/AUListener.h"
#include "Platform/Desktop/Editors/EditorProvider.h"
#include "Platform/Desktop/Editors/WidgetView.h"
#include "Sources/PluginWindowController/PluginWindowController.h"
#include "Tests/Audio/Lv2Player.h"
#include "Tests/Desktop/EditorRig.h"
#include "Tests/Desktop/Lv2ProbeEditor/ProbeEditor.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/UnitAccess.h"
#include "Tests/Fakes/XServer.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <atomic>
#include <thread>

namespace zelvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Pair;

constexpr AudioUnitParameterID kGain = 4;
constexpr AudioUnitPropertyID kLevel = kFirstLv2Property + 2;

XServer& server() {
    static XServer instance;
    return instance;
}

/// Before the application object, which looks for it.
class DisplayWithManager : public testing::Environment {
  public:
    void SetUp() override {
        ASSERT_TRUE(server().start());
        for (const auto& [name, value] : server().environment()) setenv(name.c_str(), value.c_str(), 1);
        setenv("QT_QPA_PLATFORM", "xcb", 1);
        ASSERT_TRUE(server().startWindowManager());
    }
};

const auto* const display = testing::AddGlobalTestEnvironment(new DisplayWithManager);
const auto* const desktop = testing::AddGlobalTestEnvironment(new DesktopApplication);

/// The one folder of data of this program and of those that it starts.
std::filesystem::path dataFolder() {
    constexpr const char* kVariable = "ZELVANE_TEST_DATA_HOME";
    static const TemporaryFolder own;
    setenv(kVariable, own.path.c_str(), 0);
    setenv("XDG_DATA_HOME", std::getenv(kVariable), 1);
    return std::getenv(kVariable);
}

ProbeEditor* editor() {
    void* library = dlopen(LV2_PROBE_EDITOR_BUNDLE "/editor.so", RTLD_NOW | RTLD_NOLOAD);
    if (library == nullptr) return nullptr;
    const auto find = reinterpret_cast<ProbeEditorFunction>(dlsym(library, "probeEditor"));
    dlclose(library);
    return find();
}

std::shared_ptr<AVAudioUnit> makeLv2Node(const Lv2Entry& entry) {
    Error error;
    auto instrument = Lv2Instrument::make(entry, error);
    EXPECT_NE(instrument, nullptr) << error.description;
    return makeNode(std::move(instrument), {.name = entry.name, .audioComponentDescription = {}});
}

std::shared_ptr<AVAudioUnit> makeProbe() {
    Lv2Entry entry = probeEntry();
    entry.bundles.emplace_back(LV2_PROBE_EDITOR_BUNDLE);
    return makeLv2Node(entry);
}

/// A unit's editor in the plug-in window, as the player has them, and what those who listen to the unit hear.
class EditorInWindow {
  public:
    explicit EditorInWindow(std::shared_ptr<AVAudioUnit> unit) : node(std::move(unit)) {
        AUListenerCreate(&hear, this, nullptr, Duration::zero(), _listener);
        AUListenerAddParameter(_listener, this, {node->audioUnit(), kGain, kAudioUnitScope_Global, 0});
        makeEditorProvider(loop)->requestViewController(*node, [this](const auto& made) { controller = made; });
        window.addSubview(controller->view());
        window.makeKeyAndOrderFront();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window.window()));
    }
    ~EditorInWindow() {
        AUListenerDispose(_listener);
        for (const auto& view : window.subviews()) window.removeSubview(*view);
    }

    QWidget& view() { return dynamic_cast<WidgetView&>(*controller->view()).widget(); }
    bool isNative() { return view().findChild<QWidget*>(QStringLiteral("nativeEditor")) != nullptr; }
    /// In the server's pixels.
    QSize size() { return view().size() * view().devicePixelRatioF(); }

    RunLoop loop;
    const std::shared_ptr<AVAudioUnit> node;
    std::shared_ptr<ViewController> controller;
    PluginWindowController window{{[] {}, [] {}}};
    std::vector<float> heard;  ///< edits of the gain

  private:
    static void hear(void* self, void*, const AudioUnitParameter&, float value) {
        static_cast<EditorInWindow*>(self)->heard.push_back(value);
    }
    AUParameterListenerRef _listener;
};

/// Has the unit run as an audio thread would.
class Rendering {
  public:
    explicit Rendering(AVAudioUnit& node) : _instrument(node.audioUnit()->instrument()) {}
    ~Rendering() {
        _isDone = true;
        _thread.join();
    }

  private:
    void render() {
        std::array<float, 256> left{}, right{};
        while (!_isDone) {
            _instrument.render({}, left.data(), right.data(), 256);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    Instrument& _instrument;
    std::atomic<bool> _isDone{false};
    std::thread _thread{[this] { render(); }};
};

class NativeEditors : public testing::Test {
  protected:
    NativeEditors() {
        std::filesystem::remove_all(dataFolder() / "Zelvane");
        wish("");
    }
    static void wish(const char* what) { setenv("PROBE_EDITOR", what, 1); }
    static float gain(EditorInWindow& shown) { return parameterOf(shown.node->audioUnit(), kGain); }

    LogLines log;
};

TEST_F(NativeEditors, OpenInOurWindowWithTheirOwnSizeAndKnowAllControls) {
    EditorInWindow shown(makeProbe());
    ASSERT_TRUE(shown.isNative());
    ASSERT_NE(editor(), nullptr);
    EXPECT_TRUE(eventually([&] { return shown.size() == QSize(320, 200); }));
    EXPECT_TRUE(eventually([&] { return shown.window.window().height() == shown.view().height() + 39; }));
    EXPECT_THAT(editor()->shown, Contains(Pair(4, 1.0F)));
    EXPECT_THAT(editor()->shown, Contains(Pair(8, 2.0F)));
    EXPECT_EQ(editor()->scaleFactor, shown.view().devicePixelRatioF());
    EXPECT_TRUE(eventually([&] { return editor()->timesIdle > 3; }));
    EXPECT_TRUE(shown.heard.empty()) << "what it wrote back was taken for an edit";
    editor()->resize(400, 300);
    EXPECT_TRUE(eventually([&] { return shown.size() == QSize(400, 300); }));
}

// Some never say it, and some count in pixels of their toolkit.
TEST_F(NativeEditors, HaveTheSizeThatTheyTakeHoweverTheyTellIt) {
    for (const auto& [kind, first, second] : {std::tuple("still", QSize(240, 160), QSize(300, 100)),
                                              std::tuple("toolkit", QSize(320, 200), QSize(400, 300))}) {
        wish(kind);
        EditorInWindow shown(makeProbe());
        EXPECT_TRUE(eventually([&, size = first] { return shown.size() == size; })) << kind;
        editor()->resize(second.width(), second.height());
        EXPECT_TRUE(eventually([&, size = second] { return shown.size() == size; })) << kind;
    }
}

TEST_F(NativeEditors, EditAsUsersDoAndShowWhatChangesElsewhere) {
    EditorInWindow shown(makeProbe());
    editor()->writeControl(kGain, 0.5F);
    EXPECT_EQ(gain(shown), 0.5F);
    EXPECT_THAT(shown.heard, ElementsAre(0.5F));
    editor()->shown.clear();
    AudioUnitSetParameter(shown.node->audioUnit(), kGain, 0, 0, 1.5F, 0);
    EXPECT_TRUE(eventually([&] { return !editor()->shown.empty(); }));
    EXPECT_THAT(editor()->shown, ElementsAre(Pair(4, 1.5F)));
    editor()->writeControl(kGain, 7);
    EXPECT_TRUE(eventually([&] { return editor()->shown.size() == 2; })) << "is shown more than there is";
    EXPECT_EQ(editor()->shown.back().second, 2);
    EXPECT_THAT(shown.heard, ElementsAre(0.5F, 2.0F));
}

TEST_F(NativeEditors, AreReachedByTheMouse) {
    EditorInWindow shown(makeProbe());
    const QPoint place = shown.view().mapToGlobal(QPoint(0, 0)) * shown.view().devicePixelRatioF() + QPoint(60, 20);
    ASSERT_TRUE(server().act({"mousemove", std::to_string(place.x()), std::to_string(place.y()), "click", "1"}));
    EXPECT_TRUE(eventually([&] { return !shown.heard.empty(); }));
    EXPECT_NEAR(gain(shown), 0.5F, 0.02F);
}

TEST_F(NativeEditors, SetPropertiesThatOthersHearOfAlsoWhenThePlugInChangesThemItself) {
    EditorInWindow shown(makeProbe());
    const Rendering rendering(*shown.node);
    EXPECT_TRUE(eventually([] { return !editor()->levels.empty(); })) << "it asked for them";
    std::atomic<int> timesTold = 0;
    const auto tell = [](void* count, AudioUnit*, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
        ++*static_cast<std::atomic<int>*>(count);
    };
    ASSERT_EQ(AudioUnitAddPropertyListener(shown.node->audioUnit(), kLevel, tell, &timesTold), kNoError);
    const auto level = [&] { return propertyOf<float>(shown.node->audioUnit(), kLevel); };
    editor()->writeLevel(0.75F);
    EXPECT_EQ(timesTold, 1);
    EXPECT_EQ(level(), 0.75F);
    EXPECT_TRUE(eventually([&] { return editor()->levels.back() == 0.75F; }));
    // It has a limit of its own.
    editor()->writeLevel(3);
    EXPECT_TRUE(eventually([&] { return timesTold == 3; }));
    EXPECT_EQ(level(), 1);
    EXPECT_TRUE(eventually([&] { return editor()->levels.back() == 1; }));
    EXPECT_EQ(AudioUnitRemovePropertyListenerWithUserData(shown.node->audioUnit(), kLevel, tell, &timesTold), kNoError);
}

TEST_F(NativeEditors, RestWhileNobodySeesThem) {
    EditorInWindow shown(makeProbe());
    EXPECT_TRUE(eventually([] { return editor()->timesIdle > 1; }));
    shown.window.orderOut();
    const int times = editor()->timesIdle;
    QTest::qWait(200);
    EXPECT_EQ(editor()->timesIdle, times);
    shown.window.makeKeyAndOrderFront();
    EXPECT_TRUE(eventually([&] { return editor()->timesIdle > times; }));
}

TEST_F(NativeEditors, AreOpenedAgainWhenTheyCloseThemselvesOrTheirInstrumentIsMadeAnew) {
    EditorInWindow shown(makeProbe());
    const int first = editor()->number;
    const auto isNumber = [&](int number) { return editor() != nullptr && editor()->number == number; };
    editor()->close();
    EXPECT_TRUE(eventually([&] { return isNumber(first + 1); }));
    const void* instance = editor()->instance;
    ASSERT_EQ(shown.node->audioUnit()->instrument().prepare(44100, 512), kNoError);
    EXPECT_TRUE(eventually([&] { return isNumber(first + 2); }));
    EXPECT_NE(editor()->instance, instance);
    EXPECT_TRUE(shown.isNative());
}

TEST_F(NativeEditors, HaveAStandInWhereTheyDoNotOpen) {
    wish("refuse");
    EditorInWindow shown(makeProbe());
    EXPECT_FALSE(shown.isNative());
    part<QSlider>(shown.view(), "slider-gain").setValue(0);
    EXPECT_EQ(gain(shown), 0);
    EXPECT_EQ(shown.view().findChild<QLabel*>(QStringLiteral("failureNote")), nullptr) << "nothing came down";
}

TEST_F(NativeEditors, AreNotOpenedAgainUnaskedAfterOneBroughtThePlayerDown) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    wish("crash");
    EXPECT_DEATH(EditorInWindow{makeProbe()}, "");
    wish("");
    {
        EditorInWindow shown(makeProbe());
        EXPECT_FALSE(shown.isNative());
        EXPECT_TRUE(part<QLabel>(shown.view(), "failureNote").isVisible());
    }
    EditorInWindow again(makeProbe());
    EXPECT_FALSE(again.isNative()) << "the next start has forgotten it";
    part<QPushButton>(again.view(), "tryAgain").click();
    EXPECT_TRUE(eventually([&] { return again.isNative(); }));
    EXPECT_TRUE(eventually([] { return !std::filesystem::exists(dataFolder() / "Zelvane/loading editor"); }));
}

TEST_F(NativeEditors, OfARealInstrumentOpenInSeveralUnits) {
    PluginWindowController window{{[] {}, [] {}}};
    RunLoop loop;
    const auto provider = makeEditorProvider(loop);
    std::vector<std::shared_ptr<ViewController>> controllers;
    for (int unit = 0; unit < 3; ++unit) {
        const auto node = makeLv2Node(installed("http://synthv1.sourceforge.net/lv2", "synthv1.lv2"));
        provider->requestViewController(*node, [&](const auto& made) { controllers.push_back(made); });
        for (const auto& view : window.subviews()) view->setHidden(true);
        window.addSubview(controllers.back()->view());
        window.makeKeyAndOrderFront();
        EXPECT_TRUE(eventually([&] { return controllers.back()->view()->width() > 400; }));
    }
    EXPECT_EQ(window.window().findChildren<QWidget*>(QStringLiteral("nativeEditor")).size(), 3);
    for (const auto& view : window.subviews()) window.removeSubview(*view);
}

}  // namespace
}  // namespace zelvane
