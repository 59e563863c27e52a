#pragma once

namespace pellaro {

/// What is known of the desktop's notifier hosts: the newer kind of status areas, reached over the session bus.
enum class NotifierHosts {
    asking,  ///< the bus has been asked and has not answered yet
    absent,  ///< there is none
    present, ///< at least one shows items
};

/// The kinds of status areas that an item can be in.
enum class StatusArea { none, tray, notifier };

/// Where the item belongs: with a notifier host where one shows items, in the X11 tray otherwise, and never in both.
///
/// @param isRefused the host's side did not take the item
/// @param current where the item is; it stays there until the bus has answered
[[nodiscard]] StatusArea chooseStatusArea(NotifierHosts hosts, bool isRefused, StatusArea current);

} // namespace pellaro
