#include "Platform/System/UserDefaults.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <vector>

namespace pellaro {
namespace {

class OneValue final : public UserDefaults {
public:
    explicit OneValue(std::optional<DefaultsValue> value) : m_value(std::move(value)) {}
    [[nodiscard]] std::optional<DefaultsValue> object(const std::string &) const override { return m_value; }
    void set(const std::string &, const DefaultsValue &value) override { m_value = value; }

private:
    std::optional<DefaultsValue> m_value;
};

struct Reading {
    std::optional<DefaultsValue> stored;
    std::int64_t integer;
    double real;
    bool boolean;
    std::optional<std::string> string;
};

TEST(UserDefaults, ReadsAnyStoredValueAsEveryType) {
    using Limits = std::numeric_limits<double>;
    const auto nothing = std::nullopt;
    for (const Reading &item : std::vector<Reading>{
             {nothing, 0, 0, false, nothing},
             {true, 1, 1, true, nothing},
             {false, 0, 0, false, nothing},
             {std::int64_t(0), 0, 0, false, nothing},
             {std::int64_t(45), 45, 45, true, nothing},
             {std::int64_t(-1), -1, -1, true, nothing},
             {INT64_MAX, INT64_MAX, 9223372036854775808.0, true, nothing},
             {INT64_MIN, INT64_MIN, -9223372036854775808.0, true, nothing},
             {0.0, 0, 0, false, nothing},
             {0.9, 0, 0.9, true, nothing},
             {-1.9, -1, -1.9, true, nothing},
             {60.0, 60, 60, true, nothing},
             {9223372036854774784.0, 9223372036854774784, 9223372036854774784.0, true, nothing},
             {9223372036854775808.0, 0, 9223372036854775808.0, true, nothing},
             {-9223372036854775808.0, INT64_MIN, -9223372036854775808.0, true, nothing},
             {-9223372036854777856.0, 0, -9223372036854777856.0, true, nothing},
             {Limits::infinity(), 0, Limits::infinity(), true, nothing},
             {std::string(), 0, 0, false, std::string()},
             {std::string("60"), 0, 0, false, std::string("60")},
             {std::string("true"), 0, 0, false, std::string("true")},
         }) {
        const OneValue defaults(item.stored);
        const std::string shown = testing::PrintToString(item.stored);
        EXPECT_EQ(defaults.integer("key"), item.integer) << shown;
        EXPECT_EQ(defaults.real("key"), item.real) << shown;
        EXPECT_EQ(defaults.boolean("key"), item.boolean) << shown;
        EXPECT_EQ(defaults.string("key"), item.string) << shown;
    }
    EXPECT_EQ(OneValue(Limits::quiet_NaN()).integer("key"), 0);
}

} // namespace
} // namespace pellaro
