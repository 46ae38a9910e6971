#include "Tests/Terminal/ExampleSnapshots.h"
#include "quorvik_overlay/Overlay.h"
#include "quorvik_overlay/Platform/DesktopWindow.h"
#include "quorvik_overlay/View/Placement.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QScrollBar>
#include <QTest>

namespace quorvik {

using namespace testing;

namespace {

/// The overlay on Qt's offscreen platform, with a pointer of its own.
class OverlayWindowTests : public ::testing::Test {
  protected:
    OverlayWindowTests() {
        overlay.window().pointer = [this] { return pointer; };
        overlay.now = [this] { return Moment{std::chrono::system_clock::now(), steadySeconds() + passed}; };
        overlay.perform = [this](const OverlayEffect& effect) {
            effects.push_back(effect);
            return true;
        };
    }

    void show(Snapshot snapshot) {
        overlay.take(std::make_shared<const Snapshot>(std::move(snapshot)));
        EXPECT_TRUE(QTest::qWaitFor([&] { return overlay.drawings() > drawn; }));
        settle();
        drawn = overlay.drawings();
    }
    void settle() {
        QTest::qWait(1);
        EXPECT_TRUE(QTest::qWaitFor([&] { return window.isSettled(); }));
    }

    /// Until the card has been in view, and its buttons are as they should be then.
    void see() {
        for (int round = 0; round < 2; ++round) {
            EXPECT_TRUE(QTest::qWaitFor([&] { return window.isCardSeen(); }))
                << window.card().page() << " shape " << static_cast<int>(window.shape())
                << window.isSettled();
            overlay.draw();
        }
    }

    /// Until it takes clicks.
    void read() {
        see();
        passed += 0.4;
    }

    void click(QWidget* widget) {
        ASSERT_NE(widget, nullptr);
        QTest::mouseClick(widget, Qt::LeftButton);
        settle();
    }
    void click(Press press) { click(window.card().button(press)); }

    std::string decision() {
        const auto taken = std::exchange(effects, {});
        return taken.empty() ? "" : taken[0].id + " " + taken[0].response.toJSON().dump();
    }

    /// What stands outside of the window, or over another part of it, by name.
    std::string misplaced() const {
        std::string text;
        std::vector<const QWidget*> parts;
        for (const QWidget* part : window.findChildren<const QWidget*>()) {
            if (!part->isVisible() || part->size().isEmpty()) continue;
            const bool isPart = qobject_cast<const QLabel*>(part) ||
                                qobject_cast<const QAbstractButton*>(part) ||
                                qobject_cast<const QLineEdit*>(part) || qobject_cast<const QTextEdit*>(part);
            if (!isPart || window.card().question().isAncestorOf(part))
                continue; // what is scrolled may be outside
            const QRect area(part->mapTo(&window, QPoint()), part->size());
            const std::string name =
                part->metaObject()->className() + std::string(" ") + part->accessibleName().toStdString();
            if (!window.rect().contains(area)) text += name + " is outside; ";
            for (const QWidget* other : parts)
                if (!other->isAncestorOf(part) &&
                    QRect(other->mapTo(&window, QPoint()), other->size()).intersects(area))
                    text += name + " is over another; ";
            parts.push_back(part);
        }
        return text;
    }

    QPoint pointer{5, 700};
    std::vector<OverlayEffect> effects;
    std::size_t drawn = 0;
    double passed = 0; ///< seconds that the overlay's clock is ahead
    /// Pixels below the last line of the card's text, when that is not to be scrolled.
    int emptyBelowText() const {
        const CardBody& body = window.card().body();
        if (!body.isVisible() || body.verticalScrollBar()->maximum() > 0) return 0;
        return body.viewport()->height() - static_cast<int>(body.document()->size().height());
    }

