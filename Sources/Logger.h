#pragma once

#include "Platform/System/DispatchQueue.h"
#include "Platform/System/FileManager.h"

#include <cstdint>
#include <memory>
#include <string>

namespace pellaro {

struct Platform;

/// The application's diagnostic log: one text file with one rotated generation, mirrored line by line to the system log.
///
/// Thread: any. Callers of `log` never wait for the disk; all file access happens on "com.pellaro.logger". Never reports errors:
/// where the file cannot be written, lines reach the system log only.
class PelLog {
public:
    /// The one log of the current platform, created on first use.
    static PelLog &shared();

    /// Writes "[HH:mm:ss.SSS] file:line message"; of `file` only the name counts.
    void log(const std::string &message, const char *file, int line);
    /// The whole current file, every line logged before included; "(kein Log)" when it cannot be read. Waits for the queue.
    [[nodiscard]] std::string contents() const;
    /// Where the file is, whether or not it exists.
    [[nodiscard]] const std::string &url() const { return m_logUrl; }
    /// Returns when every line logged before has been written.
    void flush() const;

private:
    explicit PelLog(Platform &platform);
    void openHandle();
    void write(const std::string &line);
    void rotate();

    Platform &m_platform;
    const std::string m_logUrl;
    std::unique_ptr<FileHandle> m_handle; // on m_queue; absent until opened or when opening failed
    const std::int64_t m_maxBytes = 524288;
    /// Last, and nobody else's: what is queued is written before the rest goes, on the thread that lets go of the log. Its closures
    /// hold nothing, so that none of them can be the one to let go.
    mutable DispatchQueue m_queue;
};

/// Writes one line to the shared log under the caller's file name and line number.
void nlog(const std::string &message, const char *file = __builtin_FILE(), int line = __builtin_LINE());

} // namespace pellaro
