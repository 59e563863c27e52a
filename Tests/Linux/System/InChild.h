#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace pellaro::test {

/// What a child process answers when the machine does not let it have what it needs.
inline constexpr int notAllowed = 77;

/// Runs `body` in a child process, for what changes a whole process, and returns its exit status: 0 when all expectations held,
/// otherwise 1, or whatever else it exited with. Killed by a signal: the signal's number, negative.
inline int exitOfChild(const std::function<void()> &body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        try {
            body();
        } catch (const std::exception &error) {
            ADD_FAILURE() << "left with: " << error.what();
        }
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

inline void writeProcFile(const char *path, const std::string &text) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0 || write(file, text.data(), text.size()) != ssize_t(text.size()))
        _exit(notAllowed);
    close(file);
}

/// In a child only: mounts an empty file system of `size` bytes that this process alone sees. Exits with `notAllowed` where the
/// machine does not permit it.
inline void mountSmallFileSystem(const std::string &path, const std::string &size) {
    if (unshare(CLONE_NEWNS) != 0) {
        const std::string user = std::to_string(getuid());
        const std::string group = std::to_string(getgid());
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            _exit(notAllowed);
        writeProcFile("/proc/self/setgroups", "deny");
        writeProcFile("/proc/self/uid_map", "0 " + user + " 1");
        writeProcFile("/proc/self/gid_map", "0 " + group + " 1");
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", path.c_str(), "tmpfs", 0, ("size=" + size).c_str()) != 0)
        _exit(notAllowed);
}

/// In a child only: from here on the system calls of this thread end with the errors, as on a file system that does not have them.
inline void failSystemCalls(const std::vector<std::pair<long, int>> &errors) {
    std::vector<sock_filter> program = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const auto &[call, error] : errors) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, std::uint32_t(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | std::uint32_t(error)));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0)
        _exit(notAllowed);
}

inline void remountReadOnly(const std::string &path, bool isReadOnly) {
    if (mount("tmpfs", path.c_str(), "tmpfs", MS_REMOUNT | (isReadOnly ? MS_RDONLY : 0), nullptr) != 0)
        _exit(notAllowed);
}

} // namespace pellaro::test

/// Runs a body in a child process and expects all of its expectations to hold; skips where the machine does not permit it.
#define EXPECT_HOLDS_IN_CHILD(body)                                                                                                        \
    do {                                                                                                                                   \
        const int childExit = pellaro::test::exitOfChild(body);                                                                            \
        if (childExit == pellaro::test::notAllowed)                                                                                        \
            GTEST_SKIP() << "this machine does not permit a private file system or a system call filter";                                  \
        EXPECT_EQ(childExit, 0);                                                                                                           \
    } while (false)
