#include "Linux/FFmpeg/CompressionSessionX264.h"

#include "Linux/FFmpeg/LibavError.h"

#include <condition_variable>
#include <deque>
#include <limits>

namespace pellaro {

namespace {

const MediaTime longestKeyFrameDistance(2, 1);

/// Decides which frames have to be key frames.
class KeyFrameClock {
public:
    explicit KeyFrameClock(int maxInterval) : m_maxInterval(maxInterval) {}

    [[nodiscard]] bool isDue(const MediaTime &time) const {
        if (m_frames == 0 || m_frames >= m_maxInterval)
            return true;
        if (!time.isValid() || !m_keyFrameTime.isValid())
            return false;
        // A jump back is as good a reason as one ahead: the frames before it may be gone when somebody looks for a key frame.
        return time - m_keyFrameTime >= longestKeyFrameDistance || m_keyFrameTime - time >= longestKeyFrameDistance;
    }

    void encoded(const MediaTime &time, bool isKeyFrame) {
        if (isKeyFrame) {
            m_frames = 0;
            m_keyFrameTime = MediaTime::invalid();
        }
        ++m_frames;
        if (!m_keyFrameTime.isValid())
            m_keyFrameTime = time;
    }

private:
    int m_maxInterval;
    int m_frames = 0; // since the last key frame, with it; 0 before the first
    MediaTime m_keyFrameTime;
};

} // namespace

/// What the compressor's thread works on. Shared with the closures on the queue, so that it outlives a session that is let go from
/// one of its own handlers.
class CompressionSessionX264::Worker {
public:
    struct Job {
        PixelBufferRef picture;
        MediaTime presentationTime;
        bool forceKeyFrame = false;
        CompressionOutputHandler handler;
    };

    /// The encoder comes first: it refuses impossible sizes before memory is taken for them.
    Worker(int width, int height)
        : m_width(width), m_height(height), m_encoder(std::in_place, width, height, X264Settings{}), m_picture(width, height) {}

    void prepare(const X264Settings &settings) {
        m_encoder.reset(); // a refused encoder leaves none behind
        m_encoder.emplace(m_width, m_height, settings);
        m_keyFrames = KeyFrameClock(settings.maxKeyFrameInterval);
    }

    void announce(const MediaTime &presentationTime) {
        std::lock_guard lock(m_mutex);
        m_waiting.push_back(presentationTime);
    }

    /// On the compressor's thread.
    void run(Job &job) {
        if (!isStopped()) {
            int status = 0;
            MediaSampleRef sample;
            try {
                sample = encode(job);
            } catch (const PlatformError &error) {
                status = error.code();
            } catch (const std::bad_alloc &) {
                status = ENOMEM;
            }
            job.picture.reset();
            if (!isStopped() && job.handler)
                job.handler(status, std::move(sample));
        }
        std::lock_guard lock(m_mutex);
        m_waiting.pop_front();
        ++m_completed;
        m_progress.notify_all();
    }

    void waitUntilCompleted(const MediaTime &until) {
        std::unique_lock lock(m_mutex);
        std::uint64_t last = m_completed;
        for (std::size_t i = 0; i < m_waiting.size(); ++i) {
            if (!until.isValid() || m_waiting[i] <= until)
                last = m_completed + i + 1;
        }
        m_progress.wait(lock, [&] { return m_stopped || m_completed >= last; });
    }

    void stop() {
        std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_progress.notify_all();
    }

private:
    [[nodiscard]] bool isStopped() const {
        std::lock_guard lock(m_mutex);
        return m_stopped;
    }

    MediaSampleRef encode(Job &job) {
        if (!job.picture || !job.picture->pixels || job.picture->width <= 0 || job.picture->height <= 0)
            throw posixError(EINVAL);
        if (!m_encoder)
            throw libavError(AVERROR_ENCODER_NOT_FOUND);
        const MediaTime &time = job.presentationTime;
        m_picture.update(*job.picture);
        job.picture.reset(); // its memory belongs to a small pool that the capture waits for
        ScreenEncoder::Picture picture = m_encoder->encode(m_picture, job.forceKeyFrame || m_keyFrames.isDue(time), time);
        m_keyFrames.encoded(time, picture.isKeyFrame);
        MediaSample::Contents contents;
        contents.payload = std::move(picture.payload);
        contents.formatDescription = m_encoder->formatDescription();
        contents.timing = SampleTiming{MediaTime::invalid(), time, MediaTime::invalid()};
        contents.attachments = std::vector<SampleAttachments>{{.notSync = !picture.isKeyFrame}};
        return MediaSample::make(std::move(contents));
    }

