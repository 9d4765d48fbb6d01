# SPDX-License-Identifier: GPL-3.0-or-later
# Debian packages: made, looked over, and tried in an empty Debian. Sourced by ./test. The empty system is made once, from where
# apt gets its packages on this one, and copied for each run; what runs there has mounts and processes of its own, which end with
# it.

packaging=$PWD/build/package
empty_root=$packaging/base
trial_root=$packaging/root
# Files that nobody will miss after a power cut, and no terminal.
apt_options=(-o Dpkg::Options::=--force-unsafe-io -o Dpkg::Use-Pty=0 -o APT::Sandbox::User=root)

build_to_package() {
    mkdir -p build
    configure_player && build release zelvane
}

make_packages() {
    rm -rf "$packaging/debs"
    cpack --config build/release/CPackConfig.cmake -B "$packaging/debs" || return
    rm -rf "$packaging/debs/_CPack_Packages"
    ls -l "$packaging"/debs/*.deb
}

check_system_files() {
    local folder=Resources/System said status=0
    desktop-file-validate "$folder"/*.desktop || status=1
    appstreamcli validate --no-net "$folder"/*.metainfo.xml || status=1
    said=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 build/release/zelvane.1 2>&1 >/dev/null)
    [[ -z $said ]] || { printf '%s\n' "$said"; status=1; }
    bash -n "$folder/zelvane.bash" || status=1
    return "$status"
}

check_packages() {
    lintian --allow-root --display-info --pedantic --fail-on error,warning,info --tag-display-limit 0 "$packaging"/debs/*.deb
}

# The player is heard, and nothing of a desktop came with it.
try_player() {
    may_enter_roots && make_empty_root && copy_empty_root && install_in_root zelvane || return
    ! in_root dpkg-query -W -f '${Package}\n' | grep -i qt || { echo "Has Qt."; return 1; }
    in_root useradd --create-home listener &&
        in_root runuser -u listener -- sh -c "$(trial_functions); play_and_record" &&
        is_heard "$trial_root/tmp/take.m4a"
}

# The same, with a display; after that everything goes without a trace.
try_desktop() {
    [[ -d $trial_root/home/listener ]] || { echo "Not run, because the player did not."; return 1; }
    install_in_root zelvane-desktop xvfb dbus x11-utils || return
    in_root runuser -u listener -- sh -c "$(trial_functions); show_window" || return
    in_root dpkg --purge zelvane-desktop zelvane || return
    ! in_root find / -xdev -ipath '*zelvane*' -not -path '/proc/*' -not -path '/root/debs*' -not -path '/home/*' -not -path '/tmp/*' |
        grep . || { echo "Left behind."; return 1; }
    remove_root "$trial_root"
}

# What users do there, as functions of the shell there.
trial_functions() {
    cat <<'END'
port=$(shuf -i 20000-39999 -n 1)
# until_true SECONDS COMMAND...
until_true() {
    left=$(($1 * 10))
    shift
    until "$@"; do
        left=$((left - 1))
        [ "$left" -gt 0 ] || { echo "Waited in vain for: $*"; cat /tmp/log; return 1; }
        sleep 0.1
    done
}
has_sound() { [ -e /tmp/take.m4a ] && [ "$(stat -c %s /tmp/take.m4a)" -gt 20000 ]; }
play_and_record() {
    zelvane --headless --device null --set port=$port --record /tmp/take.m4a >/tmp/log 2>&1 &
    player=$!
    until_true 60 grep -q 'listening on' /tmp/log && zelvane --set port=$port --send /om/note 6050 100 3000 1 &&
        until_true 60 has_sound && kill -TERM $player && wait $player
    status=$?
    cat /tmp/log
    return $status
}
# The one with the menu: alerts are not as high.
has_window() { xwininfo -root -tree | grep '"Zelvane".* [0-9]\{3\}x[0-9]\{3\}+'; }
show_window() {
    Xvfb -displayfd 3 -screen 0 800x600x24 -nolisten tcp 3>/tmp/display 2>/dev/null &
    until_true 60 test -s /tmp/display || return
    export DISPLAY=":$(cat /tmp/display)"
    dbus-run-session -- sh -c 'echo $$ >/tmp/player; exec zelvane --device null --set autolaunch=1 --set port='$port' >/tmp/log 2>&1' &
    session=$!
    until_true 60 has_window && until_true 60 grep -q 'listening on' /tmp/log &&
        zelvane --set port=$port --send /om/note 6050 100 100 1 &&
        kill -TERM "$(cat /tmp/player)" && wait $session
}
END
}

# What the file plays is louder than silence.
is_heard() {
    local loudest
    loudest=$(ffmpeg -nostdin -i "$1" -af volumedetect -f null - 2>&1 | sed -n 's/.*max_volume: \(-\?[0-9]*\).*/\1/p')
    echo "The loudest of it: ${loudest:-none} dB"
    [[ -n $loudest && $loudest -gt -60 ]]
}

may_enter_roots() {
    as_root unshare --mount --pid --fork true && return
    echo "This needs to be allowed to mount and to make name spaces. A container has to be started with these rights."
    return 1
}

make_empty_root() {
    local codename mirror
    [[ ! -f $empty_root/.made ]] || return 0
    [[ -n $(debian_sources) ]] || as_root apt-get -q update || return
    codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
    mirror=$(debian_sources | awk -v codename="$codename" '$3 == codename { print $2; exit }')
    remove_root "$empty_root" && use_proxy_of_apt &&
        as_root debootstrap --variant=minbase "$codename" "$empty_root" "$mirror" && as_root touch "$empty_root/.made"
}

# Where apt gets Debian's packages here: deb ADDRESS RELEASE COMPONENT. Nothing before the first update.
debian_sources() {
    # shellcheck disable=SC2016 # these are apt's
    apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' | sort -u
}

use_proxy_of_apt() {
    local proxy=
    eval "$(apt-config shell proxy Acquire::http::Proxy)"
    [[ -z $proxy ]] || export http_proxy=$proxy
}

copy_empty_root() {
    remove_root "$trial_root" && as_root cp -a --reflink=auto "$empty_root" "$trial_root" || return
    debian_sources | as_root tee "$trial_root/etc/apt/sources.list" >/dev/null
    apt-config dump | grep '^Acquire::' | as_root tee "$trial_root/etc/apt/apt.conf.d/90host" >/dev/null
    as_root cp -L /etc/resolv.conf /etc/hosts "$trial_root/etc" && as_root mkdir "$trial_root/root/debs" &&
        in_root apt-get -q update
}

# install_in_root PACKAGE-OF-OURS [PACKAGE...]: with all that is recommended of the first.
install_in_root() {
    local ours=$1
    shift
    as_root cp "$packaging/debs/$ours"_*.deb "$trial_root/root/debs/$ours.deb" &&
        in_root apt-get -q -y "${apt_options[@]}" --install-recommends install "/root/debs/$ours.deb" &&
        { [[ $# == 0 ]] || in_root apt-get -q -y "${apt_options[@]}" --no-install-recommends install "$@"; }
}

in_root() {
    as_root unshare --mount --pid --fork --kill-child --mount-proc --root="$trial_root" \
        env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        ${http_proxy:+http_proxy="$http_proxy"} "$@"
}

remove_root() { as_root rm -rf --one-file-system "$1"; }
