#!/bin/sh
# install-needed.sh PACKAGE...: installs the Debian packages that are missing, with sudo when not root.
#
# Names joined by | are one package that is called differently in other releases, as in a Depends field, newest first:
# "qt6-svg-plugins|libqt6svg6(<<6.7.2-5~)". Silent when nothing is missing; packages are looked for by dpkg alone, so a
# complete machine needs no network and starts at once.
set -eu

# shellcheck disable=SC2016
known=$(dpkg-query -W -f='${Package}=${Version}=${db:Status-Status}\n' 2>/dev/null |
    sed -n 's/^\([^=]*\)=\(.*\)=installed$/\1=\2/p') || known=""

has() { # NAME or NAME(<<VERSION)
    version=$(printf '%s\n' "$known" | sed -n "s/^${1%%(*}=//p" | head -n 1)
    [ -n "$version" ] || return 1
    case "$1" in
        *"(<<"*) limit=${1##*<<}; dpkg --compare-versions "$version" lt "${limit%)}" ;;
    esac
}
has_any() {
    for name in $(echo "$1" | tr '|' ' '); do
        has "$name" && return 0
    done
    return 1
}
missing=""
for package in "$@"; do
    has_any "$package" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

# The name that this release has; without any list of packages, the newest.
names=""
choose() {
    names=""
    for package in $missing; do
        chosen=""
        for name in $(echo "$package" | tr '|' ' '); do
            name=${name%%(*}
            LC_ALL=C apt-cache policy "$name" 2>/dev/null | grep -q 'Candidate: [0-9]' && chosen="$name" && break
        done
        [ -n "$chosen" ] || { chosen=${package%%|*}; chosen=${chosen%%(*}; }
        names="$names $chosen"
    done
}
stop() {
    echo "$1" >&2
    exit 1
}
command -v apt-get >/dev/null 2>&1 ||
    stop "These packages are missing, and this is not a Debian that could install them:$(echo "$missing" | sed 's/|[^ ]*//g')"
choose
by_hand() { echo "apt-get update && apt-get install --no-install-recommends$names"; }

as_root=""
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null 2>&1 || stop "Packages are missing and there is no sudo; as root, type: $(by_hand)"
    as_root=sudo
fi
log=$(mktemp)
trap 'rm -f "$log" "$log.status"' EXIT
apt() {
    $as_root env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get -q -o Acquire::Retries=1 -o DPkg::Lock::Timeout=60 \
        -o APT::Update::Error-Mode=any "$@"
}
echo "Reading the lists of packages"
status=0
apt update >"$log" 2>&1 || status=$?
if [ -n "$as_root" ] && [ "$status" -eq 1 ]; then # apt-get itself fails with 100
    stop "Packages are missing and sudo refuses to install them; as root, type: $(by_hand)"
fi
choose # the lists may be new
echo "Installing:$names"

# apt reports "dlstatus:1:45.2:..." while it downloads and "pmstatus:name:45.2:..." while it installs.
progress() {
    last=""
    while IFS=: read -r kind _ percent _; do
        case "$kind" in
            dlstatus) step="downloaded" ;;
            pmstatus) step="installed" ;;
            *) continue ;;
        esac
        percent=${percent%%.*}
        line="  $step ${percent%?}0 %"
        [ "$percent" -ge 10 ] 2>/dev/null || line="  $step 0 %"
        [ "$line" = "$last" ] && continue
        last="$line"
        echo "$line"
    done
}
# shellcheck disable=SC2086
{ apt install -y --no-install-recommends -o Dpkg::Use-Pty=0 -o APT::Status-Fd=1 $names 2>>"$log" || echo failed >"$log.status"; } |
    progress
[ -e "$log.status" ] || exit 0

if grep -Eq 'Could not (resolve|connect)|Temporary failure|Failed to fetch|Unable to locate' "$log"; then
    stop "Packages are missing and their servers cannot be reached; start again with a network, or type as root: $(by_hand)"
fi
reason=$(grep -E '^(dpkg: error|E: )' "$log" | tail -n 2 | tr '\n' ' ')
stop "Packages are missing and apt-get could not install them (${reason:-no reason given}); as root, type: $(by_hand)"