    const int m_width;
    const int m_height;
    // Bound to the compressor's thread once prepared:
    std::optional<ScreenEncoder> m_encoder;
    EncoderPicture m_picture;
    KeyFrameClock m_keyFrames{X264Settings{}.maxKeyFrameInterval};

    mutable std::mutex m_mutex;
    std::condition_variable m_progress;
    std::deque<MediaTime> m_waiting; // guarded by m_mutex: times of the frames whose handlers have not run
    std::uint64_t m_completed = 0;   // guarded by m_mutex
    bool m_stopped = false;          // guarded by m_mutex
};

CompressionSessionX264::CompressionSessionX264(int width, int height)
    : m_width(width & ~1), m_height(height & ~1), m_worker(std::make_shared<Worker>(m_width, m_height)),
      m_queue(std::make_shared<DispatchQueue>("com.pellaro.compressor")) {}

CompressionSessionX264::~CompressionSessionX264() {
    invalidate();
}

std::shared_ptr<CompressionSessionX264::Worker> CompressionSessionX264::worker() const {
    std::lock_guard lock(m_mutex);
    return m_worker;
}

void CompressionSessionX264::setProperty(CompressionProperty property, const CompressionValue &value) {
    const auto *flag = std::get_if<bool>(&value);
    const auto *number = std::get_if<std::int64_t>(&value);
    const auto *list = std::get_if<std::vector<std::int64_t>>(&value);
    switch (property) {
    case CompressionProperty::realTime:
        if (flag)
            m_settings.realTime = *flag;
        break;
    case CompressionProperty::averageBitRate:
        if (number && *number > 0)
            m_settings.averageBitRate = *number;
        break;
    case CompressionProperty::maxKeyFrameInterval:
        if (number && *number > 0)
            m_settings.maxKeyFrameInterval = static_cast<int>(std::min<std::int64_t>(*number, std::numeric_limits<int>::max()));
        break;
    case CompressionProperty::dataRateLimits:
        if (list && list->size() == 2 && list->front() > 0 && list->back() > 0)
            m_settings.dataRateLimit = X264Settings::RateLimit{list->front(), list->back()};
        break;
    case CompressionProperty::allowFrameReordering: // never done, allowed or not
    case CompressionProperty::profileLevel:         // there is one value, and it is what the encoder always does
        break;
    }
}

void CompressionSessionX264::prepareToEncodeFrames() {
    if (const auto current = worker())
        current->prepare(m_settings);
}

void CompressionSessionX264::encodeFrame(const PixelBufferRef &picture, MediaTime presentationTime, MediaTime /*duration*/,
                                         std::optional<CompressionFrameProperties> properties, CompressionOutputHandler handler) {
    auto job = std::make_shared<Worker::Job>();
    job->picture = picture;
    job->presentationTime = presentationTime;
    job->forceKeyFrame = properties && properties->forceKeyFrame;
    job->handler = std::move(handler);
    std::lock_guard lock(m_mutex);
    if (!m_worker)
        return;
    m_worker->announce(presentationTime);
    m_queue->async([worker = m_worker, job] { worker->run(*job); });
}

void CompressionSessionX264::completeFrames(MediaTime until) {
    if (const auto current = worker())
        current->waitUntilCompleted(until);
}

void CompressionSessionX264::invalidate() {
    std::shared_ptr<Worker> worker;
    DispatchQueueRef queue;
    {
        std::lock_guard lock(m_mutex);
        worker = std::move(m_worker);
        queue = std::move(m_queue);
    }
    if (worker)
        worker->stop();
    // The queue ends here: what is still on it finds the worker stopped.
}

std::shared_ptr<CompressionSession> CompressionSessionFactoryX264::create(std::int32_t width, std::int32_t height, FourCharCode codec) {
    silenceLibav();
    if (codec != codecH264)
        throw libavError(AVERROR_ENCODER_NOT_FOUND);
    return std::make_shared<CompressionSessionX264>(width, height);
}

} // namespace pellaro