    Overlay overlay{{.secrets = RequestCard::credentials, .home = "/home/u"}};
    OverlayWindow& window = overlay.window();
};

Snapshot withCommand(const std::string& command) {
    Snapshot snapshot;
    snapshot.primary = itemOf(Source::claude, "s1", DisplayState::awaiting, 8,
                              [](SessionRecord& record) { record.title = "Fix the login bug"; });
    snapshot.requests = {requestOf("r1", "s1", "Bash", nlohmann::json{{"command", command}}.dump())};
    return snapshot;
}

Snapshot withQuestions() {
    Snapshot snapshot;
    const auto waiting = requestOf("q", "s1", "AskUserQuestion", "{}");
    waiting->request.questionsJSON = "[]";
    waiting->request.questions.emplace();
    for (const std::string name : {"One", "Two", "Three", "Four"})
        waiting->request.questions->push_back(
            {name + "?", "", {{"Yes & <b>no</b>", "a & b"}, {"Maybe", ""}}, name == "Four"});
    snapshot.requests = {waiting};
    return snapshot;
}

Snapshot withAlerts(int count) {
    Snapshot snapshot;
    for (int index = 0; index < count; ++index) {
        auto item = itemOf(Source::git, "a" + std::to_string(index), DisplayState::failed, index,
                           [&](SessionRecord& record) { record.title = "Deploy " + std::to_string(index); });
        if (!snapshot.primary)
            snapshot.primary = item;
        else if (snapshot.bubbles.size() < 3)
            snapshot.bubbles.push_back(item);
        else
            snapshot.overflow.push_back(item);
    }
    return snapshot;
}

Snapshot withHostileTexts() {
    Snapshot snapshot = exampleSnapshot();
    const std::string texts[] = {"<img src=x onerror=1>&amp;<h1>big</h1>", "שלום עולם هذا نص طويل جدا",
                                 "漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字", std::string(20'000, 'W')};
    std::size_t at = 0;
    const auto change = [&](SnapshotItem& item) {
        SessionRecord record = *item.record;
        record.title = texts[at++ % 4];
        record.summary = texts[at % 4];
        item.record = std::make_shared<const SessionRecord>(record);
    };
    change(*snapshot.primary);
    for (auto* list : {&snapshot.bubbles, &snapshot.overflow})
        for (SnapshotItem& item : *list)
            change(item);
    snapshot.requests = {
        requestOf("r1", "s1", texts[0], nlohmann::json{{texts[0], texts[1]}, {texts[2], texts[3]}}.dump())};
    return snapshot;
}

} // namespace

TEST_F(OverlayWindowTests, EverySnapshotHasItsShapeInTheMiddleOfTheTop) {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    std::string long_;
    for (int line = 0; line < 500; ++line)
        long_ += "echo " + std::to_string(line) + "\n";
    struct Row {
        const char* name;
        Snapshot snapshot;
        OverlayShape shape;
        const char* text; // of the pill's item and dots
        const char* card; // headline, note, grants, buttons
    };
    const Row rows[] = {
        {"none", {}, OverlayShape::pill, "– Quorvik is here; nothing is going on", ""},
        {"flood", withAlerts(40), OverlayShape::pill, "✗ GIT Deploy 0 0 s ✗GIT ✗GIT ✗GIT +36", ""},
        {"command", withCommand("git push --force origin main"), OverlayShape::card,
         "? CC Fix the login bug 8 s",
         "Claude Code asks to run Bash in ~/work/app|Allow|Deny…|In its terminal"},
        {"long command", withCommand(long_), OverlayShape::card, "? CC Fix the login bug 8 s",
         "Claude Code asks to run Bash in ~/work/app|read all of it first: scroll|(Allow)|Deny…|In "
         "its "
         "terminal"},
        {"questions", withQuestions(), OverlayShape::card, "? CC AskUserQuestion",
         "Claude Code asks you some questions in ~/work/app|(Next)|Deny…|In its terminal"},
        {"hostile", withHostileTexts(), OverlayShape::card, nullptr, nullptr},
        {"none again", {}, OverlayShape::pill, "– Quorvik is here; nothing is going on", ""},
    };
    for (const auto& [name, snapshot, shape, text, card] : rows) {
        Snapshot dated = snapshot;
        if (dated.primary) { // as old by the real clock
            SessionRecord record = *dated.primary->record;
            record.stateSince = std::chrono::system_clock::now() - (exampleNow - record.stateSince);
            dated.primary->record = std::make_shared<const SessionRecord>(record);
        }
        show(std::move(dated));
        const auto cardText = [&] { return window.card().shownTexts().join('|').toStdString(); };
        // What has been in view changes what may be pressed.
        if (card && *card) {
            EXPECT_TRUE(QTest::qWaitFor([&] { return cardText() == card; })) << name << ": " << cardText();
        }
        EXPECT_EQ(window.shape(), shape) << name;
        EXPECT_EQ(misplaced(), "") << name;
        EXPECT_LE(emptyBelowText(), 16) << name;
        const QRect area = window.geometry();
        EXPECT_TRUE(screen.contains(area)) << name;
        EXPECT_EQ(area.top(), screen.top()) << name;
        EXPECT_LE(std::abs(area.center().x() - screen.center().x()), 1) << name;
        EXPECT_LE(area.height(), screen.height() * 3 / 4) << name;
        if (text) {
            EXPECT_EQ(window.pill().shownText().toStdString(), text) << name;
        }
        for (const QLabel* label : window.findChildren<const QLabel*>())
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << name;
        for (const QAbstractButton* button : window.findChildren<const QAbstractButton*>())
            EXPECT_FALSE(button->isVisible() && button->accessibleName().isEmpty()) << name;
    }
}

TEST_F(OverlayWindowTests, TheListHasAllThatFits) {
    show(withAlerts(40));
    pointer = window.geometry().center();
    emit window.pointerMoved();
    settle();
    ASSERT_EQ(window.shape(), OverlayShape::list);
    const QStringList texts = window.list().shownTexts();
    EXPECT_EQ(texts.back().toStdString(), std::to_string(40 - (texts.size() - 1)) + " more");
    EXPECT_EQ(misplaced(), "");
    QTest::mouseClick(window.list().findChildren<ItemButton*>()[1], Qt::LeftButton);
    EXPECT_EQ(effects.at(0).id, "git-a1");
    pointer = {5, 700};
    emit window.pointerMoved();
    settle();
    EXPECT_EQ(window.shape(), OverlayShape::pill);
}

TEST_F(OverlayWindowTests, ClicksCountOnceACardHasBeenInView) {
    show(withCommand("git push"));
    see();
    click(Press::allow);
    EXPECT_EQ(decision(), "") << "in the first third of a second";
    read();
    click(Press::allow);
    EXPECT_EQ(decision(), R"(r1 {"decision":"allow"})");
    EXPECT_EQ(window.card().button(Press::allow), nullptr);
    show({});
    EXPECT_EQ(window.shape(), OverlayShape::pill) << "withdrawn: gone at once";

    std::string lines;
    for (int line = 0; line < 300; ++line)
        lines += "echo\n";
    show(withCommand(lines));
    read();
    EXPECT_FALSE(window.card().button(Press::allow)->isEnabled());
    QScrollBar* bar = window.card().body().verticalScrollBar();
    for (int value = 0; value < bar->maximum(); value += window.card().body().viewport()->height() / 2) {
        bar->setValue(value);
        QTest::qWait(2);
    }
    bar->setValue(bar->maximum());
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.card().button(Press::allow)->isEnabled(); }));
    read();
    click(Press::deny);
    read();
    QTest::keyClicks(&window.card().field(), "not now");
    QTest::keyClick(&window.card().field(), Qt::Key_Return);
    EXPECT_EQ(decision(), R"(r1 {"decision":"deny","message":"not now"})");
}

