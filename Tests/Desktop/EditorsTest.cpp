// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SoundFontInstrument.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProperties.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"
#include "Platform/Audio/Units/AUListener.h"
#include "Platform/Desktop/Editors/EditorProvider.h"
#include "Platform/Desktop/Editors/GeneratedEditor.h"
#include "Platform/Desktop/Editors/SoundFontEditor.h"
#include "Platform/Desktop/Editors/ValueScale.h"
#include "Platform/Desktop/Editors/WidgetView.h"
#include "Tests/Desktop/EditorRig.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/PrivateDataFolder.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/TinySoundFont.h"
#include "Tests/Fakes/UnitAccess.h"

#include <gmock/gmock.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <fstream>
#include <thread>

namespace zelvane {
namespace {

using testing::ElementsAre;

const auto* const desktop = testing::AddGlobalTestEnvironment(new DesktopApplication);

const std::vector<UnitParameter> kFour{
    {.id = 3,
     .symbol = "cutoff",
     .name = "Cutoff",
     .unit = "Hz",
     .minimum = 20,
     .maximum = 20000,
     .defaultValue = 200,
     .isLogarithmic = true,
     .group = "Filter"},
    {.id = 4, .symbol = "voices", .name = "Voices", .minimum = 1, .maximum = 16, .defaultValue = 8, .isInteger = true},
    {.id = 9, .symbol = "glide", .name = "Glide", .isToggled = true},
    {.id = 11,
     .symbol = "wave",
     .name = "Wave",
     .maximum = 2,
     .valueNames = {{0, "Sine"}, {1, "Saw"}, {2, "Square"}},
     .group = "Filter"}};

/// A generated editor, and what those who listen to the unit hear of it.
class Generated : public testing::Test {
  public:
    ~Generated() override { AUListenerDispose(listener); }

  protected:
    Generated() {
        AUListenerCreate(&hear, this, nullptr, Duration::zero(), listener);
        for (const UnitParameter& parameter : kFour)
            AUListenerAddParameter(listener, this, {node->audioUnit(), parameter.id, kAudioUnitScope_Global, 0});
        editor.show();
    }

    static void hear(void* self, void*, const AudioUnitParameter& parameter, float value) {
        static_cast<Generated*>(self)->heard.emplace_back(parameter.mParameterID, value);
    }
    float value(AudioUnitParameterID id) { return parameterOf(node->audioUnit(), id); }
    void set(AudioUnitParameterID id, float value) { AudioUnitSetParameter(node->audioUnit(), id, 0, 0, value, 0); }

