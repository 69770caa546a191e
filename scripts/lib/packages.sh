# shellcheck shell=bash disable=SC2034
# Debian packages on demand; to be sourced.
#
#   need_packages PACKAGE...    installs those that are missing, as root or through sudo; silent
#                               when there is nothing to do

need_packages() {
    if ! command -v dpkg-query >/dev/null; then
        echo "no Debian package manager here; make sure that these are there: $*" >&2
        return 0
    fi

    local installed package
    local -a missing=() as_root=()
    installed=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF -e "ii $package" <<<"$installed" || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "run as root, or install by hand: ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "installing ${missing[*]}"

    local -a apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive
        apt-get -qq -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0)
    local -a install=("${apt[@]}" install -y --no-install-recommends "${missing[@]}")
    # The lists of a fresh system are empty or old: fetch them only when that stops us.
    "${install[@]}" >/dev/null 2>&1 || { "${apt[@]}" update >/dev/null && "${install[@]}" >/dev/null; }
}

# What is needed to build, to build the host program, to run the tests, to check the rules, to
# show pictures, to build for other targets, to run programs for Windows, and to compare with peers.
build_packages=(g++ cmake ninja-build pkg-config)
host_packages=(libcli11-dev nlohmann-json3-dev liblcms2-dev libpng-dev libjpeg-dev libtiff-dev
    libcairo2-dev libgs-common)
test_packages=(googletest libtiff-tools python3)
check_packages=(clang-format git python3)
demo_packages=(googletest icc-profiles-free libjxl-testdata python3-pil)
cross_packages=(g++-multilib g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix)
windows_packages=(wine64 debootstrap debian-archive-keyring)
bench_packages=(libbenchmark-dev libeigen3-dev libgs-common libgsl-dev liblcms2-dev libnlopt-dev
    libopencv-imgproc-dev libqhull-dev libyuv-dev python3)