TEST_F(OverlayWindowTests, WhatWasMeantForAnotherCardAnswersNothing) {
    Snapshot both = exampleSnapshot();
    show(both);
    read();
    QTest::keyClick(&window, Qt::Key_D);
    settle();
    read();
    QTest::keyClicks(&window, "not as a matter");
    EXPECT_EQ(decision(), "") << "typed beside the field";
    EXPECT_EQ(window.card().button(Press::nextRequest), nullptr);
    QTest::keyClick(&window, Qt::Key_Escape);

    QTest::keyClicks(&window, "nn"); // there and back, faster than the window grows
    settle();
    read();
    QKeyEvent held(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a", true);
    QCoreApplication::sendEvent(&window, &held);
    EXPECT_EQ(decision(), "") << "a key that is held down";
    QTest::keyClick(&window, Qt::Key_A);
    EXPECT_EQ(decision(), R"(r1 {"decision":"allow"})");

    both.requests.erase(both.requests.begin());
    both.requests.push_back(requestOf("r3", "s1", "Bash", R"({"command":"ls"})"));
    show(both);
    read();
    both.requests.pop_back();
    overlay.take(std::make_shared<const Snapshot>(both));
    overlay.draw(); // one button less: the others are elsewhere
    QTest::mouseClick(window.card().button(Press::allow), Qt::LeftButton);
    EXPECT_EQ(decision(), "");
    read();
    click(Press::allow);
    EXPECT_EQ(decision(), R"(r2 {"decision":"allow"})");
}

TEST_F(OverlayWindowTests, NothingOpensUnderThePointer) {
    show(withAlerts(1));
    pointer = {QGuiApplication::primaryScreen()->geometry().center().x(), 60};
    show(withCommand("ls"));
    EXPECT_EQ(window.shape(), OverlayShape::pill);
    EXPECT_LT(window.height(), 60);
    pointer = {5, 700};
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.shape() == OverlayShape::card; }));
}

