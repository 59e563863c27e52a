#include "Linux/Network/QtUrlSession.h"

#include "Linux/Network/UrlTransfer.h"
#include "Linux/System/PosixFiles.h"

#include <QNetworkAccessManager>
#include <QNetworkCookieJar>
#include <QSslConfiguration>

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <unistd.h>

namespace pellaro {

namespace {

constexpr int mostRedirects = 10;

QSslConfiguration configuration(const QList<QSslCertificate> &authorities) {
    QSslConfiguration result = QSslConfiguration::defaultConfiguration();
    result.setProtocol(QSsl::TlsV1_2OrLater);
    result.setPeerVerifyMode(QSslSocket::VerifyPeer);
    if (!authorities.isEmpty())
        result.setCaCertificates(authorities);
    return result;
}

QNetworkRequest request(const std::string &url, const QSslConfiguration &configuration) {
    QNetworkRequest result(QUrl(QString::fromStdString(url), QUrl::StrictMode));
    if (!result.url().isValid() || result.url().scheme() != "https")
        throw posixError(EPROTONOSUPPORT);
    result.setSslConfiguration(configuration);
    result.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    result.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    result.setMaximumRedirectsAllowed(mostRedirects);
    // Nothing is unpacked on the way, so that the limit of size holds for what arrives.
    result.setRawHeader("Accept-Encoding", "identity");
    result.setHeader(QNetworkRequest::UserAgentHeader, "Pellaro");
    return result;
}

/// A new file that is removed again unless it is kept.
class NewFile {
public:
    explicit NewFile(std::string path)
        : m_path(std::move(path)), m_file(posix::openFile(m_path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600)) {}
    ~NewFile() {
        if (!m_isKept)
            unlink(m_path.c_str());
    }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    void write(const QByteArray &bytes) { posix::writeAll(m_file, {bytes.constData(), static_cast<std::size_t>(bytes.size())}); }
    void keep() { m_isKept = true; }

private:
    const std::string m_path;
    const FileDescriptor m_file;
    bool m_isKept = false;
};

} // namespace

struct QtUrlSession::Core {
    QSslConfiguration sslConfiguration;
    std::mutex mutex;
    std::set<UrlTransfer *> running; // guarded by mutex
    bool isCancelled = false;        // guarded by mutex

    void fetch(const std::string &url, const UrlLimits &limits, const std::function<void(const QByteArray &)> &consume);
};

class QtUrlSession::RunningTransfer {
public:
    RunningTransfer(Core &core, UrlTransfer &transfer) : m_core(core), m_transfer(transfer) {
        std::lock_guard lock(m_core.mutex);
        if (m_core.isCancelled)
            throw posixError(ECANCELED);
        m_core.running.insert(&m_transfer);
    }
    ~RunningTransfer() {
        std::lock_guard lock(m_core.mutex);
        m_core.running.erase(&m_transfer);
    }
    RunningTransfer(const RunningTransfer &) = delete;
    RunningTransfer &operator=(const RunningTransfer &) = delete;

private:
    Core &m_core;
    UrlTransfer &m_transfer;
};

void QtUrlSession::Core::fetch(const std::string &url, const UrlLimits &limits, const std::function<void(const QByteArray &)> &consume) {
    QNetworkAccessManager manager;
    const std::unique_ptr<QNetworkReply> reply(manager.get(request(url, sslConfiguration)));
    UrlTransfer transfer(*reply, limits, consume);
    const RunningTransfer known(*this, transfer);
    transfer.wait();
}

QtUrlSession::QtUrlSession() : m_core(std::make_unique<Core>()) {
    m_core->sslConfiguration = configuration({});
}

QtUrlSession::QtUrlSession(const std::string &authoritiesFile) : m_core(std::make_unique<Core>()) {
    m_core->sslConfiguration = configuration(QSslCertificate::fromPath(QString::fromStdString(authoritiesFile)));
}

QtUrlSession::~QtUrlSession() = default;

std::string QtUrlSession::data(const std::string &url, const UrlLimits &limits) {
    std::string body;
    m_core->fetch(url, limits,
                  [&body](const QByteArray &bytes) { body.append(bytes.constData(), static_cast<std::size_t>(bytes.size())); });
    return body;
}

void QtUrlSession::download(const std::string &url, const std::string &path, const UrlLimits &limits) {
    NewFile file(path);
    m_core->fetch(url, limits, [&file](const QByteArray &bytes) { file.write(bytes); });
    file.keep();
}

void QtUrlSession::cancelAll() {
    std::lock_guard lock(m_core->mutex);
    m_core->isCancelled = true;
    for (UrlTransfer *transfer : m_core->running)
        transfer->cancel();
}

} // namespace pellaro
