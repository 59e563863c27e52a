#pragma once

#include "Platform/Desktop/Pasteboard.h"

namespace pellaro {

/// The desktop's clipboard. The text is offered for as long as the program runs.
class QtPasteboard final : public Pasteboard {
public:
    void clearContents() override;
    void setString(const std::string &text) override;
};

} // namespace pellaro
