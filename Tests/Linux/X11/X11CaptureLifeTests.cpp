#include "CaptureFixture.h"

#include "Linux/X11/X11Connection.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <mutex>

namespace pellaro::test {
namespace {

class X11CaptureLife : public CaptureFixture {
protected:
    using CaptureFixture::CaptureFixture;

    void expectStartFails(CaptureStream &stream, const char *domain, int code) {
        try {
            stream.startCapture();
            FAIL() << "no error";
        } catch (const PlatformError &error) {
            EXPECT_EQ(error.domain(), domain) << error.localizedDescription();
            EXPECT_EQ(error.code(), code) << error.localizedDescription();
            EXPECT_FALSE(error.localizedDescription().empty());
        }
    }
};

std::ptrdiff_t descriptorCount(const std::string &process) {
    const std::filesystem::directory_iterator entries("/proc/" + process + "/fd");
    return std::distance(begin(entries), end(entries));
}

/// Pictures that the server has mapped.
std::ptrdiff_t sharedPictures(pid_t process) {
    std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find("pellaro-picture") != std::string::npos ? 1 : 0;
    return count;
}

TEST_F(X11CaptureLife, ManyStreamsLeaveNothingBehind) {
    const std::string own = std::to_string(getpid());
    const std::string servers = std::to_string(server.processID());
    const std::ptrdiff_t before = descriptorCount(own);
    const std::ptrdiff_t serverBefore = descriptorCount(servers);
    for (int round = 0; round < 50; ++round) {
        sink = std::make_shared<FrameSink>();
        const auto stream = startStream(configuration(round % 2 == 0 ? 320 : 200, 240));
        EXPECT_GT(sharedPictures(server.processID()), 0);
        stream->stopCapture();
    }
    EXPECT_EQ(descriptorCount(own), before);
    EXPECT_TRUE(waitFor([&] { return descriptorCount(servers) == serverBefore; }));
    EXPECT_TRUE(waitFor([&] { return sharedPictures(server.processID()) == 0; }));
}

TEST_F(X11CaptureLife, ChangesOfSizeLeaveNoPicturesAtTheServer) {
    ASSERT_TRUE(painter->turnOutputOff());
    const auto stream = startStream(configuration());
    const std::ptrdiff_t direct = sharedPictures(server.processID());
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(painter->resizeRoot(200, 200));
        const std::size_t seen = sink->count();
        painter->fill({0, 0, 200, 200}, 0x010101u * static_cast<std::uint32_t>(round + 1));
        ASSERT_TRUE(showsColor({60, 20, 200, 200}, 0x010101u * static_cast<std::uint32_t>(round + 1)));
        EXPECT_GT(sink->count(), seen);
        ASSERT_TRUE(painter->resizeRoot(320, 240));
        painter->fill({0, 0, 320, 240}, 0x7f0000);
        ASSERT_TRUE(showsColor({0, 0, 320, 240}, 0x7f0000));
    }
    EXPECT_EQ(sharedPictures(server.processID()), direct);
}

TEST_F(X11CaptureLife, StartsAgainAfterAStop) {
    const auto stream = startStream(configuration());
    const std::uint64_t series = sink->last()->series;
    for (int round = 0; round < 3; ++round) {
        stream->stopCapture();
        queue->sync([] {});
        const std::size_t seen = sink->count();
        stream->startCapture();
        ASSERT_TRUE(waitFor([&] { return sink->count() > seen; }));
    }
    EXPECT_NE(sink->last()->series, series);
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureLife, DoesNotStartTwice) {
    const auto stream = startStream(configuration());
    expectStartFails(*stream, captureServiceErrorDomain, static_cast<int>(X11CaptureErrorCode::alreadyRunning));
}

TEST_F(X11CaptureLife, MayBeLetGoWhileFramesAreHeld) {
    sink->setHeldFrames(10);
    startStream(configuration()).reset();
    server.kill();
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 320, 240}, 0));
    sink->setHeldFrames(0);
}

TEST_F(X11CaptureLife, AServerThatDiesWhileThePictureMovesIsReported) {
    const auto stream = startStream(configuration());
    std::uint32_t color = 0;
    ASSERT_TRUE(waitFor([&] {
        painter->fill({0, 0, 320, 240}, ++color);
        return sink->count() > 5;
    }));
    painter.reset();
    server.kill();
    EXPECT_TRUE(waitFor([&] { return lostConnections == 1; }));
    stream->stopCapture();
}

TEST_F(X11CaptureLife, DoesNotStartWithoutAServer) {
    ContentFilter filter;
    filter.content = ContentFilter::DisplayContent{{displayIdentifier("screen"), 320, 240}, {}};
    const auto stream = X11CaptureStreamFactory({"/nonexistent/socket", 1, clock, {}}).create(filter, configuration());
    expectStartFails(*stream, x11ErrorDomain, static_cast<int>(X11ErrorCode::cannotConnect));
}

