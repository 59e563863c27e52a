# shellcheck shell=bash
# Configuring and building a preset. Sourced by the scripts, which have changed to the project's folder.

# build preset [target...]: everything when no target is given.
build() {
    local preset=$1
    shift
    # Paths count relative to the checkout, so that another clone of it finds what this one has compiled.
    export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
    echo "Building $preset"
    mkdir -p .build
    cmake --preset "$preset" >".build/configure-$preset.log" 2>&1 || {
        cat ".build/configure-$preset.log"
        return 1
    }
    cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"}
}
