// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/PluginWindowController/PluginWindowController.h"
#include "Tests/Desktop/EditorRig.h"

#include <gmock/gmock.h>

#include <QComboBox>
#include <QPushButton>
#include <QTest>

namespace zelvane {
namespace {

using testing::SizeIs;

const auto* const desktop = testing::AddGlobalTestEnvironment(new DesktopApplication);

class PluginWindows : public testing::Test, public PluginWindowDelegate {
  protected:
    bool windowShouldClose() override {
        ++timesAsked;
        return mayClose;
    }

    /// An editor of that size, which is of fixed size or can take any.
    std::shared_ptr<WidgetView> makeView(int width, int height, bool isFixed) {
        return std::make_shared<WidgetView>(QSize(50, 60), [=, this](WidgetView& view) {
            ++timesMade;
            auto editor = std::make_unique<QWidget>(&view.widget());
            editor->setMinimumSize(width, height);
            if (isFixed) editor->setFixedSize(width, height);
            return editor;
        });
    }

    QWidget& window() { return controller.window(); }

    int timesAsked = 0, timesMade = 0, timesChanged = 0, timesSent = 0;
    bool mayClose = true;
    PluginWindowController controller{{[this] { ++timesChanged; }, [this] { ++timesSent; }}};
};

TEST_F(PluginWindows, TakesTheSizeOfItsEditorWhichIsMadeWhenItIsSeen) {
    const auto view = makeView(300, 200, true);
    controller.addSubview(view);
    EXPECT_EQ(timesMade, 0);
    EXPECT_EQ(window().size(), QSize(50, 60 + 39).expandedTo(window().minimumSize()));
    controller.makeKeyAndOrderFront();
    EXPECT_EQ(timesMade, 1);
    EXPECT_TRUE(view->widget().isVisible());
    EXPECT_EQ(window().size(), QSize(300, 200 + 39));
    EXPECT_EQ(view->widget().mapTo(&window(), QPoint()), QPoint(0, 39));
    EXPECT_EQ(window().maximumSize(), QSize(300, 200 + 39)) << "the editor has one size";
}

TEST_F(PluginWindows, GivesASizeThatIsChosenOnToTheEditorAndFollowsOneThatChangesItself) {
    const auto view = makeView(300, 200, false);
    controller.addSubview(view);
    controller.makeKeyAndOrderFront();
    window().resize(500, 400);
    EXPECT_TRUE(eventually([&] { return view->width() == 500 && view->height() == 400 - 39; }));
    view->widget().resize(350, 250);
    EXPECT_TRUE(eventually([&] { return window().size() == QSize(350, 250 + 39); }));
}

TEST_F(PluginWindows, ShowsOneOfSeveralEditors) {
    const auto first = makeView(300, 200, true), second = makeView(400, 100, true);
    controller.addSubview(first);
    controller.makeKeyAndOrderFront();
    first->setHidden(true);
    controller.setContentSize(second->width(), second->height() + 39);
    controller.addSubview(second);
    EXPECT_TRUE(eventually([&] { return window().size() == QSize(400, 100 + 39); }));
    EXPECT_FALSE(first->widget().isVisible());
    EXPECT_TRUE(second->widget().isVisible());
    EXPECT_THAT(controller.subviews(), SizeIs(2));
    controller.removeSubview(*second);
    EXPECT_EQ(second->widget().parentWidget(), nullptr);
    EXPECT_FALSE(second->widget().isVisible()) << "as a window of its own";
}

TEST_F(PluginWindows, OnlyTheUsersChoiceIsTold) {
    auto& popUp = part<QComboBox>(window(), "popUpButton");
    EXPECT_EQ(popUp.count(), 10);
    controller.selectItemAtIndex(4);
    EXPECT_EQ(timesChanged, 0);
    QTest::keyClick(&popUp, Qt::Key_Down);
    EXPECT_EQ(timesChanged, 1);
    EXPECT_EQ(controller.indexOfSelectedItem(), 5);
    part<QPushButton>(window(), "sendMicroTuningsButton").click();
    EXPECT_EQ(timesSent, 1);
}

TEST_F(PluginWindows, AsksItsDelegateBeforeItCloses) {
    controller.setDelegate(this);
    controller.makeKeyAndOrderFront();
    mayClose = false;
    EXPECT_FALSE(window().close());
    EXPECT_TRUE(window().isVisible());
    mayClose = true;
    EXPECT_TRUE(window().close());
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(timesAsked, 2);
    controller.makeKeyAndOrderFront();
    controller.orderOut();
    EXPECT_FALSE(window().isVisible());
    EXPECT_EQ(timesAsked, 2) << "it was not the user who closed it";
}

}  // namespace
}  // namespace zelvane
