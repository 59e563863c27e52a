#include "Linux/Network/QtUrlSession.h"

#include "Platform/Error.h"

#include "Tests/Linux/Network/HttpsServer.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <QThread>

#include <cerrno>
#include <future>
#include <sys/stat.h>

namespace pellaro {
namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr UrlLimits generous{.wholeTime = 30s, .stallTime = {}, .size = 1 << 20};

class Web : public testing::Test {
protected:
    static void SetUpTestSuite() { s_server = std::make_unique<HttpsServer>(); }
    static void TearDownTestSuite() { s_server.reset(); }

    static std::unique_ptr<HttpsServer> s_server;
    TemporaryFolder folder;
    QtUrlSession session{s_server->authority()};
    const std::string file = folder.path("download");

    /// On a thread that Qt did not make, as the program asks.
    std::string get(const std::string &path, const UrlLimits &limits = generous, const std::string &server = "valid") {
        return inThread([&] { return session.data(s_server->url(path, server), limits); });
    }
    void download(const std::string &path, const UrlLimits &limits = generous) {
        (void)inThread([&] {
            session.download(s_server->url(path), file, limits);
            return std::string();
        });
    }
    template <typename Work> static std::string inThread(Work work) {
        std::packaged_task<std::string()> task(work);
        auto result = task.get_future();
        std::thread thread(std::move(task));
        thread.join();
        return result.get();
    }
    /// The error of the work.
    template <typename Work> static PlatformError errorOf(Work work) {
        try {
            work();
        } catch (const PlatformError &error) {
            EXPECT_NE(error.localizedDescription(), "");
            return error;
        }
        ADD_FAILURE() << "there was no error";
        return {"", 0, ""};
    }
};

std::unique_ptr<HttpsServer> Web::s_server;

TEST_F(Web, GivesTheBodyOfAnAnswer) {
    s_server->serve("version.json", "{\"build\": 2}");
    EXPECT_EQ(get("/version.json"), "{\"build\": 2}");
    EXPECT_EQ(get("/size/0"), "");
    EXPECT_EQ(get("/chunked/200000").size(), 200000u);
}

TEST_F(Web, GivesAnErrorPageLikeAnyOther) {
    EXPECT_EQ(get("/nothing"), "<html><body>404 Not Found</body></html>");
    for (const char *status : {"400", "401", "403", "405", "410", "418", "500", "502", "503"})
        EXPECT_EQ(get(std::string("/status/") + status), std::string("the page of ") + status);
}

TEST_F(Web, AsksForNothingFromACacheAndNothingPacked) {
    const std::string headers = get("/headers/");
    EXPECT_NE(headers.find("Accept-Encoding: identity\n"), std::string::npos) << headers;
    EXPECT_NE(headers.find("Cache-Control: no-cache\n"), std::string::npos) << headers;
    EXPECT_EQ(headers.find("Cookie"), std::string::npos) << headers;
}

TEST_F(Web, SpeaksToNobodyWithoutAValidCertificate) {
    for (const char *server : {"expired", "otherHost", "unknown"}) {
        const PlatformError error = errorOf([&] { (void)get("/size/5", generous, server); });
        EXPECT_EQ(error.domain(), urlErrorDomain) << server;
        EXPECT_NE(error.code(), 0) << server;
    }
}

TEST_F(Web, TrustsTheSystemsAuthoritiesAndNotTheTests) {
    QtUrlSession ordinary;
    const PlatformError error = errorOf([&] { (void)inThread([&] { return ordinary.data(s_server->url("/size/5"), generous); }); });
    EXPECT_EQ(error.domain(), urlErrorDomain);
}

TEST_F(Web, SpeaksNothingButHttps) {
    for (const std::string &url : {s_server->url("/size/5", "plain"), std::string("file:///etc/hostname"), std::string("ftp://127.0.0.1/"),
                                   std::string("data:text/plain,hello"), std::string("nonsense"), std::string("")}) {
        const PlatformError error = errorOf([&] { (void)inThread([&] { return session.data(url, generous); }); });
        EXPECT_EQ(error, posixError(EPROTONOSUPPORT)) << url;
    }
}

TEST_F(Web, FollowsARedirectToAnotherServer) {
    EXPECT_EQ(get("/to/" + s_server->url("/size/3")), "xxx");
    EXPECT_EQ(get("/to//size/4"), "xxxx");
}

TEST_F(Web, FollowsNoRedirectAwayFromHttps) {
    for (const std::string &target : {s_server->url("/size/5", "plain"), std::string("file:///etc/hostname")}) {
        const PlatformError error = errorOf([&] { (void)get("/to/" + target); });
        EXPECT_EQ(error.domain(), urlErrorDomain) << target;
    }
}

TEST_F(Web, FollowsNoRedirectToAnInvalidCertificate) {
    EXPECT_EQ(errorOf([&] { (void)get("/to/" + s_server->url("/size/5", "expired")); }).domain(), urlErrorDomain);
}

TEST_F(Web, DoesNotFollowRedirectsForEver) {
    EXPECT_EQ(errorOf([&] { (void)get("/loop/0"); }).domain(), urlErrorDomain);
}

TEST_F(Web, GivesUpWhenTheWholeAnswerTakesTooLong) {
    const UrlLimits limits{.wholeTime = 500ms, .stallTime = {}, .size = 1 << 20};
    for (const char *path : {"/silent/", "/stall/", "/trickle/0.05"}) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(errorOf([&] { (void)get(path, limits); }), posixError(ETIMEDOUT)) << path;
        EXPECT_GE(std::chrono::steady_clock::now() - begin, 500ms) << path;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s) << path;
    }
}