TEST_F(OverlayWindowTests, QuestionsAreAnsweredByClicksAndKeys) {
    show(withQuestions());
    read();
    ASSERT_EQ(window.card().question().options().size(), 2U);
    click(window.card().question().options()[1]);
    click(Press::confirm);
    read();
    QTest::keyClick(&window, Qt::Key_1);
    QTest::keyClick(&window, Qt::Key_Return);
    read();
    QTest::keyClicks(&window.card().field(), "mine");
    QTest::keyClick(&window.card().field(), Qt::Key_Return);
    read();
    QTest::keyClick(&window, Qt::Key_1);
    QTest::keyClick(&window, Qt::Key_2);
    QTest::keyClick(&window, Qt::Key_Return);
    EXPECT_EQ(
        decision(),
        R"(q {"answers":["Maybe","Yes & <b>no</b>","mine","Yes & <b>no</b>, Maybe"],"decision":"allow"})");
    QTest::keyClick(&window, Qt::Key_Escape);
    settle();
    EXPECT_EQ(window.shape(), OverlayShape::pill);
}

TEST_F(OverlayWindowTests, AThousandStatesASecondAreMerged) {
    const auto start = std::chrono::steady_clock::now();
    const std::size_t before = overlay.drawings();
    for (int index = 0; index < 1000; ++index) {
        overlay.take(std::make_shared<const Snapshot>(withAlerts(1 + index % 5)));
        QCoreApplication::processEvents();
    }
    QTest::qWait(50);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LE(static_cast<double>(overlay.drawings() - before), 40 * seconds + 2);
    EXPECT_EQ(window.pill().shownText().count("GIT"), 4) << "the newest state is what is shown";
}

TEST_F(OverlayWindowTests, TextsStandOutFromWhatIsBehindThem) {
    const auto luminance = [](const QColor& colour) {
        const auto linear = [](double part) {
            return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
               0.0722 * linear(colour.blueF());
    };
    for (const Theme* theme : {&Theme::light(), &Theme::dark()}) {
        std::vector<QColor> texts = {theme->text, theme->faint, theme->added, theme->removed, theme->hidden};
        texts.insert(texts.end(), theme->tones.begin(), theme->tones.end());
        for (const QColor& behind : {theme->background, theme->raised})
            for (const QColor& text : texts) {
                const double one = luminance(behind) + 0.05, other = luminance(text) + 0.05;
                EXPECT_GE(std::max(one, other) / std::min(one, other), 4.5)
                    << text.name().toStdString() << " on " << behind.name().toStdString();
            }
    }
}

TEST_F(OverlayWindowTests, ShapesChangeAtOnceWhereMotionIsOff) {
    const auto changesAtOnce = [&](Snapshot snapshot) {
        overlay.take(std::make_shared<const Snapshot>(std::move(snapshot)));
        overlay.draw();
        return window.isSettled();
    };
    show(withAlerts(1));
    EXPECT_FALSE(changesAtOnce(withCommand("ls")));
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.isSettled(); }, 1000));
    Snapshot still = withAlerts(1);
    still.settings.motion = false;
    EXPECT_TRUE(changesAtOnce(std::move(still)));
}

