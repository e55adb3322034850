# What the scripts of this folder share: they source it and then stand in the tree's top folder.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

fail() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# Runs apt-get by the arguments; when that fails, once more by the main suite alone, without its updates, because a mirror
# can list security updates that it does not hold (yet).
apt_get_or_main_suite() {
    local suite
    "$@" && return
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    echo "Trying again with $suite alone" >&2
    "$@" -t "$suite"
}

# Configures a preset when it is new or the presets have changed; whatever else changes, ninja notices itself.
configure() {
    if [ ! "build/$1/build.ninja" -nt CMakePresets.json ]; then
        mkdir -p build
        cmake --preset "$1" >"build/$1.log" 2>&1 || {
            cat "build/$1.log" >&2
            fail "preset $1 cannot be configured"
        }
    fi
}
