# shellcheck shell=bash disable=SC2034
# The Debian and Ubuntu packages that the project needs, in one place, and installing what is missing of them.
# Sourced by the scripts. `a|b` means: the first of these that the distribution has.

# To configure and build everything, the tests included (their list is made with python3-gi when CMake configures).
packages_build=(
    g++ cmake ninja-build ccache pkg-config
    qt6-base-dev "libqt6svg6-dev|qt6-svg-dev"
    libavcodec-dev libavformat-dev libavutil-dev libswresample-dev libyuv-dev
    libxcb1-dev libxcb-shm0-dev libxcb-randr0-dev libxcb-damage0-dev libxcb-xfixes0-dev
    libxcb-xinput-dev libxcb-xkb-dev libxcb-render0-dev libxcb-composite0-dev libxcb-xtest0-dev libxcb-res0-dev
    libpulse-dev
    libplist-dev libarchive-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    python3 python3-gi
)

# To start the program: what is loaded or called at run time and not linked. Distributions that have the plug-ins for SVG in a package of
# their own have the library's package as well. The certificates are what the updater trusts; gdbus is what the desktop entry calls.
packages_run=(qt6-qpa-plugins "qt6-svg-plugins|libqt6svg6" qt6-translations-l10n dbus ca-certificates libglib2.0-bin)

# A desktop to run it on where there is none: scripts/demo, and the tests.
packages_test=(
    xvfb openbox picom trayer xdotool x11-utils x11-xkb-utils i3lock
    xserver-xorg-core xserver-xorg-video-dummy x11-xserver-utils x11-session-utils
    dbus-daemon at-spi2-core fonts-dejavu-core locales
    pulseaudio pulseaudio-utils pipewire pipewire-pulse wireplumber
    ffmpeg imagemagick xclip openssl
    desktop-file-utils appstream
    util-linux
)

# To measure: scripts/bench.
packages_bench=(valgrind libxtst6 "linux-perf|linux-tools-generic")

# The compiler whose library makes up the fuzzers' inputs.
packages_fuzz=(clang "libclang-rt-14-dev|libclang-rt-18-dev|libclang-rt-19-dev")

# To make the packages, and to try them in a clean system: scripts/package, scripts/package-test.
packages_package=(dpkg-dev file librsvg2-bin zip)
packages_package_test=(debootstrap)

# What .ci/run checks the sources with.
packages_check=(git clang-format clang-tidy)

package_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Prints the package to install for the entry $1; nothing when one of its alternatives is there.
package_missing() {
    local alternatives name
    IFS='|' read -ra alternatives <<<"$1"
    for name in "${alternatives[@]}"; do
        package_installed "$name" && return
    done
    package_name "$1"
}

# Prints the first alternative of the entry $1 that the distribution has.
package_name() {
    local alternatives name
    IFS='|' read -ra alternatives <<<"$1"
    for name in "${alternatives[@]}"; do
        if [ ${#alternatives[@]} -eq 1 ] || [ -n "$(apt-cache --quiet=2 madison "$name" 2>/dev/null)" ]; then
            echo "$name"
            return
        fi
    done
    echo "${alternatives[0]}"
}

# install_packages group...: installs what is missing of the groups; does nothing at all when nothing is.
install_packages() {
    local group entry missing=() as_root=()
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo "$0: this is not Debian or Ubuntu; README.md lists what has to be there, trying with what is." >&2
        return 0
    fi
    for group in "$@"; do
        local -n entries="packages_$group"
        for entry in "${entries[@]}"; do
            [ -z "$(package_missing "$entry")" ] || missing+=("$entry")
        done
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "$0: these packages are missing, and neither are you root nor is there sudo to install them: ${missing[*]}" >&2
            return 3
        fi
        as_root=(sudo)
    fi
    echo "Installing what is missing: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq </dev/null || echo "$0: the package lists could not be renewed, trying with the old ones." >&2
    local i
    for i in "${!missing[@]}"; do
        missing[i]=$(package_missing "${missing[i]}")
    done
    if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null; then
        echo "$0: the packages could not be installed: ${missing[*]}" >&2
        return 3
    fi
}
