#include "Linux/System/PropertyList.h"

#include "Linux/System/PlistUserDefaults.h"
#include "Tests/Linux/System/Fakes.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <plist/plist.h>
#include <random>

namespace pellaro {
namespace {

const std::vector<std::string> keys = {"bufferDuration", "savePath", "captureMode", "captureAudio", "captureRectX", "list", "when"};

const std::string xmlSample = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist SYSTEM "PropertyList.dtd">
<plist version="1.0">
<dict>
	<!-- what a user may have typed -->
	<key>bufferDuration</key><integer>60</integer>
	<key>savePath</key><string>/home/m&#252;ller/Movies &amp; more<![CDATA[<>]]></string>
	<key>captureMode</key><integer>-1</integer>
	<key>captureAudio</key><true/>
	<key>captureRectX</key><real>-12.5e3</real>
	<key>list</key><array><dict><key>CF$UID</key><integer>7</integer></dict><data>AAECAwQF</data><array/><false/></array>
	<key>when</key><date>2026-06-28T14:57:01Z</date>
</dict>
</plist>
)";

std::string binarySample() {
    plist_t root = nullptr;
    plist_from_xml(xmlSample.data(), std::uint32_t(xmlSample.size()), &root);
    char *bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string result(bytes, length);
    std::free(bytes);
    plist_free(root);
    return result;
}

using Random = std::mt19937_64;

std::size_t below(Random &random, std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
}

/// One small damage, as disks, transfers and typing do it.
void damage(std::string &bytes, Random &random) {
    const std::size_t position = below(random, bytes.size() + 1);
    const std::size_t length = std::min(bytes.size() - position, below(random, 24));
    switch (below(random, 7)) {
    case 0:
        if (position < bytes.size())
            bytes[position] = char(bytes[position] ^ (1 << below(random, 8)));
        break;
    case 1:
        if (position < bytes.size())
            bytes[position] = char(random());
        break;
    case 2:
        bytes.erase(position, length);
        break;
    case 3:
        bytes.insert(position, bytes.substr(below(random, bytes.size() + 1), 24));
        break;
    case 4:
        bytes.resize(position);
        break;
    case 5:
        bytes.insert(position, 1, "<>&;/!-[]\"\0\xFF"[below(random, 12)]);
        break;
    default:
        for (std::size_t offset = 0; offset < length; ++offset)
            bytes[position + offset] = below(random, 2) == 0 ? '\0' : '\xFF';
    }
}

std::size_t count(const std::string &text, const std::string &part) {
    std::size_t found = 0;
    for (std::size_t position = text.find(part); position != std::string::npos; position = text.find(part, position + 1))
        ++found;
    return found;
}

/// Whatever the bytes are, they are either refused or a list that can be read, written, and read again with the same values.
void expectRefusedOrSound(const std::string &bytes) {
    auto list = PropertyList::parse(bytes);
    if (!list)
        return;
    list->setValue("added", 0.1);
    const auto again = PropertyList::parse(list->xml());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->value("added"), DefaultsValue(0.1));
    for (const std::string &key : keys) {
        const auto value = list->value(key);
        const bool isNotANumber = value && std::holds_alternative<double>(*value) && std::get<double>(*value) != std::get<double>(*value);
        const bool isAmbiguous = count(list->xml(), "<key>" + key + "</key>") > 1; // a damaged binary may repeat a key
        EXPECT_TRUE(isNotANumber || isAmbiguous || again->value(key) == value) << key;
    }
}

void expectRefusedOrSoundWhenDamaged(const std::string &sample, int files) {
    for (int seed = 0; seed < files && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(static_cast<std::uint64_t>(seed));
        std::string bytes = sample;
        for (std::size_t left = 1 + below(random, 4); left > 0; --left)
            damage(bytes, random);
        expectRefusedOrSound(bytes);
    }
}

TEST(PropertyListRobustness, TakesDamagedXml) {
    expectRefusedOrSoundWhenDamaged(xmlSample, 6000);
}

TEST(PropertyListRobustness, TakesDamagedBinaries) {
    expectRefusedOrSoundWhenDamaged(binarySample(), 6000);
}

TEST(PropertyListRobustness, TakesRandomBytes) {
    for (const std::string start : {"", "bplist00", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"}) {
        for (std::uint64_t seed = 0; seed < 2000; ++seed) {
            Random random(seed);
            std::string bytes = start;
            for (std::size_t left = below(random, 300); left > 0; --left)
                bytes += char(random());
            expectRefusedOrSound(bytes);
        }
    }
}

TEST(PropertyListRobustness, EitherReadsOrSetsAsideADamagedFileAndGoesOn) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("defaults.plist");
    const std::string aside = path + ".unreadable-2026-06-28_145701";
    test::RecordingLog log;
    const test::FixedWallClock clock;
    int refused = 0;
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        Random random(seed);
        std::string bytes = seed % 2 == 0 ? xmlSample : binarySample();
        damage(bytes, random);
        test::writeFile(path, bytes);
        PlistUserDefaults defaults(path, log, clock);
        (void)defaults.object("savePath");
        if (std::filesystem::exists(aside)) {
            ++refused;
            ASSERT_EQ(test::readFile(aside), bytes) << seed;
            std::filesystem::remove(aside);
        }
        defaults.set("captureMode", std::int64_t(2));
        ASSERT_EQ(PlistUserDefaults(path, log, clock).integer("captureMode"), 2) << seed;
    }
    EXPECT_GT(refused, 50);
    EXPECT_EQ(log.lines.size(), std::size_t(refused));
}

} // namespace
} // namespace pellaro
