#include "Tests/Linux/Network/HttpsServer.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace pellaro::test {

HttpsServer::HttpsServer() {
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (pipe2(input.data(), O_CLOEXEC) != 0 || pipe2(output.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_process = fork();
    if (m_process == 0) {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        execl(PYTHON, PYTHON, "-B", HTTPS_SERVER, m_folder.path().c_str(), nullptr);
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    m_input = FileDescriptor(input[1]);
    const FileDescriptor fromServer(output[0]);
    std::string line;
    for (char c = 0; c != '\n' && read(fromServer.get(), &c, 1) == 1;)
        line += c;
    const QJsonObject ports = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
    for (auto port = ports.begin(); port != ports.end(); ++port)
        m_ports[port.key().toStdString()] = port.value().toInt();
    if (m_ports.empty())
        throw std::runtime_error("the server did not start");
}

HttpsServer::~HttpsServer() {
    m_input = FileDescriptor();
    waitpid(m_process, nullptr, 0);
}

std::string HttpsServer::url(const std::string &path, const std::string &server) const {
    return (server == "plain" ? "http" : "https") + ("://127.0.0.1:" + std::to_string(m_ports.at(server))) + path;
}

} // namespace pellaro::test
