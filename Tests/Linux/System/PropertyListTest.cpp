#include "Linux/System/PropertyList.h"

#include "Linux/System/PropertyListCheck.h"
#include "Linux/System/PropertyListText.h"

#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <bit>
#include <clocale>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <plist/plist.h>
#include <random>

namespace pellaro {
namespace {

std::string propertyList(const std::string &root) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + root + "\n</plist>\n";
}

PropertyList parsed(const std::string &bytes) {
    auto list = PropertyList::parse(bytes);
    if (!list)
        throw std::runtime_error("not parsed");
    return std::move(*list);
}

/// The value after a journey through XML.
std::optional<DefaultsValue> roundTrip(const DefaultsValue &value) {
    PropertyList list;
    list.setValue("key", value);
    return parsed(list.xml()).value("key");
}

std::string binary(const std::string &xml) {
    plist_t root = nullptr;
    plist_from_xml(xml.data(), std::uint32_t(xml.size()), &root);
    char *bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string result(bytes, length);
    std::free(bytes);
    plist_free(root);
    return result;
}

void expectSameBits(double real) {
    const auto value = roundTrip(real);
    ASSERT_TRUE(value && std::holds_alternative<double>(*value)) << real;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(std::get<double>(*value)), std::bit_cast<std::uint64_t>(real)) << real;
}

TEST(PropertyList, KeepsBooleansAndIntegers) {
    EXPECT_EQ(roundTrip(true), DefaultsValue(true));
    EXPECT_EQ(roundTrip(false), DefaultsValue(false));
    for (const std::int64_t integer : {std::int64_t(0), std::int64_t(1), std::int64_t(-1), std::int64_t(36), std::int64_t(1'179'648),
                                       std::int64_t(4'294'967'295), std::int64_t(-4'294'967'296), INT64_MAX, INT64_MIN})
        EXPECT_EQ(roundTrip(integer), DefaultsValue(integer));
}

TEST(PropertyList, KeepsEveryBitOfARealNumber) {
    using Limits = std::numeric_limits<double>;
    for (const double real : {0.0, -0.0, 0.1, -0.1, 123.456, 1e300, -1e300, 1e-300, 1e19, 100.0, 1.0 / 3, 9007199254740993.0, 5e-324,
                              Limits::max(), Limits::lowest(), Limits::min(), Limits::epsilon(), 2.2250738585072011e-308})
        expectSameBits(real);
    std::mt19937_64 random(1);
    for (int count = 0; count < 5000; ++count) {
        const double real = std::bit_cast<double>(random());
        if (std::isfinite(real))
            expectSameBits(real);
    }
}

TEST(PropertyList, KeepsRealNumbersThatAreNotFinite) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(roundTrip(infinity), DefaultsValue(infinity));
    EXPECT_EQ(roundTrip(-infinity), DefaultsValue(-infinity));
    EXPECT_TRUE(std::isnan(std::get<double>(*roundTrip(std::numeric_limits<double>::quiet_NaN()))));
}

TEST(PropertyList, KeepsRealNumbersInsideOtherValues) {
    const std::string xml = propertyList("<dict><key>a</key><array><real>-0.0</real><string>&lt;real&gt;1&lt;/real&gt;</string><dict><key>b"
                                         "</key><real>0.1</real></dict></array><key>c</key><real>1e-7</real></dict>");
    const std::string written = parsed(xml).xml();
    EXPECT_NE(written.find("<real>-0</real>"), std::string::npos);
    EXPECT_NE(written.find("<real>0.1</real>"), std::string::npos);
    EXPECT_NE(written.find("<string>&lt;real&gt;1&lt;/real&gt;</string>"), std::string::npos);
    EXPECT_EQ(parsed(written).value("c"), DefaultsValue(1e-7));
    EXPECT_EQ(parsed(written).xml(), written);
}

TEST(PropertyList, ReadsAndWritesNumbersAlikeInALocaleWithADecimalComma) {
    const test::TemporaryFolder folder;
    const std::string make = "localedef -i de_DE -f UTF-8 '" + folder.path("de_DE.UTF-8") + "' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0)
        GTEST_SKIP() << "localedef and the source of the German locale are not installed";
    EXPECT_EQ(test::exitOfChild([&] {
                  setenv("LOCPATH", folder.path().c_str(), 1);
                  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
                  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
                  expectSameBits(0.5);
                  expectSameBits(123.456);
                  EXPECT_EQ(parsed(propertyList("<dict><key>a</key><real>1.25</real></dict>")).value("a"), DefaultsValue(1.25));
                  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
              }),
              0);
}

