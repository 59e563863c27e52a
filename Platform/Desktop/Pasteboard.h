#pragma once

#include <string>

namespace pellaro {

/// The general clipboard. Thread: main.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;
    virtual void clearContents() = 0;
    virtual void setString(const std::string &text) = 0;
};

} // namespace pellaro
