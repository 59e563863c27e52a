#pragma once

#include "Platform/System/UserDefaults.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace pellaro {

/// A property list whose root is a dictionary: values of the four types of a user default by key, and whatever else it was read
/// with (arrays, dictionaries, data, dates), which is carried along unchanged.
///
/// Moved, never copied. One thread at a time. Keys and texts are UTF-8 that XML can hold, anything else becomes U+FFFD in them.
class PropertyList {
public:
    /// An empty one.
    PropertyList();

    /// From the bytes of an XML or binary property list; nothing when they are not one, or when its root is no dictionary.
    [[nodiscard]] static std::optional<PropertyList> parse(std::string_view bytes);

    /// Nothing when the key is missing or holds something that is none of the four types, or an integer beyond 64 signed bits.
    [[nodiscard]] std::optional<DefaultsValue> value(const std::string &key) const;
    void setValue(const std::string &key, const DefaultsValue &value);
    /// Values read back from this exactly as they are.
    [[nodiscard]] std::string xml() const;

private:
    struct Free {
        void operator()(void *node) const;
    };
    using Node = std::unique_ptr<void, Free>;

    explicit PropertyList(Node root) : m_root(std::move(root)) {}
    [[nodiscard]] static Node newNode(const DefaultsValue &value);

    Node m_root;
};

} // namespace pellaro
