#pragma once

#include "Platform/System/SystemLog.h"
#include "Platform/System/WallClock.h"

#include <string>
#include <vector>

namespace pellaro::test {

class RecordingLog final : public SystemLog {
public:
    void write(std::string_view line) override { lines.emplace_back(line); }
    std::vector<std::string> lines;
};

class FixedWallClock final : public WallClock {
public:
    [[nodiscard]] LocalTime now() const override { return time; }
    LocalTime time{2026, 6, 28, 14, 57, 1, 250};
};

} // namespace pellaro::test
