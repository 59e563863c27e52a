#pragma once

#include <unistd.h>
#include <utility>

namespace pellaro {

/// Owns a file descriptor; -1 is none.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() {
        if (isOpen())
            close(m_descriptor);
    }

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }
    /// From here on another owner closes it.
    void release() { m_descriptor = -1; }

private:
    int m_descriptor;
};

} // namespace pellaro
