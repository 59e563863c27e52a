#include "Linux/Archive/ZipArchive.h"

#include "Linux/Archive/UnpackedTree.h"
#include "Linux/System/PosixFiles.h"

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <clocale>
#include <fcntl.h>
#include <memory>
#include <vector>

namespace pellaro {

namespace {

constexpr std::size_t blockSize = 1 << 16;
constexpr mode_t permissionBits = 0777;

/// Names are UTF-8 for the library whatever the program's locale is. For the calling thread, as long as this lives.
class Utf8Locale {
public:
    Utf8Locale() : m_locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (!m_locale)
            throw posixError(errno);
        m_previous = uselocale(m_locale);
    }
    ~Utf8Locale() {
        uselocale(m_previous);
        freelocale(m_locale);
    }
    Utf8Locale(const Utf8Locale &) = delete;
    Utf8Locale &operator=(const Utf8Locale &) = delete;

private:
    const locale_t m_locale;
    locale_t m_previous{};
};

struct FreeArchive {
    void operator()(archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, FreeArchive>;

/// Anything but success: a warning of the library's means that something is not as the archive says.
void check(const Reader &reader, int result) {
    if (result == ARCHIVE_OK)
        return;
    const char *text = archive_error_string(reader.get());
    throw archiveError(text ? text : "the archive cannot be read");
}

Reader openZip(const FileDescriptor &file) {
    Reader reader(archive_read_new());
    if (!reader)
        throw posixError(ENOMEM);
    // By its table of contents, which stands at the end: an archive that was cut short has none.
    check(reader, archive_read_support_format_zip_seekable(reader.get()));
    check(reader, archive_read_open_fd(reader.get(), file.get(), blockSize));
    return reader;
}

ArchiveEntry::Kind kindOf(archive_entry *entry) {
    if (archive_entry_hardlink(entry))
        throw archiveError("an entry is a second name of another");
    switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
        return ArchiveEntry::Kind::file;
    case AE_IFDIR:
        return ArchiveEntry::Kind::folder;
    case AE_IFLNK:
        return ArchiveEntry::Kind::link;
    default:
        throw archiveError("an entry is neither file, folder nor link");
    }
}

ArchiveEntry checkedEntry(archive_entry *entry) {
    const char *name = archive_entry_pathname(entry);
    if (!name)
        throw archiveError("an entry's name is not text");
    ArchiveEntry result{.kind = kindOf(entry), .path = entryPath(name)};
    const mode_t mode = archive_entry_perm(entry);
    if ((mode & ~permissionBits) != 0)
        throw archiveError("an entry has special rights: " + std::string(name));
    result.permissions = mode;
    if (archive_entry_mtime_is_set(entry))
        result.modified = timespec{archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
    if (const char *target = archive_entry_symlink(entry); target && result.kind == ArchiveEntry::Kind::link)
        result.linkTarget = target;
    return result;
}

class Unpacker {
public:
    Unpacker(Reader &reader, UnpackedTree &tree, const UnpackLimits &limits) : m_reader(reader), m_tree(tree), m_limits(limits) {}

    void run() {
        archive_entry *entry = nullptr; // the library's
        for (int count = 0;; ++count) {
            const int result = archive_read_next_header(m_reader.get(), &entry);
            if (result == ARCHIVE_EOF)
                return;
            check(m_reader, result);
            if (count == m_limits.entries)
                throw archiveError("the archive has too many entries");
            unpack(checkedEntry(entry));
        }
    }

private:
    void unpack(const ArchiveEntry &entry) {
        switch (entry.kind) {
        case ArchiveEntry::Kind::folder:
            m_tree.addFolder(entry);
            break;
        case ArchiveEntry::Kind::link:
            m_tree.addLink(entry);
            break;
        case ArchiveEntry::Kind::file:
            const FileDescriptor file = m_tree.addFile(entry);
            writeContent(file);
            UnpackedTree::finishFile(file, entry);
            break;
        }
    }

    void writeContent(const FileDescriptor &file) {
        for (;;) {
            const la_ssize_t count = archive_read_data(m_reader.get(), m_buffer.data(), m_buffer.size());
            if (count < 0)
                check(m_reader, static_cast<int>(count));
            if (count <= 0)
                return;
            m_written += count;
            if (m_written > m_limits.bytes)
                throw archiveError("the archive holds too much");
            posix::writeAll(file, {m_buffer.data(), static_cast<std::size_t>(count)});
        }
    }

    Reader &m_reader;
    UnpackedTree &m_tree;
    const UnpackLimits m_limits;
    std::vector<char> m_buffer = std::vector<char>(blockSize);
    std::int64_t m_written = 0; // bytes
};

} // namespace

void unpackZip(const std::string &archive, const std::string &folder, const UnpackLimits &limits) {
    const Utf8Locale locale;
    const FileDescriptor file = posix::openFile(archive, O_RDONLY);
    Reader reader = openZip(file);
    UnpackedTree tree(folder);
    Unpacker(reader, tree, limits).run();
    tree.finish();
}

} // namespace pellaro
