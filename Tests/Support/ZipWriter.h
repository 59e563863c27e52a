#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace pellaro::test {

/// Writes ZIP archives with whatever entries a test wants, those no honest archiver writes included. Contents are stored, not
/// compressed.
class ZipWriter {
public:
    /// @param mode type and permissions as the kernel has them. A link's content is its target, a folder's name ends with a slash.
    ZipWriter &add(const std::string &name, const std::string &content, mode_t mode = S_IFREG | 0644) {
        m_entries.push_back({name, content, mode, static_cast<std::uint32_t>(m_bytes.size()), crc(content)});
        const Entry &entry = m_entries.back();
        put(m_bytes, 0x04034b50, 4);
        putCommon(m_bytes, entry);
        m_bytes += name + content;
        return *this;
    }
    ZipWriter &addFolder(const std::string &name, mode_t permissions = 0755) { return add(name + "/", "", S_IFDIR | permissions); }
    ZipWriter &addLink(const std::string &name, const std::string &target) { return add(name, target, S_IFLNK | 0777); }

    /// The finished archive.
    [[nodiscard]] std::string bytes() const {
        std::string directory;
        for (const Entry &entry : m_entries) {
            put(directory, 0x02014b50, 4);
            put(directory, 3 << 8 | 20, 2); // made on Unix
            putCommon(directory, entry);
            put(directory, 0, 2); // comment
            put(directory, 0, 2); // disk
            put(directory, 0, 2); // internal attributes
            put(directory, static_cast<std::uint32_t>(entry.mode) << 16, 4);
            put(directory, entry.offset, 4);
            directory += entry.name;
        }
        std::string end;
        put(end, 0x06054b50, 4);
        put(end, 0, 4); // disks
        put(end, static_cast<std::uint32_t>(m_entries.size()), 2);
        put(end, static_cast<std::uint32_t>(m_entries.size()), 2);
        put(end, static_cast<std::uint32_t>(directory.size()), 4);
        put(end, static_cast<std::uint32_t>(m_bytes.size()), 4);
        put(end, 0, 2); // comment
        return m_bytes + directory + end;
    }

private:
    struct Entry {
        std::string name;
        std::string content;
        mode_t mode;
        std::uint32_t offset;
        std::uint32_t crc;
    };

    static void put(std::string &bytes, std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(value >> (8 * i));
    }
    /// What the header before the content and the one in the directory share.
    static void putCommon(std::string &bytes, const Entry &entry) {
        constexpr std::uint32_t utf8Names = 1 << 11;
        constexpr std::uint32_t noon = 12 << 11;
        constexpr std::uint32_t day = (2026 - 1980) << 9 | 6 << 5 | 28;
        const auto size = static_cast<std::uint32_t>(entry.content.size());
        put(bytes, 20, 2);
        put(bytes, utf8Names, 2);
        put(bytes, 0, 2); // stored
        put(bytes, noon, 2);
        put(bytes, day, 2);
        put(bytes, entry.crc, 4);
        put(bytes, size, 4);
        put(bytes, size, 4);
        put(bytes, static_cast<std::uint32_t>(entry.name.size()), 2);
        put(bytes, 0, 2); // extra
    }
    static std::uint32_t crc(std::string_view bytes) {
        std::uint32_t value = 0xffffffff;
        for (const char c : bytes) {
            value ^= static_cast<unsigned char>(c);
            for (int bit = 0; bit < 8; ++bit)
                value = value >> 1 ^ (value & 1 ? 0xedb88320 : 0);
        }
        return ~value;
    }

    std::vector<Entry> m_entries;
    std::string m_bytes;
};

} // namespace pellaro::test
