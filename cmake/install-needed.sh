#!/bin/sh
# Installs the Debian packages named on the command line that are missing, with sudo when not root.
# Silent when nothing is missing. Packages are looked for by dpkg alone, so a complete machine needs no network.
set -eu

missing=""
for package in "$@"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get >/dev/null 2>&1; then
    echo "These packages are needed and apt-get is not here to install them:$missing" >&2
    exit 1
fi
as_root=""
if [ "$(id -u)" -ne 0 ]; then
    as_root="sudo"
fi
echo "Installing:$missing"
$as_root apt-get update -qq
# shellcheck disable=SC2086
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