    std::shared_ptr<AVAudioUnit> node = makeNode(std::make_unique<ListedInstrument>(kFour));
    AUParameterListenerRef listener;
    std::vector<std::pair<AudioUnitParameterID, float>> heard;
    GeneratedEditor editor{node};
};

TEST_F(Generated, EditsAreAUsersEditsAndAreToldOnce) {
    part<QSlider>(editor, "slider-cutoff").setValue(500);
    EXPECT_NEAR(value(3), 632.5F, 1);
    EXPECT_NEAR(part<QDoubleSpinBox>(editor, "value-cutoff").value(), 632.5, 1);
    part<QDoubleSpinBox>(editor, "value-voices").setValue(5);
    part<QCheckBox>(editor, "switch-glide").click();
    QTest::keyClick(&part<QComboBox>(editor, "choice-wave"), Qt::Key_Down);
    ASSERT_EQ(heard.size(), 4U);
    EXPECT_THAT(std::vector(heard.begin() + 1, heard.end()),
                ElementsAre(std::pair(4U, 5.0F), std::pair(9U, 1.0F), std::pair(11U, 1.0F)));
    QTest::qWait(200);  // several looks for changes
    EXPECT_EQ(heard.size(), 4U) << "an edit came back";
}

TEST_F(Generated, FollowsWhatChangesElsewhereWithoutAnEdit) {
    std::thread([&] {
        set(3, 20000);
        set(4, 2);
        set(9, 1);
        set(11, 2);
    }).join();
    EXPECT_TRUE(eventually([&] { return part<QComboBox>(editor, "choice-wave").currentIndex() == 2; }));
    EXPECT_EQ(part<QSlider>(editor, "slider-cutoff").value(), 1000);
    EXPECT_EQ(part<QDoubleSpinBox>(editor, "value-voices").value(), 2);
    EXPECT_TRUE(part<QCheckBox>(editor, "switch-glide").isChecked());
    editor.hide();
    set(4, 7);
    EXPECT_EQ(part<QDoubleSpinBox>(editor, "value-voices").value(), 2) << "looks though nobody sees it";
    editor.show();
    EXPECT_EQ(part<QDoubleSpinBox>(editor, "value-voices").value(), 7);
    EXPECT_TRUE(heard.empty());
}

TEST_F(Generated, EachPartIsNamedForThoseWhoCannotSeeIt) {
    for (const char* name : {"slider-cutoff", "value-cutoff", "value-voices", "switch-glide", "choice-wave"}) {
        EXPECT_FALSE(part<QWidget>(editor, name).accessibleName().isEmpty()) << name;
        EXPECT_NE(part<QWidget>(editor, name).focusPolicy() & Qt::TabFocus, 0) << name;
    }
    EXPECT_EQ(part<QDoubleSpinBox>(editor, "value-cutoff").suffix().toStdString(), " Hz");
}

TEST(GeneratedEditors, AreQuickWithManyParametersAndFindThemByName) {
    std::vector<UnitParameter> many;
    for (unsigned i = 0; i < 300; ++i) {
        const std::string number = std::to_string(i);
        many.push_back({.id = i, .symbol = "p" + number, .name = "Partial " + number, .group = i % 2 ? "Odd" : "Even"});
    }
    GeneratedEditor editor(makeNode(std::make_unique<ListedInstrument>(many)));
    EXPECT_LT(editor.findChildren<QSlider*>().size(), 40) << "made before they can be seen";
    auto& filter = part<QLineEdit>(editor, "filter");
    filter.setText(QStringLiteral("ODD 29"));
    editor.show();
    ASSERT_TRUE(eventually([&] { return editor.findChildren<QSlider*>().size() == 300; }));
    const auto isShown = [&](const char* name) { return part<QSlider>(editor, name).isVisibleTo(&editor); };
    EXPECT_TRUE(isShown("slider-p29"));
    EXPECT_TRUE(isShown("slider-p291"));
    EXPECT_FALSE(isShown("slider-p28"));
    EXPECT_FALSE(isShown("slider-p292")) << "is not in that group";
    filter.clear();
    EXPECT_TRUE(isShown("slider-p292"));
}

TEST(ValueScale, LeadsThereAndBackForEveryKindOfParameter) {
    const UnitParameter kinds[] = {{.minimum = -1, .maximum = 3},
                                   {.minimum = 0.001F, .maximum = 10, .isLogarithmic = true},
                                   {.minimum = 0, .maximum = 5, .isLogarithmic = true},
                                   {.minimum = 1, .maximum = 128, .isInteger = true},
                                   {.minimum = 0, .maximum = 100'000, .isInteger = true}};
    for (const UnitParameter& parameter : kinds) {
        const ValueScale scale(parameter);
        EXPECT_EQ(scale.valueAt(0), parameter.minimum);
        EXPECT_EQ(scale.valueAt(scale.lastPosition()), parameter.maximum);
        for (int position = 0; position <= scale.lastPosition(); ++position)
            ASSERT_EQ(scale.positionOf(scale.valueAt(position)), position) << parameter.maximum;
    }
    const ValueScale still({.minimum = 2, .maximum = 2});
    EXPECT_EQ(still.valueAt(still.positionOf(2)), 2);
    EXPECT_EQ(ValueScale({.minimum = 0, .maximum = 1}).decimals(), 2);
    EXPECT_EQ(ValueScale({.minimum = 0, .maximum = 100}).decimals(), 1);
    EXPECT_EQ(ValueScale({.minimum = 0, .maximum = 20000}).decimals(), 0);
    EXPECT_EQ(ValueScale({.minimum = 0, .maximum = 0.01F}).decimals(), 4);
}

class SoundFont : public testing::Test {
  protected:
    SoundFont() {
        writeTinySoundFont(folder.path / "tiny.sf2");
        writeTinySoundFont(folder.path / "other.sf2");
        Error error;
        node = makeNode(std::make_unique<SoundFontInstrument>(SoundFontBank::load(folder.path / "tiny.sf2", error)),
                        {.name = "DLSMusicDevice", .audioComponentDescription = kSoundFontDescription});
        editor = std::make_unique<SoundFontEditor>(node);
        editor->show();
    }

    template <typename Value>
    Value property(AudioUnitPropertyID id) {
        return EditedUnit(node).property<Value>(id).value_or(Value{});
    }
    std::string bankName() { return part<QLabel>(*editor, "bankName").text().toStdString(); }

    LogLines log;
    TemporaryFolder folder;
    std::shared_ptr<AVAudioUnit> node;
    std::unique_ptr<SoundFontEditor> editor;
};

TEST_F(SoundFont, EachChannelsSoundIsChosenFromTheBank) {
    auto& melodic = part<QComboBox>(*editor, "channel-3");
    EXPECT_EQ(melodic.count(), 3);
    EXPECT_EQ(melodic.currentText().toStdString(), "1 Sine");
    EXPECT_EQ(part<QComboBox>(*editor, "channel-10").count(), 1) << "which plays drum kits";
    QTest::keyClick(&melodic, Qt::Key_End);
    EXPECT_EQ(property<std::int32_t>(kSoundFontProperty_FirstChannelPreset + 2), 128);
    EXPECT_EQ(property<std::int32_t>(kSoundFontProperty_FirstChannelPreset + 3), 0);
    EditedUnit(node).setProperty(kSoundFontProperty_FirstChannelPreset + 15, std::int32_t{1});
    EXPECT_TRUE(eventually([&] { return part<QComboBox>(*editor, "channel-16").currentIndex() == 1; }));
}

TEST_F(SoundFont, TheBankIsChosenInAPanelAndCanBeReset) {
    EXPECT_EQ(bankName(), "tiny.sf2");
    part<QPushButton>(*editor, "chooseBank").click();
    auto& panel = part<QFileDialog>(*editor, "bankPanel");
    EXPECT_TRUE(panel.isVisible());
    Q_EMIT panel.fileSelected(QString::fromStdString(folder.path / "other.sf2"));
    panel.close();
    EXPECT_EQ(bankName(), "other.sf2");
    part<QPushButton>(*editor, "resetBank").click();
    EXPECT_NE(bankName(), "other.sf2");
    EXPECT_GT(part<QComboBox>(*editor, "channel-1").count(), 100) << "no General MIDI bank";
}

TEST_F(SoundFont, AFileThatIsNoBankIsToldOfAndChangesNothing) {
    std::ofstream(folder.path / "text.sf2") << "text";
    editor->openBank(folder.path / "text.sf2");
    EXPECT_EQ(bankName(), "tiny.sf2");
    auto& alert = part<QMessageBox>(*editor, "bankAlert");
    EXPECT_EQ(alert.text().toStdString(), "Sorry, text.sf2 is not a sound bank.");
    EXPECT_TRUE(alert.isVisible());
    alert.accept();
}

TEST_F(SoundFont, QualityPolyphonyAndEffectsAreSet) {
    part<QDoubleSpinBox>(*editor, "value-render-quality").setValue(127);
    EXPECT_EQ(property<std::uint32_t>(kAudioUnitProperty_RenderQuality), 127U);
    auto& polyphony = part<QComboBox>(*editor, "choice-polyphony");
    EXPECT_EQ(polyphony.currentText().toStdString(), "64");
    QTest::keyClick(&polyphony, Qt::Key_End);
    EXPECT_EQ(property<std::int32_t>(kSoundFontProperty_Polyphony), 512);
    part<QCheckBox>(*editor, "switch-reverb-on").click();
    EXPECT_EQ(parameterOf(node->audioUnit(), static_cast<AudioUnitParameterID>(SoundFontParameter::reverbOn)), 1);
}

TEST(EditorProvider, MakesTheEditorWhenItIsFirstSeenAndEndsItBeforeItsUnit) {
    const PrivateDataFolder data;
    RunLoop mainLoop;
    mainLoop.attachToCurrentThread();
    const auto provider = makeEditorProvider(mainLoop);
    auto node = makeNode(std::make_unique<ListedInstrument>(kFour));
    std::shared_ptr<ViewController> controller;
    EXPECT_TRUE(provider->hasViewController(node->component()));
    // As the player thread does.
    std::thread([&] { provider->requestViewController(*node, [&](const auto& made) { controller = made; }); }).join();
    ASSERT_NE(controller, nullptr);
    std::shared_ptr<View> view = controller->view();
    EXPECT_EQ(view, controller->view());
    auto& widgetView = dynamic_cast<WidgetView&>(*view);
    const QPointer<QWidget> widget = &widgetView.widget();
    EXPECT_TRUE(widget->findChildren<QSlider*>().isEmpty()) << "made before it is seen";
    widgetView.load();
    EXPECT_EQ(widget->findChildren<QSlider*>().size(), 2);
    EXPECT_GE(view->width(), 400);

    const std::weak_ptr<AVAudioUnit> unit = node;
    node.reset();
    EXPECT_FALSE(unit.expired()) << "while its editor is there";
    // The engine lets go of both on any thread.
    view.reset();
    std::thread([&] { controller.reset(); }).join();
    EXPECT_NE(widget, nullptr) << "destroyed on another thread";
    mainLoop.runOnce();
    EXPECT_EQ(widget, nullptr);
    EXPECT_TRUE(unit.expired());
}

}  // namespace
}  // namespace zelvane
