#pragma once

#include "Platform/Error.h"
#include "Platform/System/UrlSession.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

namespace pellaro {

/// The way of one answer from the network to whoever wants it, within its limits. One thread, which runs its event loop.
class UrlTransfer : public QObject {
public:
    /// @param reply must outlive this object.
    /// @param consume is given the body piece by piece; a `PlatformError` that it throws ends the transfer.
    UrlTransfer(QNetworkReply &reply, const UrlLimits &limits, std::function<void(const QByteArray &)> consume);

    /// Returns when the answer is there whole; throws `PlatformError` otherwise, as `UrlSession` says.
    void wait();
    /// Ends the transfer with ECANCELED. Any thread, while this object exists.
    void cancel();

private:
    void takeWhatIsThere();
    void fail(const PlatformError &error);

    QNetworkReply &m_reply;
    const UrlLimits m_limits;
    const std::function<void(const QByteArray &)> m_consume;
    QEventLoop m_loop;
    QTimer m_wholeTime;
    QTimer m_stallTime;
    std::int64_t m_received = 0; // bytes
    std::optional<PlatformError> m_failure;
};

} // namespace pellaro
