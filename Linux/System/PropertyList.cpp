#include "Linux/System/PropertyList.h"

#include "Linux/System/PropertyListCheck.h"
#include "Linux/System/PropertyListText.h"

#include <clocale>
#include <cstdlib>
#include <limits>
#include <locale.h>
#include <plist/plist.h>
#include <vector>

namespace pellaro {

namespace {

/// The "C" locale for this thread while it lives: libplist reads and prints numbers in the current one, where the decimal point
/// may be a comma.
class PlainNumbers {
public:
    PlainNumbers() : m_plain(newlocale(LC_NUMERIC_MASK, "C", nullptr)), m_previous(uselocale(m_plain)) {}
    ~PlainNumbers() {
        uselocale(m_previous);
        freelocale(m_plain);
    }
    PlainNumbers(const PlainNumbers &) = delete;
    PlainNumbers &operator=(const PlainNumbers &) = delete;

private:
    const locale_t m_plain;
    const locale_t m_previous;
};

using Memory = std::unique_ptr<char, decltype(&std::free)>;

std::string printed(plist_t node) {
    char *text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(node, &text, &length);
    const Memory memory(text, &std::free);
    return text ? std::string(text, length) : std::string();
}

/// libplist gives integers as unsigned; only its output tells a negative one from one beyond the signed range.
std::optional<std::int64_t> signedInteger(plist_t node) {
    std::uint64_t bits = 0;
    plist_get_uint_val(node, &bits);
    const bool isNegative = bits > std::numeric_limits<std::int64_t>::max();
    if (isNegative && printed(node).find("<integer>-") == std::string::npos)
        return std::nullopt;
    return static_cast<std::int64_t>(bits);
}

/// The real numbers below `node` in the order in which they are printed.
void collectReals(plist_t node, std::vector<double> &reals) {
    void *iterator = nullptr;
    plist_t item = nullptr;
    switch (plist_get_node_type(node)) {
    case PLIST_REAL:
        plist_get_real_val(node, &reals.emplace_back());
        break;
    case PLIST_ARRAY:
        plist_array_new_iter(node, &iterator);
        for (plist_array_next_item(node, iterator, &item); item; plist_array_next_item(node, iterator, &item))
            collectReals(item, reals);
        break;
    case PLIST_DICT:
        plist_dict_new_iter(node, &iterator);
        for (plist_dict_next_item(node, iterator, nullptr, &item); item; plist_dict_next_item(node, iterator, nullptr, &item))
            collectReals(item, reals);
        break;
    default:
        break;
    }
    std::free(iterator);
}

bool isBinary(std::string_view bytes) {
    return plist_is_binary(bytes.data(), static_cast<std::uint32_t>(bytes.size())) != 0;
}

plist_t parsed(std::string_view bytes) {
    const PlainNumbers guard;
    plist_t root = nullptr;
    const auto length = static_cast<std::uint32_t>(bytes.size());
    if (isBinary(bytes))
        plist_from_bin(bytes.data(), length, &root);
    else
        plist_from_xml(bytes.data(), length, &root);
    return root;
}

} // namespace

void PropertyList::Free::operator()(void *node) const {
    plist_free(node);
}

PropertyList::PropertyList() : m_root(plist_new_dict()) {}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max() || !isWithinParserLimits(bytes))
        return std::nullopt;
    Node root(parsed(bytes));
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT)
        return std::nullopt;
    PropertyList list(std::move(root));
    // A binary list means what it becomes when it is written: it can hold several values of one key, of which the first would count
    // before and the last afterwards, and keys that libplist itself does not bear to be asked for.
    return isBinary(bytes) ? parse(list.xml()) : std::move(list);
}

std::optional<DefaultsValue> PropertyList::value(const std::string &key) const {
    plist_t node = plist_dict_get_item(m_root.get(), xmlText(key).c_str());
    if (!node)
        return std::nullopt;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t boolean = 0;
        plist_get_bool_val(node, &boolean);
        return boolean != 0;
    }
    case PLIST_UINT:
        return signedInteger(node);
    case PLIST_REAL: {
        double real = 0;
        plist_get_real_val(node, &real);
        return real;
    }
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char *text = plist_get_string_ptr(node, &length);
        return xmlText({text, static_cast<std::size_t>(length)});
    }
    default:
        return std::nullopt;
    }
}

PropertyList::Node PropertyList::newNode(const DefaultsValue &value) {
    if (const auto *boolean = std::get_if<bool>(&value))
        return Node(plist_new_bool(*boolean ? 1 : 0));
    if (const auto *real = std::get_if<double>(&value))
        return Node(plist_new_real(*real));
    if (const auto *text = std::get_if<std::string>(&value))
        return Node(plist_new_string(xmlText(*text).c_str()));
    // Versions of libplist differ in what a number above the signed range given to plist_new_uint means; text is unmistakable.
    return Node(parsed("<plist version=\"1.0\"><integer>" + std::to_string(std::get<std::int64_t>(value)) + "</integer></plist>"));
}

void PropertyList::setValue(const std::string &key, const DefaultsValue &value) {
    plist_dict_set_item(m_root.get(), xmlText(key).c_str(), newNode(value).release());
}

std::string PropertyList::xml() const {
    const PlainNumbers guard;
    std::vector<double> reals;
    collectReals(m_root.get(), reals);
    // libplist drops the sign of zero, and older versions drop digits.
    return finishedXml(printed(m_root.get()), reals);
}

} // namespace pellaro
