#include "Linux/Qt/QtContentPicker.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/Qt/WindowChooserSupport.h"

#include <thread>

namespace pellaro::test {

namespace {

class Observer final : public ContentPickerObserver {
public:
    void contentPickerDidUpdate(const ContentFilter &chosen) override { note("update", &chosen); }
    void contentPickerDidCancel() override { note("cancel", nullptr); }
    void contentPickerStartDidFail(const PlatformError &error) override { note("fail " + error.localizedDescription(), nullptr); }

    [[nodiscard]] std::vector<std::string> heard() const {
        const std::lock_guard lock(m_mutex);
        return m_heard;
    }
    [[nodiscard]] std::vector<std::thread::id> threads() const {
        const std::lock_guard lock(m_mutex);
        return m_threads;
    }
    std::function<void()> onAnswer = [] {};
    std::optional<ContentFilter> filter; // main thread

private:
    void note(const std::string &what, const ContentFilter *chosen) {
        {
            const std::lock_guard lock(m_mutex);
            m_heard.push_back(what);
            m_threads.push_back(std::this_thread::get_id());
        }
        if (chosen)
            filter = *chosen;
        onAnswer();
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_heard;       // guarded by m_mutex
    std::vector<std::thread::id> m_threads; // guarded by m_mutex
};

using Heard = std::vector<std::string>;

class QtContentPickerTest : public testing::Test {
protected:
    QtContentPickerTest() {
        windows.set({namedWindow(11, "First"), namedWindow(12, "Second")});
        // As those who wait for a choice do: one answer, and the picker is put away.
        observer->onAnswer = [this] { picker->setActive(false); };
        picker->setActive(true);
        picker->add(observer);
    }

    void open() {
        picker->present();
        ASSERT_TRUE(pumpUntil([] { return openChooser() && openChooser()->isActiveWindow() && !listedTitles(*openChooser()).empty(); }));
    }

    FakeWindows windows;
    Desk desk;
    Robot robot;
    std::shared_ptr<Observer> observer = std::make_shared<Observer>();
    std::unique_ptr<QtContentPicker> picker = std::make_unique<QtContentPicker>(desk.mainThread, windows.opener(), english);
};

} // namespace

TEST_F(QtContentPickerTest, TellsTheChosenWindow) {
    open();
    robot.type(Robot::returnKey);
    ASSERT_TRUE(pumpUntil([this] { return observer->heard() == Heard{"update"}; }));
    EXPECT_EQ(observer->filter, (ContentFilter{ContentFilter::WindowContent{namedWindow(11, "First")}}));
    EXPECT_EQ(openChooser(), nullptr);
    EXPECT_TRUE(pumpUntil([this] { return windows.openGalleries() == 0; }));
}

TEST_F(QtContentPickerTest, TellsThatTheUserCancelled) {
    open();
    robot.type(Robot::escape);
    EXPECT_TRUE(pumpUntil([this] { return observer->heard() == Heard{"cancel"}; }));
    EXPECT_EQ(openChooser(), nullptr);
}

TEST_F(QtContentPickerTest, IsPresentedFromAnyThreadAndAnswersOnTheMainOne) {
    std::thread([this] { picker->present(); }).join();
    ASSERT_TRUE(pumpUntil([] { return openChooser() != nullptr; }));
    openChooser()->reject();
    EXPECT_EQ(observer->threads(), std::vector{std::this_thread::get_id()});
}

TEST_F(QtContentPickerTest, PresentingAnOpenOneBringsItToTheFrontAndAnswersOnce) {
    open();
    QWidget other;
    other.setGeometry(0, 0, 1280, 700);
    other.show();
    ASSERT_TRUE(pumpUntil([&] { return other.isActiveWindow(); }));
    const WindowChooser *first = openChooser();
    picker->present();
    ASSERT_TRUE(pumpUntil([&] { return openChooser()->isActiveWindow(); }));
    EXPECT_EQ(openChooser(), first);
    openChooser()->reject();
    EXPECT_EQ(observer->heard(), Heard{"cancel"});
}

TEST_F(QtContentPickerTest, OpensAgainAfterAnAnswer) {
    for (int round = 0; round < 3; ++round) {
        picker->setActive(true);
        open();
        openChooser()->reject();
    }
    EXPECT_EQ(observer->heard(), (Heard{"cancel", "cancel", "cancel"}));
}

TEST_F(QtContentPickerTest, IsClosedByMakingItInactive) {
    open();
    picker->setActive(false);
    EXPECT_EQ(openChooser(), nullptr);
    EXPECT_EQ(observer->heard(), Heard{"cancel"});
    picker->setActive(true);
    open();
    std::thread([this] { picker->setActive(false); }).join();
    EXPECT_TRUE(pumpUntil([] { return openChooser() == nullptr; }));
    EXPECT_EQ(observer->heard(), (Heard{"cancel", "cancel"}));
}

TEST_F(QtContentPickerTest, DoesNotStartWhileInactive) {
    picker->setActive(false);
    picker->present();
    EXPECT_TRUE(pumpUntil([this] { return observer->heard() == Heard{"fail The window picker is not active."}; }));
    EXPECT_EQ(openChooser(), nullptr);
}

TEST_F(QtContentPickerTest, SaysWhenThereIsNothingToChooseFrom) {
    picker = std::make_unique<QtContentPicker>(
        desk.mainThread, []() -> std::unique_ptr<WindowGallery> { throw PlatformError("X11ErrorDomain", 1, "no server"); }, english);
    picker->setActive(true);
    picker->add(observer);
    picker->present();
    EXPECT_TRUE(pumpUntil([this] { return observer->heard() == Heard{"fail no server"}; }));
    EXPECT_EQ(openChooser(), nullptr);
}

TEST_F(QtContentPickerTest, HoldsItsObserversWeakly) {
    open();
    const std::weak_ptr<Observer> watched = observer;
    observer.reset();
    EXPECT_TRUE(watched.expired());
    openChooser()->reject();
    EXPECT_EQ(openChooser(), nullptr);
}

TEST_F(QtContentPickerTest, CancelsWhenItGoes) {
    open();
    observer->onAnswer = [] {};
    picker.reset();
    EXPECT_EQ(observer->heard(), Heard{"cancel"});
    EXPECT_EQ(openChooser(), nullptr);
}

TEST_F(QtContentPickerTest, CancelsWhenTheProgramQuitsMeanwhile) {
    class Delegate final : public ApplicationDelegate {
    public:
        explicit Delegate(std::function<void()> launched) : m_launched(std::move(launched)) {}
        void applicationDidFinishLaunching() override { m_launched(); }
        void applicationWillTerminate() override {}

    private:
        const std::function<void()> m_launched;
    };
    const auto delegate = std::make_shared<Delegate>([this] {
        picker->present();
        desk.when([] { return openChooser() != nullptr; }, [this] { desk.application.terminate(); });
    });
    desk.application.setDelegate(delegate);
    desk.application.run();
    EXPECT_EQ(observer->heard(), Heard{"cancel"});
    EXPECT_EQ(openChooser(), nullptr);
    // Who asks after the end is not left waiting either.
    picker->present();
    EXPECT_EQ(observer->heard(), (Heard{"cancel", "cancel"}));
}

TEST_F(QtContentPickerTest, CancelsAPresentationThatTheMainThreadDidNotGetTo) {
    picker->present();
    desk.mainThread.end();
    EXPECT_EQ(observer->heard(), Heard{"cancel"});
}

} // namespace pellaro::test
