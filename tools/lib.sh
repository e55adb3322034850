# Shared by the scripts of this folder, which source it; it changes to the tree's top folder.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

fail() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# Runs apt-get with the arguments; when that fails, once more with only the main suite, without updates, because a
# mirror can list security updates that it does not have (yet).
apt_get_or_main_suite() {
    local suite
    "$@" && return
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    echo "Trying again with $suite only" >&2
    "$@" -t "$suite"
}

# Configures a preset when it is new or the presets have changed; ninja detects all other changes.
configure() {
    if [ ! "build/$1/build.ninja" -nt CMakePresets.json ]; then
        mkdir -p build
        cmake --preset "$1" >"build/$1.log" 2>&1 || {
            cat "build/$1.log" >&2
            fail "preset $1 cannot be configured"
        }
    fi
}
