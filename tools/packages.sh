# Debian packages that the project needs, and how they get onto the PC. Sourced by ./run and ./test.

build_packages=(g++ cmake ninja-build pkg-config ccache libfreetype-dev libjpeg62-turbo-dev libpng-dev libcivetweb-dev
    libtirpc-dev libtomlplusplus-dev nlohmann-json3-dev libkissfft-dev libcli11-dev libgtest-dev librsvg2-bin fonts-dseg
    fonts-liberation fonts-wqy-zenhei python3)
test_packages=(chromium chromium-driver python3-selenium imagemagick tesseract-ocr procps
    python3-pyvisa python3-pyvisa-py python3-serial lxi-tools rpcbind iproute2 uidmap python3-numpy python3-pil)
arm_packages=(g++-arm-linux-gnueabihf qemu-user)
fuzz_packages=(clang libclang-rt-dev llvm)

# One line on standard error and status 2.
Give_Up() {
    echo "$(basename "$0"): $*" >&2
    exit 2
}

# Prints those of the given packages that are not installed.
Missing_Packages() {
    local installed package
    installed=" $(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null |
        sed -n 's/^installed //p' | tr '\n' ' ') "
    for package in "$@"; do
        [[ $installed == *" $package "* ]] || echo "$package"
    done
}

# apt-get as root, its talk in the log.
Apt_Get() {
    local as_root=()
    [[ $(id -u) == 0 ]] || as_root=(sudo)
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=120 "$@" \
        >>"$apt_log" 2>&1 </dev/null
}

# Installs what is missing of the given packages.
Install_Packages() {
    command -v dpkg-query >/dev/null || Give_Up "this is no Debian system; it takes the packages $*"
    local missing
    mapfile -t missing < <(Missing_Packages "$@")
    [[ ${#missing[@]} -gt 0 ]] || return 0
    [[ $(id -u) == 0 ]] || command -v sudo >/dev/null ||
        Give_Up "these packages are missing, and there is no sudo to install them with: ${missing[*]}"
    echo "installing the packages ${missing[*]}" >&2
    mkdir -p build || Give_Up "can't make the folder $PWD/build"
    apt_log=$PWD/build/apt.log
    : >"$apt_log"
    # Lists that are missing or too old for what the mirrors hold are fetched first.
    Apt_Get install --no-install-recommends "${missing[@]}" && return 0
    Apt_Get update
    Apt_Get install --no-install-recommends "${missing[@]}" && return 0
    Give_Up "can't install the packages ${missing[*]}: $(sed -n 's/^E: //p' "$apt_log" | tail -n 1) (see $apt_log)"
}
