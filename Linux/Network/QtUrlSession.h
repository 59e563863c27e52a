#pragma once

#include "Platform/System/UrlSession.h"

#include <memory>

namespace pellaro {

/// The web through Qt's network library and OpenSSL. Each request runs its own event loop on the thread that asks, so it needs the
/// Qt application to exist and no loop on that thread.
class QtUrlSession final : public UrlSession {
public:
    /// Trusts the certificate authorities that the system trusts.
    QtUrlSession();
    /// Trusts the authorities in this PEM file and no others.
    explicit QtUrlSession(const std::string &authoritiesFile);
    ~QtUrlSession() override;

    [[nodiscard]] std::string data(const std::string &url, const UrlLimits &limits) override;
    void download(const std::string &url, const std::string &path, const UrlLimits &limits) override;

    /// Ends what is under way, with ECANCELED, and every later request at once. Any thread.
    void cancelAll();

private:
    struct Core;
    /// Makes a transfer known to `cancelAll` for as long as it runs.
    class RunningTransfer;
    const std::unique_ptr<Core> m_core;
};

} // namespace pellaro
