#include "Linux/Qt/QtPasteboard.h"
#include "Linux/Qt/QtWorkspace.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Support/FakeSystem.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QUrl>

namespace pellaro::test {

namespace {

constexpr const char *fileManagerName = "org.freedesktop.FileManager1";

/// A file manager on the session bus that notes what it is asked.
class FileManagerService : public QDBusVirtualObject {
public:
    explicit FileManagerService(bool answers)
        : m_answers(answers), m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "file manager")) {
        m_bus.registerVirtualObject("/org/freedesktop/FileManager1", this);
        EXPECT_TRUE(m_bus.registerService(fileManagerName));
    }
    ~FileManagerService() override {
        m_bus.unregisterService(fileManagerName);
        m_bus.unregisterObject("/org/freedesktop/FileManager1");
        QDBusConnection::disconnectFromBus("file manager");
    }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override {
        shown = message.arguments().value(0).toStringList();
        member = message.member();
        if (m_answers)
            connection.send(message.createReply());
        return true;
    }

    QStringList shown;
    QString member;

private:
    const bool m_answers;
    QDBusConnection m_bus;
};

/// Programs of the desktop that note what they are called with.
class WorkspaceTest : public testing::Test {
protected:
    void SetUp() override {
        m_path = qgetenv("PATH");
        qputenv("PATH", programs().path().toUtf8() + ":" + m_path);
        QFile::remove(called());
        install("xdg-open");
    }
    void TearDown() override {
        qputenv("PATH", m_path);
        qunsetenv("XDG_CURRENT_DESKTOP");
    }
    // The same for all tests: Qt looks up the program that opens things once.
    static QTemporaryDir &programs() {
        static QTemporaryDir folder;
        return folder;
    }
    static QString called() { return programs().filePath("called"); }
    static void install(const QString &program) {
        QFile file(programs().filePath(program));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(("#!/bin/sh\necho \"${0##*/} $@\" > '" + called() + ".new'\nmv '" + called() + ".new' '" + called() + "'\n").toUtf8());
        file.close();
        ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }
    static QString whatWasCalled() {
        QFile file(called());
        return pumpUntil([] { return QFile::exists(called()); }) && file.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(file.readAll()).trimmed()
                   : QString();
    }
    QString makeFile(const QString &name) {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return file.fileName();
    }

    FakeSystemLog log;
    QtWorkspace workspace{log};
    QTemporaryDir m_folder;

private:
    QByteArray m_path;
};

} // namespace

TEST_F(WorkspaceTest, OpensAnAddressWithTheDesktopsProgram) {
    workspace.openUrl("https://example.org/guide?utm_source=app&x=1");
    EXPECT_EQ(whatWasCalled(), QString("xdg-open https://example.org/guide?utm_source=app&x=1"));
}

TEST_F(WorkspaceTest, OpensThePrivacySettingsOfTheDesktop) {
    install("gnome-control-center");
    qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    workspace.openUrl("x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture");
    EXPECT_EQ(whatWasCalled(), QString("gnome-control-center privacy"));
    EXPECT_TRUE(log.lines.events().empty());
}

TEST_F(WorkspaceTest, WritesALineWhereNoSettingsProgramIsKnown) {
    const std::string url = "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";
    workspace.openUrl(url);
    EXPECT_EQ(log.lines.events(), std::vector<std::string>{"[Pellaro] No program of this desktop for " + url});
    EXPECT_FALSE(QFile::exists(called()));
}

TEST_F(WorkspaceTest, WritesALineWhereTheSettingsProgramIsNotInstalled) {
    qputenv("XDG_CURRENT_DESKTOP", "X-Cinnamon");
    workspace.openUrl("x-apple.systempreferences:any");
    EXPECT_EQ(log.lines.events().size(), 1U);
}

TEST(PrivacySettings, AreThoseOfTheFirstDesktopThatIsKnown) {
    EXPECT_EQ(privacySettingsCommand("pop:GNOME"), (std::vector<std::string>{"gnome-control-center", "privacy"}));
    EXPECT_EQ(privacySettingsCommand("KDE"), (std::vector<std::string>{"systemsettings"}));
    EXPECT_TRUE(privacySettingsCommand("").empty());
    EXPECT_TRUE(privacySettingsCommand("IceWM:").empty());
}

TEST_F(WorkspaceTest, AsksTheFileManagerToShowTheFile) {
    FileManagerService fileManager(true);
    const QString path = makeFile("Clip ü #1.mp4");
    workspace.selectFile(path.toStdString(), "");
    ASSERT_TRUE(pumpUntil([&] { return !fileManager.shown.isEmpty(); }));
    EXPECT_EQ(fileManager.member, QString("ShowItems"));
    EXPECT_EQ(fileManager.shown, QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)});
    EXPECT_TRUE(fileManager.shown.first().endsWith("Clip%20%C3%BC%20%231.mp4"));
}

TEST_F(WorkspaceTest, OpensTheFolderWhereNoFileManagerIsOnTheBus) {
    workspace.selectFile(makeFile("clip.mp4").toStdString(), "");
    EXPECT_EQ(whatWasCalled(), QString("xdg-open " + QUrl::fromLocalFile(m_folder.path()).toString()));
}

TEST_F(WorkspaceTest, OpensTheFolderWhenTheFileIsGone) {
    FileManagerService fileManager(true);
    workspace.selectFile(m_folder.filePath("gone.mp4").toStdString(), "");
    EXPECT_EQ(whatWasCalled(), QString("xdg-open " + QUrl::fromLocalFile(m_folder.path()).toString()));
    EXPECT_TRUE(fileManager.shown.isEmpty());
}

TEST_F(WorkspaceTest, DoesNotWaitForAFileManagerThatDoesNotAnswer) {
    FileManagerService fileManager(false);
    QElapsedTimer timer;
    timer.start();
    workspace.selectFile(makeFile("clip.mp4").toStdString(), "");
    EXPECT_LT(timer.elapsed(), 1000);
    EXPECT_TRUE(pumpUntil([&] { return !fileManager.shown.isEmpty(); }));
    EXPECT_EQ(whatWasCalled(), QString("xdg-open " + QUrl::fromLocalFile(m_folder.path()).toString())) << "the folder, after all";
}

TEST(Pasteboard, HoldsTheTextThatOthersPaste) {
    QtPasteboard pasteboard;
    pasteboard.setString("Zeile 1\nZeile 2 – ü");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString("Zeile 1\nZeile 2 – ü"));
    pasteboard.clearContents();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString());
}

} // namespace pellaro::test
