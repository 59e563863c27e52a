#include "Linux/FFmpeg/MovFile.h"
#include "Linux/FFmpeg/MovIndex.h"
#include "Tests/Linux/FFmpeg/ExportFixture.h"

#include <fstream>

namespace pellaro::test {
namespace {

std::string number(std::uint64_t value, int size) {
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

std::string atom(const std::string &type, const std::string &content) {
    return number(content.size() + 8, 4) + type + content;
}

/// An index that says where two pieces of media lie.
std::string makeIndex(const std::string &table, int entrySize, std::uint64_t first, std::uint64_t second) {
    const std::string entries = number(0, 4) + number(2, 4) + number(first, entrySize) + number(second, entrySize);
    return atom("moov", atom("mvhd", "head") +
                            atom("trak", atom("mdia", atom("minf", atom("stbl", atom("stsz", "size") + atom(table, entries))))) +
                            atom("udta", "chatter"));
}

std::vector<std::byte> toBytes(const std::string &text) {
    const auto *data = reinterpret_cast<const std::byte *>(text.data());
    return {data, data + text.size()};
}

void write(AVIOContext *io, const std::string &text) {
    avio_write(io, reinterpret_cast<const unsigned char *>(text.data()), static_cast<int>(text.size()));
}

TEST(MovIndex, MovesPositionsOfBothSizes) {
    std::vector<std::byte> index = toBytes(makeIndex("stco", 4, 100, 0xFFFFFF00));
    EXPECT_TRUE(moveChunkOffsets(index, 0xFF));
    EXPECT_EQ(index, toBytes(makeIndex("stco", 4, 100 + 0xFF, 0xFFFFFFFF)));
    EXPECT_FALSE(moveChunkOffsets(index, 1)) << "32 bits are not enough";
    index = toBytes(makeIndex("co64", 8, 100, 0xFFFFFFFF));
    EXPECT_TRUE(moveChunkOffsets(index, 7));
    EXPECT_EQ(index, toBytes(makeIndex("co64", 8, 107, 0x100000006)));
}

TEST(MovIndex, RefusesAtomsThatDoNotNest) {
    const std::vector<std::byte> whole = toBytes(makeIndex("stco", 4, 1, 2));
    for (std::size_t size = 1; size < whole.size(); ++size) {
        std::vector<std::byte> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(moveChunkOffsets(cut, 1)) << size;
    }
    std::vector<std::byte> greedy = toBytes(atom("moov", atom("stco", number(0, 4) + number(1000, 4) + number(1, 4))));
    EXPECT_FALSE(moveChunkOffsets(greedy, 1)) << "more entries than bytes";
}

TEST(MovIndex, LosesItsUserData) {
    std::vector<std::byte> index = toBytes(makeIndex("stco", 4, 1, 2));
    const std::size_t before = index.size();
    removeUserData(index);
    EXPECT_EQ(index.size(), before - 15);
    EXPECT_TRUE(moveChunkOffsets(index, 0)) << "sizes are right";
    const std::vector<std::byte> without = index;
    removeUserData(index);
    EXPECT_EQ(index, without);
}

TEST(MovFile, LaysTheIndexBeforeTheMediaWhateverRoomWasLeft) {
    const TemporaryFolder folder;
    const std::string type = atom("ftyp", "mp42....");
    const std::string media(9'000'000, 'm');                                                  // more than is moved at a time
    const auto indexSize = static_cast<std::int64_t>(makeIndex("stco", 4, 0, 0).size()) - 15; // without user data
    for (std::int64_t room = 0; room < indexSize + 20; room += room < indexSize - 12 ? 37 : 1) {
        const std::string path = folder.file(std::to_string(room));
        {
            MovFile file(path, room);
            AVIOContext *io = file.io();
            write(io, type);
            const std::int64_t header = avio_tell(io);
            write(io, atom("mdat", ""));
            const std::int64_t start = avio_tell(io);
            write(io, media);
            file.beginIndex();
            const std::int64_t end = avio_tell(io);
            avio_seek(io, header, SEEK_SET); // a muxer knows the size only now
            write(io, number(media.size() + 8, 4));
            avio_seek(io, end, SEEK_SET);
            write(io, makeIndex("stco", 4, static_cast<std::uint64_t>(start), static_cast<std::uint64_t>(end - 1)));
            file.finish();
        }
        const auto all = atoms(path);
        const auto index = findAtom(all, "moov");
        const auto data = findAtom(all, "mdat");
        ASSERT_TRUE(index && data) << room;
        EXPECT_EQ(all.front().path, "ftyp");
        EXPECT_EQ(index->position, 16);
        EXPECT_EQ(index->size, indexSize);
        EXPECT_EQ(data->size, static_cast<std::int64_t>(media.size()) + 8);
        std::ifstream stream(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        const std::string moved = makeIndex("stco", 4, static_cast<std::uint64_t>(data->position + 8),
                                            static_cast<std::uint64_t>(data->position + data->size - 1));
        EXPECT_NE(bytes.find(moved.substr(moved.find("stco"), 20)), std::string::npos) << "room " << room;
        EXPECT_EQ(bytes.compare(static_cast<std::size_t>(data->position) + 8, std::string::npos, media), 0);
        std::filesystem::remove(path);
    }
}

} // namespace
} // namespace pellaro::test
