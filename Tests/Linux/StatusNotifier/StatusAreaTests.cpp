#include "Linux/StatusNotifier/StatusArea.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace pellaro::test {

TEST(StatusAreaChoice, IsTheNotifierWhereAHostShowsItemsAndTheTrayElsewhere) {
    using enum NotifierHosts;
    const std::vector<std::tuple<NotifierHosts, bool, StatusArea, StatusArea>> table{
        // what is known, refused, where the item is, where it belongs
        {asking, false, StatusArea::none, StatusArea::none},         {asking, false, StatusArea::tray, StatusArea::tray},
        {asking, false, StatusArea::notifier, StatusArea::notifier}, {absent, false, StatusArea::none, StatusArea::tray},
        {absent, false, StatusArea::tray, StatusArea::tray},         {absent, false, StatusArea::notifier, StatusArea::tray},
        {absent, true, StatusArea::notifier, StatusArea::tray},      {present, false, StatusArea::none, StatusArea::notifier},
        {present, false, StatusArea::tray, StatusArea::notifier},    {present, false, StatusArea::notifier, StatusArea::notifier},
        {present, true, StatusArea::none, StatusArea::tray},         {present, true, StatusArea::tray, StatusArea::tray},
        {present, true, StatusArea::notifier, StatusArea::tray},
    };
    for (const auto &[hosts, isRefused, current, expected] : table)
        EXPECT_EQ(chooseStatusArea(hosts, isRefused, current), expected)
            << static_cast<int>(hosts) << ' ' << isRefused << ' ' << static_cast<int>(current);
}

} // namespace pellaro::test