TEST_F(X11CaptureLife, AServerThatDiesWhileNothingMovesIsReported) {
    const auto stream = startStream(configuration());
    painter.reset();
    server.kill();
    EXPECT_TRUE(waitFor([&] { return lostConnections == 1; }));
}

TEST_F(X11CaptureLife, TheReportOfALostServerMayLetTheStreamGo) {
    const auto released = std::make_shared<std::promise<void>>(); // the last thing that the callback touches
    std::mutex mutex;
    std::shared_ptr<CaptureStream> stream; // guarded by mutex
    ContentFilter filter;
    filter.content = ContentFilter::DisplayContent{{displayIdentifier("screen"), 320, 240}, {}};
    X11CaptureStreamFactory factory({server.displayName(), 1, clock, [&, released] {
                                         {
                                             const std::lock_guard lock(mutex);
                                             stream.reset();
                                         }
                                         released->set_value();
                                     }});
    {
        const std::lock_guard lock(mutex);
        stream = factory.create(filter, configuration());
        stream->startCapture();
    }
    painter.reset();
    server.kill();
    EXPECT_EQ(released->get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST_F(X11CaptureLife, SaysThatAWindowIsNotThere) {
    ContentFilter filter;
    filter.content = ContentFilter::WindowContent{};
    const auto stream = X11CaptureStreamFactory({server.displayName(), 1, clock, {}}).create(filter, configuration());
    expectStartFails(*stream, captureServiceErrorDomain, static_cast<int>(X11CaptureErrorCode::windowUnavailable));
}

TEST_F(X11CaptureLife, RefusesOutputsItCannotServe) {
    const auto stream = makeStream(configuration());
    for (const auto type : {StreamOutputType::audio, StreamOutputType::microphone}) {
        try {
            stream->addStreamOutput(sink, type, queue);
            FAIL() << "no error";
        } catch (const PlatformError &error) {
            EXPECT_EQ(error.domain(), captureServiceErrorDomain);
        }
    }
    EXPECT_THROW(stream->removeStreamOutput(sink, StreamOutputType::screen), PlatformError);
}

TEST_F(X11CaptureLife, RefusesSizesAndFormatsItCannotMake) {
    const int code = static_cast<int>(X11CaptureErrorCode::invalidArgument);
    for (const auto &[width, height] : {std::pair(0, 240), std::pair(320, -1), std::pair(320, 100000)})
        expectStartFails(*makeStream(configuration(width, height)), captureServiceErrorDomain, code);
    StreamConfiguration other = configuration();
    other.pixelFormat = 0;
    expectStartFails(*makeStream(other), captureServiceErrorDomain, code);
}

class X11CaptureWithoutDamage : public X11CaptureLife {
protected:
    X11CaptureWithoutDamage() : X11CaptureLife(XvfbServer::Options{320, 240, 24, {"-extension", "DAMAGE"}}) {}
};

TEST_F(X11CaptureWithoutDamage, DoesNotStart) {
    expectStartFails(*makeStream(configuration()), x11ErrorDomain, static_cast<int>(X11ErrorCode::missingExtension));
}

class X11CaptureWithoutXFixes : public X11CaptureLife {
protected:
    X11CaptureWithoutXFixes() : X11CaptureLife(XvfbServer::Options{320, 240, 24, {"-extension", "XFIXES"}}) {}
};

TEST_F(X11CaptureWithoutXFixes, DoesNotStart) {
    expectStartFails(*makeStream(configuration()), x11ErrorDomain, static_cast<int>(X11ErrorCode::missingExtension));
}

class X11CaptureIn16Bits : public X11CaptureLife {
protected:
    X11CaptureIn16Bits() : X11CaptureLife(XvfbServer::Options{320, 240, 16, {}}) {}
};

TEST_F(X11CaptureIn16Bits, DoesNotStart) {
    expectStartFails(*makeStream(configuration()), x11ErrorDomain, static_cast<int>(X11ErrorCode::unsupportedPixels));
}

class X11CaptureWithoutRandR : public X11CaptureLife {
protected:
    X11CaptureWithoutRandR() : X11CaptureLife(XvfbServer::Options{320, 240, 24, {"-extension", "RANDR"}}) {}
};

TEST_F(X11CaptureWithoutRandR, RecordsTheWholeScreen) {
    painter->fill({0, 0, 320, 240}, 0x204060);
    const auto stream = startStream(configuration());
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 320, 240}, 0x204060));
}

} // namespace
} // namespace pellaro::test
