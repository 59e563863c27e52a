#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Platform/Error.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace pellaro {

/// The file under an MP4 muxer, laid out so that its index (`moov`) comes before the media although it is known last.
///
/// The muxer writes into `io`: type, media, and after `beginIndex` the index. Room for the index is left free after the type;
/// `finish` puts the index there and marks the rest as free. When the room turns out too small, the media is moved up first, which
/// costs one more pass over the file. One thread at a time. The first failure of the system is kept and is what `finish` throws.
class MovFile {
public:
    /// Creates the file, which must not exist. Throws `PlatformError`.
    /// @param room bytes to leave free for the index.
    MovFile(std::string path, std::int64_t room);
    /// Closes the file as it is.
    ~MovFile();
    MovFile(const MovFile &) = delete;
    MovFile &operator=(const MovFile &) = delete;

    /// For the muxer; owned by this object.
    [[nodiscard]] AVIOContext *io() const { return m_io.get(); }
    /// The failure that made writing impossible.
    [[nodiscard]] const std::optional<PlatformError> &error() const { return m_error; }

    /// What the muxer appends from here on is the index.
    void beginIndex();
    /// Places the index, waits until the disk has everything and closes the file. Throws `PlatformError`.
    void finish();
    /// Closes and removes the file.
    void remove();

private:
    static int writeCallback(void *self, std::uint8_t *data, int size);
    static std::int64_t seekCallback(void *self, std::int64_t offset, int whence);

    [[nodiscard]] int write(std::span<const std::byte> data);
    [[nodiscard]] std::int64_t writableHere(std::int64_t size) const;
    void writeIndexed(std::span<const std::byte> data);
    void writeAt(std::int64_t position, std::span<const std::byte> data);
    void placeIndex();
    void moveMediaUp(std::int64_t distance);
    void close();

    const std::string m_path;
    int m_descriptor = -1;
    std::int64_t m_room;
    // The muxer's positions begin at m_room and count the room from then on, so that media lies where the muxer believes it does.
    std::int64_t m_position = 0;
    std::int64_t m_end = 0;
    std::int64_t m_typeSize = 0;    // 0 until the type has been written
    std::int64_t m_indexStart = -1; // -1 before the index
    std::vector<std::byte> m_index;
    std::optional<PlatformError> m_error;
    IoContextPtr m_io;
};

} // namespace pellaro
