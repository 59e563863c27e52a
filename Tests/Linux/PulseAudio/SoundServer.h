#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace pellaro::test {

/// A program of its own environment that ends with this object, or with the thread that made it.
class ServerProcess {
public:
    /// @param environment in addition to PATH; nothing else is inherited. @param log where its output goes.
    ServerProcess(const std::vector<std::string> &arguments, const std::vector<std::string> &environment, const std::string &log);
    ~ServerProcess();
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;

    void signal(int signalNumber) const;
    /// As if it had crashed. Returns when it has ended.
    void kill();
    [[nodiscard]] pid_t processID() const { return m_process; }

private:
    void end(int signalNumber);
    pid_t m_process = -1;
};

enum class SoundServerKind { pulseAudio, pipeWire };

/// A real sound server with its own folder, bus and configuration, without any device of the machine: sinks are made by tests.
class SoundServer {
public:
    explicit SoundServer(SoundServerKind kind);
    ~SoundServer();
    SoundServer(const SoundServer &) = delete;
    SoundServer &operator=(const SoundServer &) = delete;

    /// The programs that this kind of server needs and the machine lacks, for a test's reason to be skipped; empty when all are there.
    [[nodiscard]] static std::string missingPrograms(SoundServerKind kind);

    /// As in PULSE_SERVER.
    [[nodiscard]] const std::string &address() const { return m_address; }
    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder; }

    /// Returns when it accepts clients. Throws `std::runtime_error` with its log when it does not.
    void start();
    /// As if it had crashed.
    void kill();
    /// Stops or continues the process that clients talk to.
    void signal(int signalNumber) const { m_processes.back()->signal(signalNumber); }

private:
    void startPulseAudio();
    void startPipeWire();
    void run(const std::vector<std::string> &arguments);
    void waitForSocket(const std::filesystem::path &socket) const;

    const SoundServerKind m_kind;
    const std::filesystem::path m_folder;
    std::string m_address;
    std::vector<std::unique_ptr<ServerProcess>> m_processes; // the one that clients talk to is the last
};

} // namespace pellaro::test
