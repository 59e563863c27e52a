#include "Linux/Network/UrlTransfer.h"

#include <cerrno>

namespace pellaro {

namespace {

constexpr std::int64_t pieceSize = 1 << 16;

/// An answer that says that something went wrong is an answer. Qt's codes for those begin here, after the ones for connections and
/// proxies; two others are among them.
bool isAboutTheAnswer(QNetworkReply::NetworkError error) {
    return error >= QNetworkReply::ContentAccessDenied && error != QNetworkReply::ProtocolUnknownError &&
           error != QNetworkReply::ProtocolFailure;
}

void begin(QTimer &timer, std::chrono::milliseconds time) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    if (time.count() > 0)
        timer.start(time);
}

} // namespace

UrlTransfer::UrlTransfer(QNetworkReply &reply, const UrlLimits &limits, std::function<void(const QByteArray &)> consume)
    : m_reply(reply), m_limits(limits), m_consume(std::move(consume)) {
    // No more is kept in memory than this; the rest waits at the sender.
    m_reply.setReadBufferSize(pieceSize);
    connect(&m_reply, &QNetworkReply::readyRead, this, [this] { takeWhatIsThere(); });
    connect(&m_reply, &QNetworkReply::metaDataChanged, this, [this] {
        if (m_reply.header(QNetworkRequest::ContentLengthHeader).toLongLong() > m_limits.size)
            fail(posixError(EFBIG));
    });
    connect(&m_reply, &QNetworkReply::finished, this, [this] { m_loop.quit(); });
    connect(&m_wholeTime, &QTimer::timeout, this, [this] { fail(posixError(ETIMEDOUT)); });
    connect(&m_stallTime, &QTimer::timeout, this, [this] { fail(posixError(ETIMEDOUT)); });
    begin(m_wholeTime, m_limits.wholeTime);
    begin(m_stallTime, m_limits.stallTime);
}

void UrlTransfer::wait() {
    if (!m_reply.isFinished())
        m_loop.exec();
    takeWhatIsThere();
    if (m_failure)
        throw *m_failure;
    const QNetworkReply::NetworkError error = m_reply.error();
    const bool hasAnswer = m_reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    if (error != QNetworkReply::NoError && !(hasAnswer && isAboutTheAnswer(error)))
        throw PlatformError(urlErrorDomain, error, m_reply.errorString().toStdString());
}

void UrlTransfer::takeWhatIsThere() {
    while (!m_failure && m_reply.bytesAvailable() > 0) {
        const QByteArray bytes = m_reply.read(pieceSize);
        m_received += bytes.size();
        if (m_stallTime.isActive())
            m_stallTime.start(m_limits.stallTime);
        if (m_received > m_limits.size) {
            fail(posixError(EFBIG));
            return;
        }
        try {
            m_consume(bytes);
        } catch (const PlatformError &error) {
            fail(error);
        }
    }
}

void UrlTransfer::fail(const PlatformError &error) {
    if (m_failure)
        return;
    m_failure = error;
    m_wholeTime.stop();
    m_stallTime.stop();
    m_reply.abort(); // ends the loop by way of `finished`
    m_loop.quit();
}

void UrlTransfer::cancel() {
    QMetaObject::invokeMethod(
        this, [this] { fail(posixError(ECANCELED)); }, Qt::QueuedConnection);
}

} // namespace pellaro
