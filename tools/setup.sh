# Sourced by ./run, ./test and the tools: says which Debian packages are missing and installs them, and does nothing when
# none is. With QUORVEL_INSTALL=no it only says so.
# Usage: install_missing PACKAGE...

install_missing() {
    local missing=() package
    if ! command -v dpkg-query >/dev/null; then
        echo "This is no Debian. Needed is what these packages of Debian 12 hold: $*" >&2
        return 0
    fi
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "${QUORVEL_INSTALL:-yes}" = no ]; then
        echo "Not installed, because of QUORVEL_INSTALL=no: ${missing[*]}" >&2
        return 0
    fi

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
            as_root=(sudo)
        else
            echo "These Debian packages are missing and installing them needs root: ${missing[*]}" >&2
            echo "Install them with: sudo apt-get install --no-install-recommends ${missing[*]}" >&2
            return 1
        fi
    fi
    echo "Installing ${#missing[@]} Debian packages (QUORVEL_INSTALL=no keeps from it): ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq >&2 || return 1
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -qq -y --no-install-recommends "${missing[@]}" >/dev/null || return 1
}

build_packages=(g++ cmake ninja-build pkg-config ccache libexpat1-dev libicu-dev libcurl4-openssl-dev libssl-dev
    libsystemd-dev libpng-dev libseccomp-dev librsvg2-bin nlohmann-json3-dev libsimdjson-dev libcpp-httplib-dev ca-certificates
    qt6-base-dev)
test_packages=(git libgtest-dev clang-format-19 python3 python3-jsonschema iproute2 dbus xvfb xfce4-panel trayer weston
    qt6-wayland xdotool imagemagick appstream desktop-file-utils groff-base systemd
    clang-19 gobjc++-12 libgnustep-gui-dev gnustep-back0.29-cairo icnsutils
    ansible-core prometheus prometheus-node-exporter curl)
# What ./test --all needs besides.
more_test_packages=(clang-tidy-19 libclang-rt-19-dev libc++-19-dev libc++abi-19-dev googletest)
