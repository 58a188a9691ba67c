#!/bin/bash
# Puts the libraries of 32-bit ARM (hard float) that a cross-build links into a folder (default: build/arm-sysroot), from
# the PC's own Debian sources. Its package state is its own: the PC's packages and architectures stay as they are.
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 2
set -o pipefail

packages=(libc6-dev libstdc++6 libfreetype-dev libjpeg62-turbo-dev libpng-dev zlib1g-dev libtirpc-dev libgtest-dev
    libkissfft-dev libcivetweb-dev libtomlplusplus-dev nlohmann-json3-dev libcli11-dev)
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
wanted="$release: ${packages[*]}"

sysroot=$(realpath -m "${1-build/arm-sysroot}")
state=$sysroot.apt

Fail() {
    echo "arm_sysroot.sh: $*" >&2
    exit 2
}

# The PC's sources of its own release, whatever their form. To link against, the release itself is enough.
Own_Sources() {
    local suites="$release(-updates)?"
    shopt -s nullglob
    cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
        grep -E "^deb (\[[^]]*\] )?[^ ]+ $suites .*\<main\>" |
        sed -E 's/\<arch=[^] ,]*(,[^] ]*)*//' >"$state/sources.list"
    awk -v RS= -v suites="(^|\n)Suites:([^\n]* )?$suites( |\n|$)" \
        '$0 ~ suites && /(^|\n)Types: *deb/ && /(^|\n)Components:[^\n]*main/ { print $0 "\n" }' \
        /etc/apt/sources.list.d/*.sources /dev/null | sed '/^Architectures:/d' >"$state/parts/pc.sources"
    [[ -s $state/sources.list || -s $state/parts/pc.sources ]] || Fail "found no source of Debian's $release on this PC"
}

# An apt with nothing installed, for which this architecture is the native one.
Set_Up_Apt() {
    mkdir -p "$state"/{lists/partial,archives/partial,parts} || Fail "can't make the folder $state"
    : >"$state/status"
    Own_Sources
    cat >"$state/apt.conf" <<END
#clear APT::Architectures;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
#clear DPkg::Post-Invoke;
APT::Architecture "armhf";
APT::Architectures { "armhf"; };
APT::Sandbox::User "root";
APT::Install-Recommends "false";
Acquire::Languages "none";
Acquire::Retries "3";
Dir::State "$state";
Dir::State::status "$state/status";
Dir::State::lists "$state/lists";
Dir::Cache "$state";
Dir::Cache::archives "$state/archives";
Dir::Etc::sourcelist "$state/sources.list";
Dir::Etc::sourceparts "$state/parts";
END
}

Apt() {
    apt-get -q -y -c "$state/apt.conf" "$@" >>"$state/log" 2>&1 </dev/null ||
        Fail "apt-get $1 failed: $(sed -n 's/^E: //p' "$state/log" | tail -n 1) (see $state/log)"
}

# Only what compiler, linker and the C library's loader look for.
Unpack() {
    local fresh=$sysroot.new package link
    rm -rf "$fresh"
    mkdir -p "$fresh" || Fail "can't make the folder $fresh"
    for package in "$state"/archives/*.deb; do
        dpkg-deb -x "$package" "$fresh" || Fail "can't unpack $package"
    done
    rm -rf "$fresh"/{bin,sbin,etc,var} "$fresh"/usr/{bin,sbin} "$fresh"/usr/share/{doc,man,locale,bug,lintian}
    find "$fresh" -type l -lname '/*' -printf '%p\n' | while read -r link; do
        ln -sfnr "$fresh$(readlink "$link")" "$link" || Fail "can't turn the link $link"
    done
    echo "$wanted" >"$fresh/made-from"
    rm -rf "$sysroot"
    mv "$fresh" "$sysroot"
}

[[ -f $sysroot/made-from && $(<"$sysroot/made-from") == "$wanted" ]] && exit 0

echo "fetching the libraries of 32-bit ARM" >&2
Set_Up_Apt
: >"$state/log"
rm -f "$state"/archives/*.deb
Apt update
Apt install --download-only "${packages[@]}"
Unpack
rm -rf "$state/archives" "$state/lists"