TEST_F(Web, GivesUpWhenAnAnswerStandsStill) {
    const UrlLimits limits{.wholeTime = {}, .stallTime = 500ms, .size = 1 << 20};
    for (const char *path : {"/silent/", "/stall/"})
        EXPECT_EQ(errorOf([&] { (void)get(path, limits); }), posixError(ETIMEDOUT)) << path;
}

TEST_F(Web, WaitsForASlowAnswerThatDoesNotStandStill) {
    EXPECT_EQ(get("/slowly/0.2", {.wholeTime = {}, .stallTime = 1500ms, .size = 1 << 20}), "xxxxxxxxxx");
}

TEST_F(Web, TakesNoMoreThanItsLimit) {
    const UrlLimits limits{.wholeTime = 30s, .stallTime = {}, .size = 100000};
    EXPECT_EQ(get("/size/100000", limits).size(), 100000u);
    EXPECT_EQ(get("/chunked/100000", limits).size(), 100000u);
    for (const char *path : {"/size/100001", "/chunked/100001", "/chunked/3000000"})
        EXPECT_EQ(errorOf([&] { (void)get(path, limits); }), posixError(EFBIG)) << path;
}

TEST_F(Web, TakesNoAnswerThatWasCutShort) {
    EXPECT_EQ(errorOf([&] { (void)get("/short/"); }).domain(), urlErrorDomain);
}

TEST_F(Web, SaysThatNobodyAnswers) {
    const PlatformError error = errorOf([&] { (void)inThread([&] { return session.data("https://127.0.0.1:1/", generous); }); });
    EXPECT_EQ(error.domain(), urlErrorDomain);
    EXPECT_EQ(error.localizedDescription(), "Connection refused");
}

TEST_F(Web, DownloadsIntoAFileOfTheUsersOwn) {
    download("/size/300000");
    EXPECT_EQ(readFile(file), std::string(300000, 'x'));
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(Web, LeavesNoFileOfADownloadThatFails) {
    EXPECT_EQ(errorOf([&] { download("/short/"); }).domain(), urlErrorDomain);
    EXPECT_EQ(errorOf([&] { download("/stall/", {.wholeTime = {}, .stallTime = 300ms, .size = 1 << 20}); }), posixError(ETIMEDOUT));
    EXPECT_EQ(errorOf([&] { download("/chunked/3000000"); }), posixError(EFBIG));
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{});
}

TEST_F(Web, WritesOverNoFile) {
    writeFile(file, "mine");
    EXPECT_EQ(errorOf([&] { download("/size/5"); }), posixError(EEXIST));
    EXPECT_EQ(readFile(file), "mine");
}

TEST_F(Web, SaysWhatTheDiskSays) {
    EXPECT_EQ(errorOf([&] {
                  (void)inThread([&] {
                      session.download(s_server->url("/size/100000"), "/dev/full", generous);
                      return std::string();
                  });
              }),
              posixError(EEXIST));
    EXPECT_EQ(errorOf([&] {
                  (void)inThread([&] {
                      session.download(s_server->url("/size/5"), folder.path("none/file"), generous);
                      return std::string();
                  });
              }),
              posixError(ENOENT));
}

TEST_F(Web, LetsGoOfEverythingWhenTheProgramQuits) {
    auto waiting = std::async(std::launch::async, [&] { return session.data(s_server->url("/silent/"), generous); });
    auto stalled = std::async(std::launch::async, [&] { session.download(s_server->url("/stall/"), file, generous); });
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(file) && std::filesystem::file_size(file) > 0; }));
    session.cancelAll();
    EXPECT_EQ(errorOf([&] { (void)waiting.get(); }), posixError(ECANCELED));
    EXPECT_EQ(errorOf([&] { stalled.get(); }), posixError(ECANCELED));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(errorOf([&] { (void)get("/size/5"); }), posixError(ECANCELED)) << "and nothing begins any more";
}

} // namespace
} // namespace pellaro
