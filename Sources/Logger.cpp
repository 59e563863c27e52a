#include "Sources/Logger.h"

#include "Sources/TextTemplate.h"

#include "Platform/Error.h"
#include "Platform/Platform.h"
#include "Platform/System/SharedInstances.h"
#include "Platform/System/SystemLog.h"
#include "Platform/System/WallClock.h"

#include <filesystem>

namespace pellaro {

namespace {

/// Runs a file operation whose failure must not disturb anything.
template <typename Operation> void ignoringErrors(Operation operation) {
    try {
        operation();
    } catch (const PlatformError &) {
        // The line has reached the system log; there is nobody else to tell.
    }
}

} // namespace

PelLog &PelLog::shared() {
    Platform &platform = Platform::current();
    return platform.sharedInstances.get<PelLog>([&platform] {
        std::shared_ptr<PelLog> log(new PelLog(platform));
        log->m_queue.async([self = log.get()] { self->openHandle(); });
        return log;
    });
}

PelLog::PelLog(Platform &platform)
    : m_platform(platform), m_logUrl(platform.files.libraryDirectory() + "/Logs/Pellaro/pellaro.log"), m_queue("com.pellaro.logger") {
    ignoringErrors([this] { m_platform.files.createDirectory(std::filesystem::path(m_logUrl).parent_path()); });
}

void PelLog::log(const std::string &message, const char *file, int line) {
    const std::string text = "[" + formatTime("HH:mm:ss.SSS", m_platform.wallClock.now()) + "] " +
                             std::filesystem::path(file).filename().string() + ":" + std::to_string(line) + " " + message;
    m_platform.systemLog.write("[Pellaro] " + text);
    m_queue.async([this, text] { write(text); });
}

std::string PelLog::contents() const {
    std::string text;
    m_queue.sync([this, &text] {
        try {
            text = m_platform.files.contents(m_logUrl);
        } catch (const PlatformError &) {
            text = "(kein Log)";
        }
    });
    return text;
}

void PelLog::flush() const {
    m_queue.sync([] {});
}

void PelLog::openHandle() {
    ignoringErrors([this] {
        if (!m_platform.files.fileExists(m_logUrl))
            m_platform.files.createFile(m_logUrl);
        m_handle = m_platform.files.openForAppending(m_logUrl);
    });
}

void PelLog::write(const std::string &line) {
    std::optional<std::int64_t> size;
    ignoringErrors([&] { size = m_platform.files.attributes(m_logUrl).size; });
    if (size && *size > m_maxBytes)
        rotate();
    if (m_handle)
        ignoringErrors([&] { m_handle->write(line + "\n"); });
}

void PelLog::rotate() {
    m_handle.reset();
    const std::string previous = std::filesystem::path(m_logUrl).replace_extension("old.log");
    ignoringErrors([&] { m_platform.files.removeItem(previous); });
    ignoringErrors([&] { m_platform.files.moveItem(m_logUrl, previous); });
    ignoringErrors([&] { m_platform.files.createFile(m_logUrl); });
    openHandle();
}

void nlog(const std::string &message, const char *file, int line) {
    PelLog::shared().log(message, file, line);
}

} // namespace pellaro
