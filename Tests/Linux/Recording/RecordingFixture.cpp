#include "RecordingFixture.h"

#include "Tests/Support/WaitFor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace pellaro::test {

namespace {

constexpr double bufferSeconds = 300;

} // namespace

Recording::Recording(const std::string &displayName)
    : m_content(displayName), m_streams({displayName, 1, m_clock, [this] { ++m_lostConnections; }}),
      m_platform(platformWith(m_fakes, m_clock, m_files, m_content, m_streams, m_compressionSessions, m_assetWriters)),
      m_buffer(m_platform, bufferSeconds), m_encoder(VideoEncoder::create(m_platform)), m_engine(CaptureEngine::create(m_platform)) {
    m_engine->setOnVideoSample([this](const MediaSampleRef &sample) { receive(sample); });
    m_encoder->setOnEncodedSample([this](const MediaSampleRef &sample) { m_buffer.append(sample, false); });
}

Recording::~Recording() {
    m_engine->stopCapture();
    m_engine->waitForQueues(); // stopped
    m_engine->setOnVideoSample(nullptr);
    m_engine->waitForQueues(); // what was handed over before that has been received
    m_encoder->stop();
    m_fakes.mainThread.pump();
}

void Recording::start(CaptureMode mode, std::uint32_t displayID) {
    m_engine->startCapture(mode, displayID, {}, false);
    ASSERT_TRUE(waitFor([this] { return count() > 0; }));
}

void Recording::receive(const MediaSampleRef &sample) {
    const PixelBufferRef &picture = sample->imageBuffer();
    ASSERT_TRUE(picture);
    if (!m_encoder->isRunning())
        m_encoder->start(picture->width, picture->height);
    m_encoder->encode(picture, sample->presentationTime());
    const std::lock_guard lock(m_mutex);
    m_seen.push_back({sample->presentationTime().seconds(), convertedPicture(*picture, picture->width / 2 * 2, picture->height / 2 * 2)});
    m_newest = picture;
}

DecodedFile Recording::save() {
    m_engine->waitForQueues();
    m_encoder->flushPendingFrames();
    const std::string path = m_folder.file("clip.mp4");
    m_buffer.exportToMP4(m_buffer.retrieve(bufferSeconds), path);
    return DecodedFile(path);
}

std::size_t Recording::count() const {
    const std::lock_guard lock(m_mutex);
    return m_seen.size();
}

std::vector<SeenPicture> Recording::seen() const {
    const std::lock_guard lock(m_mutex);
    return m_seen;
}

ScreenImage Recording::picture() const {
    const std::lock_guard lock(m_mutex);
    if (!m_newest)
        return {};
    return screenImage(*m_newest);
}

double largestDifference(const Yuv &one, const Yuv &other) {
    if (one.width != other.width || one.height != other.height)
        return 255;
    constexpr int block = 8;
    int largest = 0;
    for (int top = 0; top + block <= one.height; top += block) {
        for (int left = 0; left + block <= one.width; left += block) {
            int sum = 0;
            for (int i = 0; i < block * block; ++i) {
                const auto place = static_cast<std::size_t>(top + i / block) * static_cast<std::size_t>(one.width) +
                                   static_cast<std::size_t>(left + i % block);
                sum += std::abs(one.y[place] - other.y[place]);
            }
            largest = std::max(largest, sum);
        }
    }
    return static_cast<double>(largest) / (block * block);
}

void expectClipShows(const DecodedFile &clip, const std::vector<SeenPicture> &seen) {
    EXPECT_EQ(clip.complaints, "");
    ASSERT_LE(clip.pictures.size(), seen.size());
    ASSERT_FALSE(clip.pictures.empty());
    constexpr double oneTick = 1e-4; // of the clip's clock, generously
    constexpr double visible = 6;    // steps of 255: what compression may change at most
    double largest = 0;
    for (std::size_t i = 0; i < clip.pictures.size(); ++i) {
        EXPECT_NEAR(clip.pictures[i].time, seen[i].time - seen.front().time, oneTick) << "picture " << i;
        const double difference = largestDifference(clip.pictures[i].image, seen[i].image);
        EXPECT_LT(difference, visible) << "picture " << i;
        largest = std::max(largest, difference);
    }
    ::testing::Test::RecordProperty("pictures", static_cast<int>(clip.pictures.size()));
    ::testing::Test::RecordProperty("largestDifference", std::to_string(largest));
}

} // namespace pellaro::test
