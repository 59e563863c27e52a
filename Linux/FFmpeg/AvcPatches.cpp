#include "Linux/FFmpeg/AvcPatches.h"

#include "Linux/FFmpeg/AvcBits.h"
#include "Linux/FFmpeg/LibavPointers.h"

#include <algorithm>
#include <array>

namespace pellaro {

namespace {

constexpr std::uint32_t patchParameterSet = 1;

// Headers of units: how much other pictures depend on it, and its kind.
constexpr std::byte sliceOfReference{0x41};
constexpr std::byte parameterSetOfReference{0x68};

// Values of fields, as the standard numbers them.
constexpr std::uint32_t slicesOfDifferences = 5; // and every slice of the picture is one
constexpr std::uint32_t uncompressedBlock = 30;  // among the kinds of blocks in such a slice
constexpr std::uint32_t noDeblocking = 1;

std::uint32_t lowBits(std::uint32_t value, int count) {
    return value & ((1u << count) - 1);
}

void writeHeader(AvcBitWriter &writer, const SequenceParameters &parameters, std::uint32_t frameNumber) {
    writer.bits(std::to_integer<std::uint32_t>(sliceOfReference), 8);
    writer.number(0); // first block
    writer.number(slicesOfDifferences);
    writer.number(patchParameterSet);
    writer.bits(lowBits(frameNumber, parameters.frameNumberBits), parameters.frameNumberBits);
    writer.bits(0, 1); // as many references as the parameter set says
    writer.bits(0, 1); // in their usual order
    writer.bits(0, 1); // the oldest makes room for this picture
    writer.number(0);  // quantiser
    writer.number(noDeblocking);
}

/// Rows and columns beyond the picture repeat its last ones.
void writePlane(AvcBitWriter &writer, const AVFrame &frame, int plane, int column, int row) {
    const int size = plane == 0 ? 16 : 8;
    const int width = plane == 0 ? frame.width : frame.width / 2;
    const int height = plane == 0 ? frame.height : frame.height / 2;
    const int inside = std::min(size, width - column * size);
    std::array<std::byte, 16> pixels{};
    for (int y = 0; y < size; ++y) {
        const int line = std::min(row * size + y, height - 1);
        const auto *from = reinterpret_cast<const std::byte *>(
            frame.data[plane] + static_cast<std::ptrdiff_t>(line) * frame.linesize[plane] + static_cast<std::ptrdiff_t>(column) * size);
        std::copy_n(from, inside, pixels.begin());
        std::fill(pixels.begin() + inside, pixels.end(), from[inside - 1]);
        writer.bytes(std::span(pixels).first(static_cast<std::size_t>(size)));
    }
}

void appendUnit(std::vector<std::byte> &sample, std::span<const std::byte> content) {
    const std::size_t begin = sample.size();
    sample.resize(begin + 4);
    appendEscaped(sample, content);
    putBits(std::span(sample).subspan(begin), 0, 32, static_cast<std::uint32_t>(sample.size() - begin - 4));
}

/// Where the field lies in an unescaped slice that is not a key frame's.
std::size_t frameNumberPosition(std::span<const std::byte> slice) {
    AvcBitReader reader(slice);
    (void)reader.bits(8);
    (void)reader.number(); // first block
    (void)reader.number(); // kind of slice
    (void)reader.number(); // parameter set
    return reader.position();
}

} // namespace

std::optional<SequenceParameters> readSequenceParameters(NalUnit sequenceSet) {
    const std::vector<std::byte> content = unescaped(sequenceSet);
    AvcBitReader reader(content);
    constexpr std::uint32_t highProfile = 100;
    (void)reader.bits(8);
    if (reader.bits(8) != highProfile)
        return std::nullopt;
    (void)reader.bits(16);                              // constraints and level
    if (reader.number() != 0 ||                         // its own number
        reader.number() != 1 ||                         // 4:2:0
        reader.number() != 0 || reader.number() != 0 || // 8 bits
        reader.bits(1) != 0 ||                          // transforms as usual
        reader.bits(1) != 0)                            // no scaling matrices
        return std::nullopt;
    SequenceParameters parameters;
    parameters.frameNumberBits = static_cast<int>(reader.number()) + 4;
    constexpr std::uint32_t orderFollowsNumbers = 2;
    if (reader.number() != orderFollowsNumbers)
        return std::nullopt;
    if (reader.number() != 1) // reference pictures
        return std::nullopt;
    (void)reader.bits(1);  // no gaps in numbers
    (void)reader.number(); // width
    (void)reader.number(); // height
    const bool wholePictures = reader.bits(1) != 0;
    if (!wholePictures || reader.isBeyondEnd() || parameters.frameNumberBits > 16)
        return std::nullopt;
    return parameters;
}

std::vector<std::byte> makePatchParameterSet() {
    AvcBitWriter writer;
    writer.bits(std::to_integer<std::uint32_t>(parameterSetOfReference), 8);
    writer.number(patchParameterSet);
    writer.number(0);  // sequence parameter set
    writer.bits(0, 1); // numbers of variable length, which take no model of what came before
    writer.bits(0, 1); // whole pictures
    writer.number(0);  // one group of slices
    writer.number(0);  // one reference
    writer.number(0);
    writer.bits(0, 3); // not weighted
    writer.number(0);  // quantisers
    writer.number(0);
    writer.number(0);
    writer.bits(1, 1); // slices say whether to deblock
    writer.bits(0, 2);
    writer.finish();
    std::vector<std::byte> unit;
    appendEscaped(unit, writer.data());
    return unit;
}

std::vector<std::byte> makePatch(const SequenceParameters &parameters, std::uint32_t frameNumber, const AVFrame &frame,
                                 std::span<const int> blocks) {
    const BlockGrid grid(frame.width, frame.height);
    AvcBitWriter writer;
    writeHeader(writer, parameters, frameNumber);
    int next = 0;
    for (const int block : blocks) {
        writer.number(static_cast<std::uint32_t>(block - next));
        writer.number(uncompressedBlock);
        writer.align();
        for (int plane = 0; plane < 3; ++plane)
            writePlane(writer, frame, plane, block % grid.columns, block / grid.columns);
        next = block + 1;
    }
    if (next < grid.count())
        writer.number(static_cast<std::uint32_t>(grid.count() - next));
    writer.finish();
    std::vector<std::byte> sample;
    sample.reserve(writer.data().size() + 16);
    appendUnit(sample, writer.data());
    return sample;
}

void setFrameNumber(std::vector<std::byte> &sample, const SequenceParameters &parameters, std::uint32_t frameNumber) {
    const std::uint32_t number = lowBits(frameNumber, parameters.frameNumberBits);
    std::vector<std::byte> renumbered;
    renumbered.reserve(sample.size() + 16);
    for (std::size_t position = 0; position + 4 < sample.size();) {
        AvcBitReader length{NalUnit(sample).subspan(position, 4)};
        const NalUnit unit = NalUnit(sample).subspan(position + 4, length.bits(32));
        position += 4 + unit.size();
        if (nalType(unit) != NalType::slice) {
            appendUnit(renumbered, unescaped(unit));
            continue;
        }
        std::vector<std::byte> content = unescaped(unit);
        putBits(content, frameNumberPosition(content), parameters.frameNumberBits, number);
        appendUnit(renumbered, content);
    }
    sample = std::move(renumbered);
}

} // namespace pellaro
