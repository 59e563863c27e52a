#pragma once

#include "Tests/Support/FakeSystem.h"
#include "Tests/Support/Trace.h"

#include "Platform/System/ProcessInfo.h"
#include "Platform/System/ProcessLauncher.h"
#include "Platform/System/UrlSession.h"

#include <functional>
#include <set>

namespace pellaro::test {

/// Process 4711, whose unique strings are "unique1", "unique2" and so on.
class FakeProcessInfo : public ProcessInfo {
public:
    /// What counts as made by a process that runs, besides what this one made.
    std::set<std::string> running;
    [[nodiscard]] int processIdentifier() const override { return 4711; }
    [[nodiscard]] std::string globallyUniqueString() const override { return "unique" + std::to_string(++m_count); }
    [[nodiscard]] bool isOfRunningProcess(const std::string &text) const override {
        return running.contains(text) || text.starts_with("unique");
    }

private:
    mutable std::atomic<int> m_count = 0;
};

/// Starts nothing: programs do what the test says and succeed where it says nothing.
class FakeProcessLauncher : public ProcessLauncher {
public:
    using Arguments = std::vector<std::string>;
    explicit FakeProcessLauncher(Trace &trace) : m_trace(trace) {}
    /// By path; returns the exit status. Set before any task runs.
    std::map<std::string, std::function<int(const Arguments &)>> programs;

    [[nodiscard]] int run(const std::string &executable, const Arguments &arguments) override {
        std::string line = "run " + executable;
        for (const std::string &argument : arguments)
            line += "|" + argument;
        m_trace.add(line);
        const auto program = programs.find(executable);
        return program == programs.end() ? 0 : program->second(arguments);
    }

private:
    Trace &m_trace;
};

/// Answers with what the test puts there, and with "Host not found" to all else.
class FakeUrlSession : public UrlSession {
public:
    FakeUrlSession(Trace &trace, FakeFileManager &files) : m_trace(trace), m_files(files) {}
    /// By address. Set before any task runs.
    std::map<std::string, std::string> answers;
    /// Thrown instead, by address.
    std::map<std::string, PlatformError> failures;
    /// What the last request for this address was to be held to.
    [[nodiscard]] UrlLimits limits(const std::string &url) const {
        std::lock_guard lock(m_mutex);
        return m_limits.at(url);
    }

    [[nodiscard]] std::string data(const std::string &url, const UrlLimits &limits) override {
        m_trace.add("get " + url);
        return answer(url, limits);
    }
    void download(const std::string &url, const std::string &path, const UrlLimits &limits) override {
        m_trace.add("download " + url + " to " + path);
        m_files.put(path, answer(url, limits));
    }

private:
    std::string answer(const std::string &url, const UrlLimits &limits) {
        {
            std::lock_guard lock(m_mutex);
            m_limits[url] = limits;
        }
        if (const auto failure = failures.find(url); failure != failures.end())
            throw failure->second;
        const auto found = answers.find(url);
        if (found == answers.end())
            throw PlatformError(urlErrorDomain, 3, "Host not found");
        return found->second;
    }

    Trace &m_trace;
    FakeFileManager &m_files;
    mutable std::mutex m_mutex;
    std::map<std::string, UrlLimits> m_limits; // guarded by m_mutex
};

} // namespace pellaro::test
