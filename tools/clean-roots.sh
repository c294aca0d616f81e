#!/bin/sh
# clean-roots.sh [12] [13]: tries Coinvale on computers that have nothing yet, fresh roots of Debian 12 and 13.
#
# In each release, an ordinary user with sudo types ./run and ./test and builds the package, and root types ./run. Then
# the package is installed in a bare root and started there by an ordinary user, and every icon of the toolbar must be
# on the screen. Takes root (or sudo), mmdebstrap, a network, 8 GB in build/roots/ and, without a compiler cache, an
# hour. Set CCACHE_DIR to keep what the compiler makes from one time to the next, STEPS to a part of
# "user root package install", and MIRROR to another server than Debian's own.
set -eu
cd "$(dirname "$0")/.."
[ "$(id -u)" -eq 0 ] || exec sudo --preserve-env=CCACHE_DIR,STEPS,MIRROR sh "$0" "$@"
[ "$#" -gt 0 ] || set -- 12 13
steps="${STEPS:-user root package install}"
tree=$(pwd)
roots="$tree/build/roots"
sh cmake/install-needed.sh mmdebstrap
mkdir -p "$roots"

unmount() {
    for name in "$roots"/*/; do
        for folder in ccache dev/shm dev/pts dev proc; do
            ! mountpoint -q "$name$folder" || umount "$name$folder"
        done
    done
}
trap unmount EXIT
trap 'exit 1' INT TERM

# A root from the archive of its release, with an ordinary user "anna"; $2 grants her sudo.
fresh() { # NAME yes|no
    root="$roots/$1"
    unmount
    rm -rf --one-file-system "$root"
    mkdir -p "$root"
    tar -C "$root" -xf "$roots/$release.tar"
    mount -t proc proc "$root/proc"
    mount --bind /dev "$root/dev"
    mount --bind /dev/pts "$root/dev/pts"
    mount --bind /dev/shm "$root/dev/shm"
    cp -L /etc/resolv.conf "$root/etc/resolv.conf"
    chroot "$root" useradd -m -s /bin/sh anna
    [ "$2" = no ] || echo "anna ALL=(ALL) NOPASSWD: ALL" >"$root/etc/sudoers.d/anna"
    if [ -n "${CCACHE_DIR:-}" ]; then
        mkdir -p "$root/ccache"
        mount --bind "$CCACHE_DIR" "$root/ccache"
    fi
}
in_root() { # USER COMMAND
    user="$1"
    shift
    setting=""
    if [ -n "${CCACHE_DIR:-}" ]; then
        setting="CCACHE_DIR=/ccache CCACHE_BASEDIR=/home CCACHE_NOHASHDIR=1 CCACHE_UMASK=000 CMAKE_CXX_COMPILER_LAUNCHER=ccache"
    fi
    # shellcheck disable=SC2086
    chroot "$root" setpriv --reuid="$user" --regid="$user" --init-groups \
        env -i HOME="$(chroot "$root" getent passwd "$user" | cut -d: -f6)" PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin \
        LC_ALL=C.UTF-8 $setting sh -euc "$*"
}
sources() { # as git knows them, uncommitted changes included
    mkdir -p "$root/home/coinvale"
    git -c safe.directory='*' ls-files -z | tar -c --null -T - | tar -C "$root/home/coinvale" -x
    chroot "$root" chown -R "$1:" /home/coinvale
    [ -z "${CCACHE_DIR:-}" ] || in_root root "apt-get update -qq && apt-get install -qq --no-install-recommends ccache >/dev/null"
}
passed() { echo "Debian $release: $1"; }

# The pictures in the toolbar of the main window are the only things in its upper 60 rows that are as wide and as high
# as a picture: what differs from the background is thickened so that each is one piece, and the pieces are counted.
cat >"$roots/icons.sh" <<'ICONS'
Xvfb :77 -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
server=$!
export DISPLAY=:77 QT_QPA_PLATFORM=xcb
sleep 3
coinvale &
program=$!
trap 'kill $program $server' EXIT
window=""
for _ in $(seq 60); do
    window=$(xdotool search --onlyvisible --name '^Coinvale' | head -n 1) && [ -n "$window" ] && break
    sleep 0.5
done
[ -n "$window" ] || { echo "no window"; exit 1; }
sleep 3
import -window "$window" /tmp/window.png
background=$(convert /tmp/window.png -format '%[pixel:p{500,36}]' info:)
convert /tmp/window.png -crop x60+0+0 +repage -fuzz 4% -fill black -opaque "$background" -fill white +opaque black \
    -morphology Dilate Square:2 -define connected-components:verbose=true -connected-components 8 null: |
    awk 'NR > 1 { split($2, s, /[x+]/); n += s[1] >= 16 && s[1] <= 26 && s[2] >= 16 && s[2] <= 26 }
         END { print n + 0 }' >/tmp/icons
ICONS
icons() { # how many icons the installed program shows
    cp "$roots/icons.sh" "$root/tmp/icons.sh"
    rm -f "$root/tmp/window.png" "$root/tmp/icons"
    in_root anna "sh /tmp/icons.sh" >&2
    cat "$root/tmp/icons"
}
fail() {
    echo "Debian $release: $1" >&2
    exit 1
}

for release in "$@"; do
    case "$release" in
        12) suite=bookworm ;;
        13) suite=trixie ;;
        *) fail "not a release that is tried" ;;
    esac
    mmdebstrap --quiet --variant=apt --include=passwd,sudo,ca-certificates,gzip "$suite" "$roots/$release.tar" \
        "${MIRROR:-http://deb.debian.org/debian}"
    case "$steps" in *user*)
        fresh "$release-user" yes
        sources anna
        in_root anna "cd /home/coinvale && ./run"
        passed "./run as a user with sudo"
        in_root anna "cd /home/coinvale && ./test"
        passed "./test as a user with sudo"
        ;;
    esac
    case "$steps" in *root*)
        fresh "$release-root" no
        sources root
        in_root root "cd /home/coinvale && ./run"
        passed "./run as root"
        ;;
    esac
    case "$steps" in *package*)
        if [ ! -d "$roots/$release-user/home/coinvale/build/release" ]; then
            fresh "$release-user" yes
            sources anna
            in_root anna "cd /home/coinvale && ./run"
        fi
        root="$roots/$release-user"
        mountpoint -q "$root/proc" || mount -t proc proc "$root/proc"
        mountpoint -q "$root/dev" || mount --bind /dev "$root/dev"
        [ -z "${CCACHE_DIR:-}" ] || mountpoint -q "$root/ccache" || mount --bind "$CCACHE_DIR" "$root/ccache"
        in_root anna "cd /home/coinvale && cmake --build --preset release --target deb"
        passed "the package is built"
        in_root root "apt-get install -qq --no-install-recommends lintian desktop-file-utils appstream mandoc >/dev/null"
        in_root anna "cd /home/coinvale && lintian --fail-on error,warning build/release/*.deb && mandoc -T lint packaging/*.1 &&
            desktop-file-validate packaging/coinvale.desktop &&
            appstreamcli validate --no-net packaging/coinvale.metainfo.xml"
        passed "nothing said against it"
        cp "$root"/home/coinvale/build/release/coinvale_*.deb "$roots/$release.deb"
        ;;
    esac
    case "$steps" in *install*)
        fresh "$release-bare" no
        cp "$roots/$release.deb" "$root/tmp/coinvale.deb"
        in_root root "apt-get update -qq && apt-get install -y -qq --no-install-recommends /tmp/coinvale.deb xvfb xdotool imagemagick >/dev/null"
        in_root anna "jet new-budget /tmp/Home.mdb && jet check --password=kqlmz47 /tmp/Home.mdb"
        shown=$(icons)
        [ "$shown" -eq 11 ] || fail "$shown icons of 11 are shown, see $root/tmp/window.png"
        # That the count can tell: without the plugins there must be none.
        find "$root/usr/lib" -path '*qt6/plugins*' -name '*svg*' -delete
        shown=$(icons)
        [ "$shown" -eq 0 ] || fail "without its plugins the program shows $shown icons"
        passed "the installed program shows every icon to an ordinary user"
        ;;
    esac
done