TEST_F(OverlayWindowTests, TheTrayTellsAndOffers) {
    TrayIcon tray;
    std::string wanted;
    QObject::connect(&tray, &TrayIcon::pauseWanted,
                     [&](bool pause) { wanted += pause ? "pause " : "resume "; });
    QObject::connect(&tray, &TrayIcon::quitWanted, [&] { wanted += "quit "; });
    for (const auto& [count, connected, paused, texts] :
         {std::tuple(0, true, false, "nothing waits for you|Pause alerts for an hour"),
          std::tuple(1, true, true, "1 needs you|Resume alerts"),
          std::tuple(12, true, false, "12 need you|Pause alerts for an hour"),
          std::tuple(3, false, false, "not connected|Pause alerts for an hour")}) {
        tray.show(static_cast<std::size_t>(count), connected, paused);
        const auto actions = tray.menu().actions();
        EXPECT_EQ((actions[0]->text() + "|" + actions[3]->text()).toStdString(),
                  std::string("Quorvik: ") + texts);
        EXPECT_EQ(actions[3]->isEnabled(), connected);
        actions[3]->trigger();
    }
    tray.menu().actions().back()->trigger();
    EXPECT_EQ(wanted, "pause resume pause quit ");
}

TEST(PlatformTests, ThePluginIsChosenByTheDesktop) {
    if (QSysInfo::kernelType() != "linux") GTEST_SKIP() << "there is one desktop only";
    struct Row {
        const char *chosen, *display, *wayland;
        std::string plugin, why;
        const char* sway = "";
        std::string drawback = {};
    };
    for (const auto& [chosen, display, wayland, plugin, why, sway, drawback] :
         {Row{"", ":0", "", "xcb", "X11"}, Row{"", ":0", "wayland-0", "xcb", "XWayland"},
          Row{"", "", "wayland-0", "-", "needs XWayland"}, Row{"", "", "", "-", "no desktop"},
          Row{"offscreen", "", "", "", "$QT_QPA_PLATFORM"},
          Row{"wayland", ":0", "wayland-0", "xcb", "XWayland", "/run/sway",
              "Sway puts windows of XWayland into the middle of the screen: the top needs a build with "
              "LayerShellQt"}}) {
        for (const auto& [name, value] :
             {std::pair("QT_QPA_PLATFORM", chosen), std::pair("DISPLAY", display),
              std::pair("WAYLAND_DISPLAY", wayland), std::pair("XDG_CURRENT_DESKTOP", "GNOME"),
              std::pair("SWAYSOCK", sway)})
            qputenv(name, value);
        const Platform::PluginChoice choice = Platform::choosePlugin();
        EXPECT_EQ(choice.isPossible ? choice.plugin : "-", plugin);
        EXPECT_NE(choice.why.find(why), std::string::npos) << choice.why;
        EXPECT_EQ(choice.drawback, drawback);
    }
}

TEST(PlacementTests, AtTheTopInTheMiddle) {
    struct Row {
        QSize size;
        QRect available, placed;
    };
    for (const auto& [size, available, placed] :
         {Row{{200, 30}, {0, 25, 1000, 700}, {400, 25, 200, 30}},
          Row{{200, 30}, {-1000, -40, 1000, 700}, {-600, -40, 200, 30}}, // another screen
          Row{{2000, 900}, {10, 0, 320, 200}, {10, 0, 320, 200}}})
        EXPECT_EQ(Placement::at(size, available), placed);
}

} // namespace quorvik

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