TEST(PropertyList, KeepsTexts) {
    for (const std::string text : {"", " ", "  leading and trailing  ", "\n", "a\nb\tc", "a\r\nb\r", "<dict>&amp;\"'</dict>", "]]>",
                                   "<![CDATA[x]]>", "<!-- x -->", "/home/müller/Vidéos/日本語/🎬", "\U0010FFFD", "100 %s %n", "&#13;"})
        EXPECT_EQ(roundTrip(std::string(text)), DefaultsValue(std::string(text)));
    const std::string large(500'000, 'x');
    EXPECT_EQ(roundTrip(large), DefaultsValue(large));
}

TEST(PropertyList, PutsAReplacementWhereXmlCannotHoldACharacter) {
    using namespace std::string_literals;
    for (const auto &[text, stored] : std::vector<std::pair<std::string, std::string>>{
             {"a\x01z", "a\uFFFDz"},
             {"a\0z"s, "a\uFFFDz"},
             {"\x1b[0m", "\uFFFD[0m"},
             {"a\xFFz", "a\uFFFDz"},
             {"cut \xE2\x82", "cut \uFFFD\uFFFD"},
             {"overlong \xC0\xAF", "overlong \uFFFD\uFFFD"},
             {"surrogate \xED\xA0\x80", "surrogate \uFFFD\uFFFD\uFFFD"},
             {"beyond \xF4\x90\x80\x80", "beyond \uFFFD\uFFFD\uFFFD\uFFFD"},
             {"\xEF\xBF\xBE", "\uFFFD\uFFFD\uFFFD"},
             {"\x7F", "\x7F"},
         }) {
        EXPECT_EQ(xmlText(text), stored);
        EXPECT_EQ(roundTrip(text), DefaultsValue(stored));
    }
}

TEST(PropertyList, WritesOnlyWhatXmlCanHoldWhereverItWasReadFrom) {
    const PropertyList list = parsed(binary(propertyList("<dict><key>key</key><string>a\x01\r</string><key>k\x02</key><true/></dict>")));
    EXPECT_EQ(list.value("key"), DefaultsValue(std::string("a\uFFFD\r")));
    const std::string xml = list.xml();
    EXPECT_EQ(xml.find_first_of("\x01\x02\r"), std::string::npos);
    EXPECT_EQ(parsed(xml).value("key"), DefaultsValue(std::string("a\uFFFD\r")));
    EXPECT_EQ(parsed(xml).value("k\uFFFD"), DefaultsValue(true));
}

TEST(PropertyList, EscapesKeys) {
    PropertyList list;
    for (const std::string key : {"<&>\"'", "", "two words", "Schlüssel", "ctrl\x01"}) {
        list.setValue(key, key);
        EXPECT_EQ(parsed(list.xml()).value(key), DefaultsValue(xmlText(key)));
    }
}

TEST(PropertyList, ReplacesAValueWithOneOfAnotherType) {
    PropertyList list;
    list.setValue("key", std::string("text"));
    list.setValue("key", std::int64_t(5));
    EXPECT_EQ(list.value("key"), DefaultsValue(std::int64_t(5)));
    list.setValue("key", false);
    EXPECT_EQ(parsed(list.xml()).value("key"), DefaultsValue(false));
    EXPECT_EQ(list.value("other"), std::nullopt);
}

const std::string everyType = propertyList("<dict>"
                                           "<key>array</key><array><integer>1</integer><string>two</string><array/></array>"
                                           "<key>dict</key><dict><key>inner</key><false/></dict>"
                                           "<key>data</key><data>AAECAwQFBgcICQ==</data>"
                                           "<key>date</key><date>2026-06-28T14:57:01Z</date>"
                                           "<key>huge</key><integer>18446744073709551600</integer>"
                                           "<key>negative</key><integer>-16</integer>"
                                           "<key>text</key><string>text</string>"
                                           "</dict>");

TEST(PropertyList, CarriesTypesAlongThatAreNoDefaults) {
    for (const std::string &bytes : {everyType, binary(everyType)}) {
        PropertyList list = parsed(bytes);
        for (const char *key : {"array", "dict", "data", "date", "huge"})
            EXPECT_EQ(list.value(key), std::nullopt) << key;
        EXPECT_EQ(list.value("negative"), DefaultsValue(std::int64_t(-16)));
        list.setValue("text", std::string("other"));
        const std::string xml = list.xml();
        for (const char *part : {"<string>two</string>", "<key>inner</key>", "AAECAwQFBgcICQ==", "<date>2026-06-28T14:57:01Z</date>",
                                 "<integer>18446744073709551600</integer>", "<string>other</string>"})
            EXPECT_NE(xml.find(part), std::string::npos) << part;
    }
}

TEST(PropertyList, RefusesWhatIsNotADictionary) {
    for (const std::string &bytes :
         {std::string(), std::string("\n"), std::string("hello"), std::string("{}"), std::string(1000, '\0'), propertyList(""),
          propertyList("<array/>"), propertyList("<string>text</string>"), std::string("<dict></dict"), std::string("<html><body/></html>"),
          binary(propertyList("<array><true/></array>")), std::string("bplist00"), "bplist00" + std::string(32, '\xFF')})
        EXPECT_FALSE(PropertyList::parse(bytes)) << bytes;
}

TEST(PropertyList, RefusesAFileThatWasCutShort) {
    for (const std::string &bytes : {everyType, binary(everyType)}) {
        const std::size_t end = bytes.find("</dict>\n</plist>");
        const std::size_t complete = end == std::string::npos ? bytes.size() : end + 7; // only the outermost tag is missing
        for (std::size_t length = 0; length < complete; ++length)
            EXPECT_FALSE(PropertyList::parse(bytes.substr(0, length))) << length;
    }
}

std::string nested(int depth, const std::string &opening, const std::string &closing) {
    std::string text = "<dict><key>key</key>";
    for (int level = 1; level < depth; ++level)
        text += opening;
    for (int level = 1; level < depth; ++level)
        text += closing;
    return propertyList(text + "</dict>");
}

TEST(PropertyList, RefusesContainersThatWouldExhaustTheStack) {
    for (const auto &[opening, closing] :
         {std::pair("<array>", "</array>"), std::pair("<dict><key>k</key>", "</dict>"), std::pair("<array ><!-- </array> -->", "</array>"),
          std::pair("<array><string><![CDATA[</array>]]></string>", "</array>")}) {
        EXPECT_TRUE(PropertyList::parse(nested(100, opening, closing)));
        EXPECT_FALSE(PropertyList::parse(nested(101, opening, closing)));
        EXPECT_FALSE(PropertyList::parse(nested(20'000, opening, closing)));
    }
}

TEST(PropertyList, CountsOnlyContainersInsideEachOther) {
    std::string text = "<dict>";
    for (int item = 0; item < 1000; ++item)
        text += "<key>k" + std::to_string(item) + "</key><array><dict/><array /></array>";
    EXPECT_TRUE(PropertyList::parse(propertyList(text + "</dict>")));
}

/// A binary property list of `levels` arrays, each of which holds the next one `references` times, below the root's "k".
std::string sharedArrays(int levels, int references) {
    std::string bytes = "bplist00";
    std::string offsets;
    const auto object = [&](const std::string &content) {
        offsets += {char(bytes.size() >> 8), char(bytes.size() & 0xFF)};
        bytes += content;
    };
    object(std::string{char(0xD1), 0, 1, 0, 2}); // the root: object 1 is its key, object 2 its value
    object("Qk");
    for (int level = 0; level < levels; ++level) {
        std::string array(1, char(0xA0 | references));
        for (int reference = 0; reference < references; ++reference)
            array += {char((level + 3) >> 8), char((level + 3) & 0xFF)};
        object(array);
    }
    object(std::string(1, char(0xA0)));
    const std::size_t table = bytes.size();
    bytes += offsets + std::string(6, '\0') + std::string{2, 2};
    for (const std::uint64_t number : {std::uint64_t(levels + 3), std::uint64_t(0), std::uint64_t(table)})
        for (int shift = 56; shift >= 0; shift -= 8)
            bytes += char(number >> shift & 0xFF);
    return bytes;
}

TEST(PropertyList, RefusesBinaryContainersThatWouldExhaustTheStack) {
    EXPECT_TRUE(PropertyList::parse(sharedArrays(98, 1)));
    EXPECT_FALSE(PropertyList::parse(sharedArrays(101, 1)));
    EXPECT_FALSE(PropertyList::parse(sharedArrays(10'000, 1)));
}

TEST(PropertyList, RefusesBinaryContainersThatWouldExhaustTheMemory) {
    EXPECT_TRUE(PropertyList::parse(sharedArrays(4, 8)));
    EXPECT_FALSE(PropertyList::parse(sharedArrays(60, 2)));
    EXPECT_FALSE(PropertyList::parse(sharedArrays(8, 14)));
}

TEST(PropertyList, RefusesABinaryContainerThatHoldsItself) {
    std::string bytes = sharedArrays(3, 1);
    const std::size_t innermost = bytes.find(std::string{char(0xA1), 0, 5});
    ASSERT_NE(innermost, std::string::npos);
    bytes[innermost + 2] = 2;
    EXPECT_FALSE(PropertyList::parse(bytes));
}

TEST(PropertyList, ReadsTheLastOfSeveralValuesOfOneKeyInBothNotations) {
    const std::string xml = R"(<plist version="1.0"><dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict></plist>)";
    // The root refers to object 1, the key, twice, and to the objects 2 and 3, the numbers 1 and 2.
    const std::string objects("\xD2\x01\x01\x02\x03Qa\x10\x01\x10\x02", 11);
    const std::string table("\x08\x0D\x0F\x11", 4);
    const std::string trailer = std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + "\x04" + std::string(15, '\0') + "\x13";
    for (const std::string &bytes : {xml, "bplist00" + objects + table + trailer}) {
        const auto list = PropertyList::parse(bytes);
        ASSERT_TRUE(list);
        EXPECT_EQ(list->value("a"), DefaultsValue(std::int64_t(2)));
        const auto again = PropertyList::parse(list->xml());
        ASSERT_TRUE(again);
        EXPECT_EQ(again->value("a"), DefaultsValue(std::int64_t(2)));
    }
}

} // namespace
} // namespace pellaro
