#include "Linux/FFmpeg/MovFile.h"

#include "Linux/FFmpeg/MovIndex.h"
#include "Platform/Media/FormatDescription.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace pellaro {

namespace {

constexpr int bufferSize = 1 << 18;
constexpr std::int64_t atomHeaderSize = 8;
constexpr std::size_t moveBlock = std::size_t(1) << 22;

std::vector<std::byte> atomHeader(std::int64_t size, FourCharCode type) {
    std::vector<std::byte> header;
    for (const auto number : {static_cast<std::uint32_t>(size), type}) {
        for (int shift = 24; shift >= 0; shift -= 8)
            header.push_back(static_cast<std::byte>(number >> shift & 0xFF));
    }
    return header;
}

} // namespace

MovFile::MovFile(std::string path, std::int64_t room) : m_path(std::move(path)), m_room(room) {
    auto *buffer = static_cast<unsigned char *>(av_malloc(bufferSize));
    if (!buffer)
        throw std::bad_alloc();
    m_io.reset(avio_alloc_context(buffer, bufferSize, 1, this, nullptr, &MovFile::writeCallback, &MovFile::seekCallback));
    if (!m_io) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    m_descriptor = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (m_descriptor < 0)
        throw posixError(errno);
    avio_seek(m_io.get(), m_room, SEEK_SET);
}

MovFile::~MovFile() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

int MovFile::writeCallback(void *self, std::uint8_t *data, int size) {
    return static_cast<MovFile *>(self)->write({reinterpret_cast<const std::byte *>(data), static_cast<std::size_t>(size)});
}

std::int64_t MovFile::seekCallback(void *self, std::int64_t offset, int whence) {
    auto *file = static_cast<MovFile *>(self);
    if (whence != SEEK_SET)
        return AVERROR(ENOSYS);
    file->m_position = offset;
    return offset;
}

int MovFile::write(std::span<const std::byte> data) {
    const int size = static_cast<int>(data.size());
    try {
        if (m_typeSize == 0) {
            if (data.size() < 4)
                throw posixError(EINVAL);
            for (const std::byte byte : data.first(4))
                m_typeSize = m_typeSize << 8 | std::to_integer<std::int64_t>(byte);
        }
        while (!data.empty()) {
            const auto part = data.first(static_cast<std::size_t>(writableHere(static_cast<std::int64_t>(data.size()))));
            if (m_indexStart >= 0 && m_position >= m_indexStart)
                writeIndexed(part);
            else
                writeAt(m_position < m_room + m_typeSize ? m_position - m_room : m_position, part);
            m_position += static_cast<std::int64_t>(part.size());
            m_end = std::max(m_end, m_position);
            data = data.subspan(part.size());
        }
        return size;
    } catch (const PlatformError &error) {
        if (!m_error)
            m_error = error;
    } catch (const std::bad_alloc &) {
        if (!m_error)
            m_error = posixError(ENOMEM);
    }
    return AVERROR(EIO);
}

/// How much of `size` bytes lies in one piece at the current position.
std::int64_t MovFile::writableHere(std::int64_t size) const {
    for (const std::int64_t border : {m_room + m_typeSize, m_indexStart}) {
        if (m_position < border)
            return std::min(size, border - m_position);
    }
    return size;
}

void MovFile::writeIndexed(std::span<const std::byte> data) {
    const auto offset = static_cast<std::size_t>(m_position - m_indexStart);
    m_index.resize(std::max(m_index.size(), offset + data.size()));
    std::copy(data.begin(), data.end(), m_index.begin() + static_cast<std::ptrdiff_t>(offset));
}

void MovFile::writeAt(std::int64_t position, std::span<const std::byte> data) {
    while (!data.empty()) {
        const ssize_t written = ::pwrite(m_descriptor, data.data(), data.size(), position);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            throw posixError(errno);
        }
        data = data.subspan(static_cast<std::size_t>(written));
        position += written;
    }
}

void MovFile::beginIndex() {
    avio_flush(m_io.get());
    m_indexStart = m_end;
}

void MovFile::finish() {
    avio_flush(m_io.get());
    if (m_error)
        throw *m_error;
    placeIndex();
    while (::fdatasync(m_descriptor) != 0) {
        if (errno != EINTR)
            throw posixError(errno);
    }
    close();
}

void MovFile::placeIndex() {
    removeUserData(m_index);
    const auto size = static_cast<std::int64_t>(m_index.size());
    // What is left must be nothing, or enough for the header that says it is free.
    if (size != m_room && size + atomHeaderSize > m_room) {
        const std::int64_t distance = std::max(size - m_room, atomHeaderSize);
        if (!moveChunkOffsets(m_index, static_cast<std::uint64_t>(distance)))
            throw posixError(EFBIG);
        moveMediaUp(distance);
        m_room += distance;
    }
    if (size < m_room)
        writeAt(m_typeSize + size, atomHeader(m_room - size, fourCharCode("free")));
    writeAt(m_typeSize, m_index);
}

void MovFile::moveMediaUp(std::int64_t distance) {
    const std::int64_t start = m_room + m_typeSize;
    std::vector<std::byte> block(moveBlock);
    for (std::int64_t end = m_indexStart; end > start;) {
        const std::int64_t size = std::min(end - start, static_cast<std::int64_t>(block.size()));
        end -= size;
        for (std::int64_t done = 0; done < size;) {
            const ssize_t count = ::pread(m_descriptor, block.data() + done, static_cast<std::size_t>(size - done), end + done);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                throw posixError(count < 0 ? errno : EIO);
            done += count;
        }
        writeAt(end + distance, std::span(block).first(static_cast<std::size_t>(size)));
    }
}

void MovFile::close() {
    const int descriptor = std::exchange(m_descriptor, -1);
    // After an interrupted close the descriptor is gone all the same.
    if (descriptor >= 0 && ::close(descriptor) != 0 && errno != EINTR)
        throw posixError(errno);
}

void MovFile::remove() {
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
    ::unlink(m_path.c_str());
}

} // namespace pellaro
