#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pellaro {

/// `text` as XML can hold it: what is not UTF-8, and characters that XML has no way to write (most control characters), become
/// U+FFFD.
[[nodiscard]] std::string xmlText(std::string_view text);

/// The shortest digits that read back as exactly `value`, whatever the locale; "nan", "+infinity" and "-infinity" for the rest.
[[nodiscard]] std::string realText(double value);

/// A property list in XML with the content of its <real> elements replaced by `reals`, in the document's order, and nothing in it
/// that a strict reader refuses or changes.
[[nodiscard]] std::string finishedXml(std::string_view xml, const std::vector<double> &reals);

} // namespace pellaro
