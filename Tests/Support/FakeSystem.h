#pragma once

#include "Tests/Support/Trace.h"
#include "Tests/Support/WaitFor.h"

#include "Platform/Error.h"
#include "Platform/System/Bundle.h"
#include "Platform/System/FileManager.h"
#include "Platform/System/HostClock.h"
#include "Platform/System/Locale.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/SystemLog.h"
#include "Platform/System/UserDefaults.h"
#include "Platform/System/WallClock.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <thread>

namespace pellaro::test {

/// A host clock that stands still until it is set.
class FakeHostClock : public HostClock {
public:
    [[nodiscard]] MediaTime now() const override { return MediaTime(m_nanoseconds, 1'000'000'000); }
    void set(std::int64_t nanoseconds) { m_nanoseconds = nanoseconds; }

private:
    std::atomic<std::int64_t> m_nanoseconds = 0;
};

class FakeWallClock : public WallClock {
public:
    [[nodiscard]] LocalTime now() const override {
        std::lock_guard lock(m_mutex);
        return m_time;
    }
    void set(const LocalTime &time) {
        std::lock_guard lock(m_mutex);
        m_time = time;
    }

private:
    mutable std::mutex m_mutex;
    LocalTime m_time{2026, 6, 28, 14, 57, 1, 42}; // guarded by m_mutex
};

class FakeLocale : public Locale {
public:
    [[nodiscard]] std::optional<std::string> languageCode() const override {
        std::lock_guard lock(m_mutex);
        return m_code;
    }
    void set(std::optional<std::string> code) {
        std::lock_guard lock(m_mutex);
        m_code = std::move(code);
    }

private:
    mutable std::mutex m_mutex;
    std::optional<std::string> m_code = "en"; // guarded by m_mutex
};

class FakeBundle : public Bundle {
public:
    std::map<std::string, DefaultsValue> info;
    std::string path = "/Applications/Pellaro.app";
    [[nodiscard]] std::string bundlePath() const override { return path; }
    [[nodiscard]] std::optional<DefaultsValue> infoValue(const std::string &key) const override {
        const auto entry = info.find(key);
        return entry == info.end() ? std::nullopt : std::optional(entry->second);
    }
};

class FakeSystemLog : public SystemLog {
public:
    void write(std::string_view line) override { lines.add(std::string(line)); }
    Trace lines;
};

class FakeUserDefaults : public UserDefaults {
public:
    explicit FakeUserDefaults(Trace &trace) : m_trace(trace) {}
    [[nodiscard]] std::optional<DefaultsValue> object(const std::string &key) const override {
        std::lock_guard lock(m_mutex);
        const auto entry = m_values.find(key);
        return entry == m_values.end() ? std::nullopt : std::optional(entry->second);
    }
    void set(const std::string &key, const DefaultsValue &value) override {
        m_trace.add("defaults.set " + key);
        store(key, value);
    }
    /// As if it had been stored by an earlier run.
    void store(const std::string &key, const DefaultsValue &value) {
        std::lock_guard lock(m_mutex);
        m_values[key] = value;
    }
    [[nodiscard]] std::size_t count() const {
        std::lock_guard lock(m_mutex);
        return m_values.size();
    }

private:
    Trace &m_trace;
    mutable std::mutex m_mutex;
    std::map<std::string, DefaultsValue> m_values; // guarded by m_mutex
};

/// The test's own thread as the main thread: work waits until the test lets it run.
class FakeMainThread : public MainThread {
public:
    FakeMainThread() : m_thread(std::this_thread::get_id()) {}

    [[nodiscard]] bool isCurrent() const override { return std::this_thread::get_id() == m_thread; }
    void post(std::function<void()> work) override {
        std::lock_guard lock(m_mutex);
        if (!m_ended)
            m_posted.push_back(std::move(work));
    }
    void postAfter(std::chrono::milliseconds delay, std::function<void()> work) override {
        std::lock_guard lock(m_mutex);
        m_delayed.emplace_back(m_now + delay, std::move(work));
    }
    void run(const std::function<void()> &work) override {
        if (isCurrent()) {
            work();
            return;
        }
        auto state = std::make_shared<Waiting>();
        post([state, &work] {
            {
                std::lock_guard lock(state->mutex);
                if (state->ended)
                    return;
                state->began = true;
            }
            work();
            std::lock_guard lock(state->mutex);
            state->done = true;
            state->changed.notify_all();
        });
        std::unique_lock lock(state->mutex);
        while (!state->done) {
            state->changed.wait_for(lock, std::chrono::milliseconds(5));
            if (m_ended && !state->began) {
                state->ended = true;
                throw MainThreadEnded();
            }
        }
    }

    /// Runs what is posted, and what that posts, until nothing is left. Main thread.
    void pump() {
        while (const auto work = next())
            work();
    }
    /// Whether something waits to be run.
    [[nodiscard]] bool hasWork() {
        std::lock_guard lock(m_mutex);
        return !m_posted.empty();
    }
    /// Pumps until `condition` holds; false when it does not within the deadline.
    template <typename Condition> [[nodiscard]] bool pumpUntil(Condition condition) {
        return waitFor([&] {
            pump();
            return condition();
        });
    }
    /// Lets `duration` pass and runs what is due.
    void advance(std::chrono::milliseconds duration) {
        m_now += duration;
        std::erase_if(m_delayed, [this](const auto &entry) {
            if (entry.first > m_now)
                return false;
            post(entry.second);
            return true;
        });
        pump();
    }
    /// As when the event loop has ended.
    void end() { m_ended = true; }

private:
    struct Waiting {
        std::mutex mutex;
        std::condition_variable changed;
        bool began = false;
        bool done = false;
        bool ended = false;
    };

    std::function<void()> next() {
        std::lock_guard lock(m_mutex);
        if (m_posted.empty())
            return nullptr;
        auto work = std::move(m_posted.front());
        m_posted.pop_front();
        return work;
    }

    const std::thread::id m_thread;
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_posted; // guarded by m_mutex
    std::vector<std::pair<std::chrono::milliseconds, std::function<void()>>> m_delayed;
    std::chrono::milliseconds m_now{0};
    std::atomic<bool> m_ended = false;
};

/// Files in memory, with failures on demand: put a path into `failing…` and the operation throws that errno value.
class FakeFileManager : public FileManager {
public:
    explicit FakeFileManager(Trace &trace) : m_trace(trace) {}

    std::map<std::string, int> failingCreateDirectory, failingMove, failingRemove, failingAttributes, failingOpen, failingCreate,
        failingCopy, failingRemoveTree, failingWrite, failingTemporary;
    /// POSIX mode bits by path, where they were set.
    std::map<std::string, unsigned> permissions;
    /// Attributes without a size for these paths.
    std::set<std::string> sizeless;

    [[nodiscard]] std::string homeDirectory() const override { return "/home/user"; }
    [[nodiscard]] std::string libraryDirectory() const override { return "/home/user/Library"; }
    [[nodiscard]] std::string temporaryDirectory() const override {
        failIfAsked(failingTemporary, "/tmp/of user");
        return "/tmp/of user";
    }
    [[nodiscard]] bool fileExists(const std::string &path) const override {
        std::lock_guard lock(m_mutex);
        return m_files.contains(path) || m_directories.contains(path);
    }
    [[nodiscard]] FileAttributes attributes(const std::string &path) const override {
        failIfAsked(failingAttributes, path);
        std::lock_guard lock(m_mutex);
        const auto file = m_files.find(path);
        if (file == m_files.end())
            throw posixError(ENOENT);
        if (sizeless.contains(path))
            return {};
        return {.size = static_cast<std::int64_t>(file->second.size())};
    }
    [[nodiscard]] std::string contents(const std::string &path) const override {
        std::lock_guard lock(m_mutex);
        const auto file = m_files.find(path);
        if (file == m_files.end())
            throw posixError(ENOENT);
        return file->second;
    }
    void createFile(const std::string &path) override {
        failIfAsked(failingCreate, path);
        put(path, "");
    }
    [[nodiscard]] std::unique_ptr<FileHandle> openForAppending(const std::string &path) override {
        failIfAsked(failingOpen, path);
        return std::make_unique<Handle>(*this, path);
    }
    void removeItem(const std::string &path) override {
        m_trace.add("files.remove " + path);
        failIfAsked(failingRemove, path);
        std::lock_guard lock(m_mutex);
        if (m_files.erase(path) + m_directories.erase(path) == 0)
            throw posixError(ENOENT);
    }
    void moveItem(const std::string &source, const std::string &target) override {
        m_trace.add("files.move " + target);
        failIfAsked(failingMove, target);
        transfer(source, target, false);
    }
    void createDirectory(const std::string &path) override {
        m_trace.add("files.createDirectory " + path);
        failIfAsked(failingCreateDirectory, path);
        std::lock_guard lock(m_mutex);
        m_directories.insert(path);
    }
    [[nodiscard]] std::vector<std::string> contentsOfDirectory(const std::string &path) const override {
        std::lock_guard lock(m_mutex);
        std::set<std::string> names;
        const auto note = [&](const std::string &entry) {
            if (entry.starts_with(path + "/"))
                names.insert(entry.substr(path.size() + 1, entry.find('/', path.size() + 1) - path.size() - 1));
        };
        for (const auto &[file, content] : m_files)
            note(file);
        for (const std::string &directory : m_directories)
            note(directory);
        if (names.empty() && !m_directories.contains(path))
            throw posixError(ENOENT);
        return {names.begin(), names.end()};
    }
    void copyItem(const std::string &source, const std::string &target) override {
        m_trace.add("files.copy " + source + " to " + target);
        failIfAsked(failingCopy, source);
        transfer(source, target, true);
    }
    void removeTree(const std::string &path) override {
        failIfAsked(failingRemoveTree, path);
        std::lock_guard lock(m_mutex);
        const auto inside = [&](const std::string &entry) { return entry == path || entry.starts_with(path + "/"); };
        if (std::erase_if(m_files, [&](const auto &file) { return inside(file.first); }) + std::erase_if(m_directories, inside) == 0)
            throw posixError(ENOENT);
        m_trace.add("files.removeTree " + path);
    }
    void writeAtomically(const std::string &path, std::string_view bytes) override {
        failIfAsked(failingWrite, path);
        put(path, std::string(bytes));
    }
    void setPermissions(const std::string &path, unsigned bits) override { permissions[path] = bits; }

    /// A folder, as if it had been there.
    void putDirectory(const std::string &path) {
        std::lock_guard lock(m_mutex);
        m_directories.insert(path);
    }
    void put(const std::string &path, std::string content) {
        std::lock_guard lock(m_mutex);
        m_files[path] = std::move(content);
    }
    void append(const std::string &path, std::string_view bytes) {
        std::lock_guard lock(m_mutex);
        m_files[path] += bytes;
    }
    [[nodiscard]] std::vector<std::string> paths() const {
        std::lock_guard lock(m_mutex);
        std::vector<std::string> result;
        for (const auto &[path, content] : m_files)
            result.push_back(path);
        return result;
    }

private:
    class Handle : public FileHandle {
    public:
        Handle(FakeFileManager &files, std::string path) : m_files(files), m_path(std::move(path)) {}
        void write(std::string_view bytes) override { m_files.append(m_path, bytes); }

    private:
        FakeFileManager &m_files;
        const std::string m_path;
    };

    static void failIfAsked(const std::map<std::string, int> &failing, const std::string &path) {
        if (const auto entry = failing.find(path); entry != failing.end())
            throw posixError(entry->second);
    }

    void transfer(const std::string &source, const std::string &target, bool keepsSource) {
        std::lock_guard lock(m_mutex);
        const auto exists = [&](const std::string &path) { return m_files.contains(path) || m_directories.contains(path); };
        if (!exists(source))
            throw posixError(ENOENT);
        if (exists(target))
            throw posixError(EEXIST);
        const auto inside = [&](const std::string &path) { return path == source || path.starts_with(source + "/"); };
        const auto files = m_files;
        const auto directories = m_directories;
        for (const auto &[path, content] : files)
            if (inside(path))
                m_files[target + path.substr(source.size())] = content;
        for (const std::string &path : directories)
            if (inside(path))
                m_directories.insert(target + path.substr(source.size()));
        if (keepsSource)
            return;
        std::erase_if(m_files, [&](const auto &file) { return inside(file.first); });
        std::erase_if(m_directories, inside);
    }

    Trace &m_trace;
    mutable std::mutex m_mutex;
    std::map<std::string, std::string> m_files; // guarded by m_mutex
    std::set<std::string> m_directories;        // guarded by m_mutex
};

} // namespace pellaro::test
