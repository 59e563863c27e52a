#pragma once

#include "Linux/System/FileDescriptor.h"

#include "Tests/Linux/System/TemporaryFolder.h"

#include <map>
#include <string>
#include <sys/types.h>

namespace pellaro::test {

/// The servers of https_server.py, from when this is made until it goes.
class HttpsServer {
public:
    HttpsServer();
    ~HttpsServer();
    HttpsServer(const HttpsServer &) = delete;
    HttpsServer &operator=(const HttpsServer &) = delete;

    /// The address of a path on the server of this name: "valid", "expired", "otherHost", "unknown", "plain" (no HTTPS).
    [[nodiscard]] std::string url(const std::string &path, const std::string &server = "valid") const;
    /// The certificate of the authority that all but "unknown" are certified by.
    [[nodiscard]] std::string authority() const { return m_folder.path("ca.pem"); }
    void serve(const std::string &name, const std::string &content) const { writeFile(m_folder.path("files/" + name), content); }

private:
    TemporaryFolder m_folder;
    FileDescriptor m_input; ///< the process ends when it closes
    pid_t m_process = 0;
    std::map<std::string, int> m_ports;
};

} // namespace pellaro::test
